#include "m4a/fit_to_disk.h"

#include <algorithm>
#include <memory>
#include <new>

#include "m4a/record.h"
#include "m4a/recovery.h"
#include "platform/file_room.h"
#include "platform/file_size.h"

namespace auspool::m4a {
namespace {

constexpr std::int64_t kBlockBytes = 4096;  // what a disk gives back, at least

bool drop_last_packet(m4a_t &m4a) {
  const std::optional<std::uint16_t> size = remove_last_size(m4a);
  if (!size) return false;
  m4a.data_end -= *size;
  if (m4a.fragment_samples == 0) m4a.mdat_size -= *size;
  ++m4a.packets_lost;
  return true;
}

bool cut_behind_packets(m4a_t &m4a) {
  if (m4a.fragment_samples > 0 && m4a.sample_sizes->count == 0) m4a.data_end = m4a.fragment_offset;
  forget_sizes(m4a);
  m4a.torn = !platform::cut_file(m4a.file, m4a.data_end);
  return !m4a.torn;
}

bool has_room(const m4a_t &m4a, std::int64_t index_size) {
  return m4a.data_end + index_size <= UINT32_MAX && platform::reserve_room(fileno(m4a.file), m4a.data_end, index_size);
}

// A block's worth, or all that there are.
bool give_up_some(m4a_t &m4a) {
  const std::int64_t goal = m4a.data_end - kBlockBytes;
  if (!drop_last_packet(m4a)) return false;
  while (m4a.data_end > goal && drop_last_packet(m4a)) {
  }
  return cut_behind_packets(m4a);
}

bool build_index(m4a_t &m4a, const audict *tags, std::int32_t kind) {
  return (kind == M4A_KIND_AAC ? _m4aac_finalize : _m4alac_finalize)(m4a, tags, m4a.index.get()) == 0;
}

}  // namespace

bool drop_torn_packets(m4a_t &m4a) {
  (void)std::fflush(m4a.file);  // takes the room that there is left
  const std::int64_t on_disk = platform::size_of_open_file(fileno(m4a.file));
  m4a.torn = true;
  if (on_disk < 0) return false;
  while (m4a.data_end > on_disk && drop_last_packet(m4a)) {
  }
  return cut_behind_packets(m4a);
}

void drop_fragment(m4a_t &m4a) {
  while (drop_last_packet(m4a)) {
  }
  (void)cut_behind_packets(m4a);
}

bool fit_to_disk(m4a_t &m4a, const audict *tags, std::int32_t kind) {
  if (m4a.index) return true;
  if ((m4a.torn || std::fflush(m4a.file) != 0) && !drop_torn_packets(m4a)) return false;
  m4a.index.reset(new (std::nothrow) m4a_pieces);
  bool good = m4a.index && build_index(m4a, tags, kind);
  while (good && !has_room(m4a, m4a.index->moov_size())) good = give_up_some(m4a) && build_index(m4a, tags, kind);
  if (!good) m4a.index.reset();
  return good;
}

}  // namespace auspool::m4a
