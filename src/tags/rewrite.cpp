#include "tags/rewrite.h"

#include <algorithm>
#include <memory>
#include <new>
#include <span>

#include "auspool/autag2.h"

namespace auspool::tags {
namespace {

constexpr std::uint64_t kBufferBytes = 1'048'576;

// Upwards the last bytes go first, downwards the first: so nothing is overwritten before it has been read.
std::int32_t move(platform::File &file, std::uint64_t to, std::uint64_t from, std::uint64_t length) {
  const std::unique_ptr<std::uint8_t[]> buffer(new (std::nothrow) std::uint8_t[kBufferBytes]);
  if (!buffer) return AUTAG2_EUNK;
  if (to > from) {
    if (const std::int32_t error = file.resize(to + length)) return error;
  }
  for (std::uint64_t done = 0; done < length;) {
    const std::uint64_t part = std::min(kBufferBytes, length - done);
    const std::uint64_t at = to < from ? done : length - done - part;
    const std::span<std::uint8_t> bytes(buffer.get(), static_cast<std::size_t>(part));
    if (const std::int32_t error = file.read(from + at, bytes)) return error;
    if (const std::int32_t error = file.write(to + at, bytes)) return error;
    done += part;
  }
  return 0;
}

}  // namespace

bool _autag2_should_overwrite_without_moving_data(std::int64_t file_size, std::uint64_t new_size,
                                                  std::uint64_t old_size) {
  if (new_size > old_size) return false;
  return 0.02f >= static_cast<float>(old_size - new_size) / static_cast<float>(file_size);
}

std::int32_t file_data_move(platform::File &file, std::uint64_t to, std::uint64_t from) {
  const std::uint64_t size = file.size();
  if (to == from || size <= from) return 0;
  return move(file, to, from, size - from);
}

std::int32_t file_data_move_down(platform::File &file, std::uint64_t to, std::uint64_t from, std::uint64_t length) {
  return length == 0 ? 0 : move(file, to, from, length);
}

}  // namespace auspool::tags
