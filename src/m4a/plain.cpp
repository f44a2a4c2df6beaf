// Plain files: all packets in one mdat behind the file type, the index in memory until the end.
#include <array>
#include <cstring>
#include <memory>
#include <utility>

#include "auspool/aurec.h"
#include "m4a/fast_start.h"
#include "m4a/fit_to_disk.h"
#include "m4a/moov.h"
#include "m4a/record.h"
#include "m4a/recovery.h"
#include "platform/thread.h"

namespace auspool::m4a {
namespace {

constexpr std::array<std::uint8_t, kDataHeaderBytes> kDataHeader = {0, 0, 0, 0, 'm', 'd', 'a', 't'};

// The size of the mdat, once it is known. Leaves the stream at the file's end.
bool complete_data_header(const m4a_t &m4a) {
  const std::uint32_t size[] = {m4a.mdat_size};
  return std::fseek(m4a.file, static_cast<long>(m4a.mdat_offset), SEEK_SET) == 0 &&
         write(m4a.file, size) == sizeof size && std::fseek(m4a.file, 0, SEEK_END) == 0;
}

std::int32_t start_fix(std::unique_ptr<m4a_pieces> index, fs_fix_th_data_t *fix_data) {
  fix_data->pieces = index.get();
  aurec *const owner = fix_data->aurec;
  if (owner) aurec_thread_count_increment(owner);
  const int error = platform::start_detached(
      "auspool-m4a", [](void *data) { _m4a_fast_start_fix_run(static_cast<fs_fix_th_data_t *>(data)); }, fix_data);
  if (error != 0) {
    if (owner) aurec_thread_count_decrement(owner);
    fix_data->pieces = nullptr;
    return error;
  }
  (void)index.release();  // the job's
  return 0;
}

}  // namespace
}  // namespace auspool::m4a

using namespace auspool;
using namespace auspool::m4a;

m4a_t *m4a_begin(FILE *file, FILE *recovery_file, uint32_t channels, uint32_t sample_rate, uint32_t packet_frames,
                 uint32_t bitrate, int32_t profile) {
  if (!file) return nullptr;
  std::unique_ptr<m4a_t> m4a(create_record(file, channels, sample_rate, packet_frames, bitrate, profile));
  if (!m4a) return nullptr;
  const bool begun = write_file_type(file) && write(file, kDataHeader) == kDataHeader.size() && std::fflush(file) == 0;
  if (!begun) return nullptr;
  m4a->data_end = m4a->data_offset;
  if (recovery_file) begin_mirror(*m4a, recovery_file);
  return m4a.release();
}

void m4a_write_sample(m4a_t *m4a, const void *data, int32_t size) {
  if (size <= 0) return;
  if (m4a->data_end + size > UINT32_MAX) {  // an index could not tell where it is
    ++m4a->packets_lost;
    return;
  }
  const auto bytes = static_cast<std::uint32_t>(size);
  if (!append_packet(*m4a, data, bytes)) return;
  m4a->mdat_size += bytes;
  if (m4a->recovery_file) mirror_size(*m4a, bytes);
}

void m4a_alac_setinfo(m4a_t *m4a, const void *cookie, int32_t size) {
  constexpr std::int32_t kWrapping = 24;  // bytes of atoms around the configuration, in front of it
  m4a->alac_info.reset();
  if (size < kWrapping + static_cast<std::int32_t>(sizeof(AlacInfo))) return;
  std::memcpy(m4a->alac_info.emplace().data(), static_cast<const std::uint8_t *>(cookie) + kWrapping, sizeof(AlacInfo));
}

int32_t m4a_finish(m4a_t *m4a, const audict *tags, int32_t kind, fs_fix_th_data_t *fix_data) {
  if (kind != M4A_KIND_AAC && kind != M4A_KIND_ALAC) return -1;
  const std::unique_ptr<m4a_t> owned(m4a);
  if (!fit_to_disk(*m4a, tags, kind) || !complete_data_header(*m4a)) return -1;
  if (fix_data) return start_fix(std::move(m4a->index), fix_data);
  return write_pieces(m4a->file, *m4a->index) && std::fflush(m4a->file) == 0 ? 0 : -1;
}
