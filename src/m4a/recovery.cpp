#include "m4a/recovery.h"

#include "m4a/record.h"
#include "platform/file_room.h"
#include "platform/file_size.h"

namespace auspool::m4a {
namespace {

bool write_and_flush(std::FILE *file, std::span<const std::uint32_t> words) {
  return write(file, words) == words.size_bytes() && std::fflush(file) == 0;
}

}  // namespace

void begin_mirror(m4a_t &m4a, std::FILE *recovery_file) {
  const std::uint32_t format[] = {m4a.channels, m4a.sample_rate, m4a.packet_frames, m4a.bitrate};
  m4a.recovery_file = recovery_file;
  m4a.mirrors = write_and_flush(recovery_file, format);
  m4a.first_mirrored = std::ftell(recovery_file);
}

void mirror_size(m4a_t &m4a, std::size_t size) {
  const std::uint32_t number[] = {static_cast<std::uint32_t>(size)};
  if (m4a.mirrors) m4a.mirrors = write_and_flush(m4a.recovery_file, number);
}

void forget_sizes(m4a_t &m4a) {
  if (!m4a.recovery_file || m4a.first_mirrored < 0) return;
  const std::int64_t end = m4a.first_mirrored + 4 * std::int64_t{_m4a_sample_count(m4a.sample_sizes)};
  if (platform::size_of_open_file(fileno(m4a.recovery_file)) < end) return;  // it ends before anyway
  m4a.mirrors = platform::cut_file(m4a.recovery_file, end);
}

}  // namespace auspool::m4a
