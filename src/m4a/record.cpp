#include "m4a/record.h"

#include <algorithm>
#include <memory>
#include <new>

namespace auspool::m4a {

bool write_file_type(std::FILE *file) {
  constexpr char kFileType[kFileTypeBytes + 1] =
      "\0\0\0\x20"
      "ftypM4A "
      "\0\0\0\0"
      "M4A mp42isom\0\0\0";
  return std::fseek(file, 0, SEEK_SET) == 0 && std::fwrite(kFileType, 1, kFileTypeBytes, file) == kFileTypeBytes;
}

m4a_t *create_record(std::FILE *file, std::uint32_t channels, std::uint32_t sample_rate, std::uint32_t packet_frames,
                     std::uint32_t bitrate, std::int32_t profile) {
  std::unique_ptr<m4a_t> m4a(new (std::nothrow) m4a_t);
  if (!m4a) return nullptr;
  m4a->sample_sizes = m4a->last_sizes = new (std::nothrow) SampleSizes;
  if (!m4a->sample_sizes) return nullptr;
  m4a->file = file;
  m4a->channels = channels;
  m4a->sample_rate = sample_rate;
  m4a->packet_frames = packet_frames;
  m4a->bitrate = bitrate;
  m4a->profile = profile;
  return m4a.release();
}

SampleSizes *find_room(m4a_t &m4a) {
  if (m4a.last_sizes->full()) {
    SampleSizes *const added = new (std::nothrow) SampleSizes;
    if (!added) return nullptr;
    m4a.last_sizes->next = added;
    m4a.last_sizes = added;
  }
  return m4a.last_sizes;
}

std::size_t append_packet(m4a_t &m4a, SampleSizes &sizes, const void *data, std::int32_t size) {
  const std::size_t written = size > 0 ? std::fwrite(data, 1, static_cast<std::size_t>(size), m4a.file) : 0;
  if (written == 0) return 0;
  sizes.add(written);
  m4a.max_sample_size = std::max(m4a.max_sample_size, static_cast<std::int32_t>(written));
  return written;
}

void release_record(m4a_t *m4a) {
  delete m4a;
}

}  // namespace auspool::m4a
