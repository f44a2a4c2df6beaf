// Plain files: all packets in one mdat behind the file type, the index in memory until the end.
#include <array>
#include <cstring>
#include <memory>
#include <new>

#include "auspool/aurec.h"
#include "base/byte_order.h"
#include "m4a/fast_start.h"
#include "m4a/moov.h"
#include "m4a/record.h"
#include "platform/thread.h"

namespace auspool::m4a {
namespace {

constexpr std::array<std::uint8_t, kDataHeaderBytes> kDataHeader = {0, 0, 0, 0, 'm', 'd', 'a', 't'};

template <std::size_t kCount>
bool write_numbers(std::FILE *file, const std::array<std::uint32_t, kCount> &numbers) {
  std::uint8_t bytes[4 * kCount];
  for (std::size_t i = 0; i < kCount; ++i) store_be(bytes + 4 * i, numbers[i]);
  return std::fwrite(bytes, 1, sizeof bytes, file) == sizeof bytes;
}

// The size of the mdat, once it is known. Leaves the stream at the file's end.
bool complete_data_header(const m4a_t &m4a) {
  return std::fseek(m4a.file, static_cast<long>(m4a.mdat_offset), SEEK_SET) == 0 &&
         write_numbers<1>(m4a.file, {m4a.mdat_size}) && std::fseek(m4a.file, 0, SEEK_END) == 0;
}

std::int32_t finalize(m4a_t &m4a, const audict *tags, std::int32_t kind, m4a_pieces *pieces) {
  return kind == M4A_KIND_AAC ? _m4aac_finalize(m4a, tags, pieces) : _m4alac_finalize(m4a, tags, pieces);
}

std::int32_t start_fix(m4a_t &m4a, const audict *tags, std::int32_t kind, fs_fix_th_data_t *fix_data) {
  std::unique_ptr<m4a_pieces> pieces(new (std::nothrow) m4a_pieces);
  if (!pieces || finalize(m4a, tags, kind, pieces.get()) != 0) return -1;
  fix_data->pieces = pieces.get();
  aurec *const owner = fix_data->aurec;
  if (owner) aurec_thread_count_increment(owner);
  const int error = platform::start_detached(
      "auspool-m4a", [](void *data) { _m4a_fast_start_fix_run(static_cast<fs_fix_th_data_t *>(data)); }, fix_data);
  if (error != 0) {
    if (owner) aurec_thread_count_decrement(owner);
    fix_data->pieces = nullptr;
    return error;
  }
  (void)pieces.release();  // the job's
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
  const bool begun = write_file_type(file) && write(file, kDataHeader) == kDataHeader.size();
  if (!begun) return nullptr;
  m4a->recovery_file = recovery_file;
  if (recovery_file) {
    write_numbers<4>(recovery_file, {channels, sample_rate, packet_frames, bitrate});
    std::fflush(recovery_file);
  }
  return m4a.release();
}

void m4a_write_sample(m4a_t *m4a, const void *data, int32_t size) {
  SampleSizes *const sizes = find_room(*m4a);
  if (!sizes) return;
  const std::size_t written = append_packet(*m4a, *sizes, data, size);
  if (written == 0) return;
  m4a->mdat_size += static_cast<std::uint32_t>(written);
  if (!m4a->recovery_file) return;
  write_numbers<1>(m4a->recovery_file, {static_cast<std::uint32_t>(written)});
  std::fflush(m4a->recovery_file);  // on the disk as soon as the packet itself
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
  if (!complete_data_header(*m4a)) return -1;
  return fix_data ? start_fix(*m4a, tags, kind, fix_data) : finalize(*m4a, tags, kind, nullptr);
}
