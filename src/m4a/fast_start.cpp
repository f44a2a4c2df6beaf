#include "m4a/fast_start.h"

#include <unistd.h>

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

#include "auspool/aurec.h"
#include "m4a/moov.h"
#include "m4a/record.h"
#include "platform/file_room.h"
#include "platform/file_size.h"

namespace auspool::m4a {
namespace {

constexpr std::int64_t kBlockBytes = 10485760;

constexpr std::int64_t kAtTheEnd = -1;

// Moves the first `size` bytes up by `by`. From the end to the front: no block lands on what has not been read.
void move_up(std::FILE *file, std::int64_t size, std::int64_t by, char *block) {
  for (std::int64_t left = size; left > 0;) {
    const std::int64_t bytes = std::min(left, kBlockBytes);
    left -= bytes;
    std::fseek(file, left, SEEK_SET);
    const std::size_t got = std::fread(block, 1, static_cast<std::size_t>(bytes), file);
    std::fseek(file, left + by, SEEK_SET);
    (void)!std::fwrite(block, 1, got, file);
  }
}

void add_to_offsets(Words &stco, std::uint32_t moved) {
  constexpr std::ptrdiff_t kHeaderWords = 4;
  std::for_each(stco.begin() + kHeaderWords, stco.end(), [moved](std::uint32_t &offset) { offset += moved; });
}

// Makes room behind the file type. Returns where the index goes: there, or to the end of a file of which not a byte has
// been touched.
std::int64_t make_room(std::FILE *file, m4a_pieces &pieces) {
  if (std::fflush(file) != 0) return kAtTheEnd;  // the file is looked at and grows below the stream
  const std::int64_t size = platform::size_of_open_file(fileno(file)), by = pieces.moov_size();
  if (size < 0 || !platform::reserve_room(fileno(file), size, by)) return kAtTheEnd;
  if (ftruncate(fileno(file), size + by) != 0) return kAtTheEnd;
  const std::unique_ptr<char[]> block(new (std::nothrow) char[kBlockBytes]);
  if (!block) return size;  // the index fills exactly what the file has grown by
  move_up(file, size, by, block.get());
  add_to_offsets(pieces.stco, static_cast<std::uint32_t>(by));
  return kFileTypeBytes;
}

bool seek(std::FILE *file, std::int64_t position) {
  return std::fseek(file, std::max<std::int64_t>(position, 0), position == kAtTheEnd ? SEEK_END : SEEK_SET) == 0;
}

}  // namespace

void _m4a_fast_start_fix_run(fs_fix_th_data_t *fix_data) {
  aurec *const owner = fix_data->aurec;  // done_proc may release the record
  std::unique_ptr<m4a_pieces> pieces(std::exchange(fix_data->pieces, nullptr));
  const std::int64_t position = make_room(fix_data->file, *pieces);
  if (seek(fix_data->file, position)) write_pieces(fix_data->file, *pieces);
  pieces.reset();
  if (fix_data->done_proc) fix_data->done_proc(fix_data);
  if (owner) aurec_thread_count_decrement(owner);
}

}  // namespace auspool::m4a
