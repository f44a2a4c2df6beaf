#include "m4a/record.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

#include "m4a/fit_to_disk.h"

namespace auspool::m4a {
namespace {

void remove_last_node(m4a_t &m4a) {
  SampleSizes *before = m4a.sample_sizes;
  while (before->next != m4a.last_sizes) before = before->next;
  delete std::exchange(before->next, nullptr);
  m4a.last_sizes = before;
}

}  // namespace

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

bool append_packet(m4a_t &m4a, const void *data, std::size_t size) {
  SampleSizes *const sizes = m4a.torn && !drop_torn_packets(m4a) ? nullptr : find_room(m4a);
  if (sizes && std::fwrite(data, 1, size, m4a.file) == size) {
    sizes->add(size);
    m4a.data_end += static_cast<std::int64_t>(size);
    m4a.max_sample_size = std::max(m4a.max_sample_size, static_cast<std::int32_t>(size));
    return true;
  }
  ++m4a.packets_lost;
  if (sizes) (void)drop_torn_packets(m4a);
  return false;
}

std::optional<std::uint16_t> remove_last_size(m4a_t &m4a) {
  while (m4a.last_sizes->count == 0 && m4a.last_sizes != m4a.sample_sizes) remove_last_node(m4a);
  SampleSizes &last = *m4a.last_sizes;
  if (last.count == 0) return std::nullopt;
  return static_cast<std::uint16_t>(last.sizes[--last.count]);
}

void release_record(m4a_t *m4a) {
  delete m4a;
}

}  // namespace auspool::m4a
