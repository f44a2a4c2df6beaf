// Fragmented files: an empty index at the front, then fragments of about five seconds, each with its own index.
//
// A fragment is open from its first packet until it is full or the file ends:
//
//   Closed  count is 0   first packet: reserve `free` for the index, begin an mdat of unknown size    Open
//   Open    count > 0    full, or the file ends: the sizes go in, `free` becomes `moof`               Closed
#include <algorithm>
#include <memory>

#include "base/four_cc.h"
#include "m4a/fit_to_disk.h"
#include "m4a/fragment_index.h"
#include "m4a/moov.h"
#include "m4a/record.h"

namespace auspool::m4a {
namespace {

// About five seconds; all sizes of a fragment stand in one node.
std::int32_t packets_of_fragment(std::uint32_t sample_rate, std::uint32_t packet_frames) {
  const float packets = static_cast<float>(sample_rate) * 5.0f / static_cast<float>(packet_frames);
  if (!(packets > 10.0f)) return 10;
  return static_cast<std::int32_t>(std::min(packets, static_cast<float>(SampleSizes::kUsed)));
}

//  0 size 40   4 "mvex"   8 size 32   12 "trex"   16 version and flags   20 track   24 description
// 28 frames of a packet   32 size of a packet: they differ   36 flags
Words create_mvex(std::uint32_t packet_frames) {
  return {40, four_cc("mvex"), 32, four_cc("trex"), 0, 1, 1, packet_frames, 0, 0};
}

bool open_fragment(m4a_t &m4a) {
  const auto index = FragmentIndex::reserved(m4a);
  if (m4a.torn || write(m4a.file, index.all()) != index.all().size_bytes()) return false;
  m4a.fragment_offset = m4a.data_end;
  m4a.data_end += static_cast<std::int64_t>(index.all().size_bytes());
  return true;
}

// The index is on the disk behind the name `free` before its name becomes `moof`: whatever the moment of a crash, a
// reader skips the fragment or finds it whole.
bool write_index(const m4a_t &m4a) {
  const auto index = FragmentIndex::complete(m4a);
  const auto written_at = [&m4a](std::int64_t offset, std::span<const std::uint32_t> words) {
    return std::fseek(m4a.file, offset, SEEK_SET) == 0 && write(m4a.file, words) == words.size_bytes() &&
           std::fflush(m4a.file) == 0;
  };
  return written_at(m4a.fragment_offset + FragmentIndex::kNameBytes, index.behind_name()) &&
         written_at(m4a.fragment_offset, index.name()) && std::fseek(m4a.file, m4a.data_end, SEEK_SET) == 0;
}

void begin_next_fragment(m4a_t &m4a) {
  m4a.fragment_duration += static_cast<std::int64_t>(m4a.packet_frames) * m4a.sample_sizes->count;
  m4a.sample_sizes->count = 0;
  ++m4a.fragment_sequence;
  m4a.fragment_offset = m4a.data_end;
}

// A fragment that cannot be told of would hide those behind it: it is given up.
void close_fragment(m4a_t &m4a) {
  if (std::fflush(m4a.file) != 0) (void)drop_torn_packets(m4a);
  if (m4a.sample_sizes->count == 0) return;
  const bool written = !m4a.torn && write_index(m4a);
  written ? begin_next_fragment(m4a) : drop_fragment(m4a);
}

bool write_empty_moov(m4a_t &m4a, const audict *tags, std::int32_t kind) {
  m4a_pieces pieces;
  pieces.mvex = create_mvex(m4a.packet_frames);
  build_pieces(m4a, tags, kind, pieces);
  m4a.data_end = m4a.fragment_offset = kFileTypeBytes + std::int64_t{pieces.moov_size()};
  return write_pieces(m4a.file, pieces) && std::fflush(m4a.file) == 0;
}

}  // namespace
}  // namespace auspool::m4a

using namespace auspool::m4a;

m4a_t *m4a_begin_fragmented(FILE *file, const audict *tags, int32_t kind, uint32_t channels, uint32_t sample_rate,
                            uint32_t packet_frames, uint32_t bitrate, int32_t profile) try {
  if (!file || (kind != M4A_KIND_AAC && kind != M4A_KIND_ALAC)) return nullptr;
  std::unique_ptr<m4a_t> m4a(create_record(file, channels, sample_rate, packet_frames, bitrate, profile));
  if (!m4a) return nullptr;
  m4a->fragment_samples = packets_of_fragment(sample_rate, packet_frames);
  const bool begun = write_file_type(file) && write_empty_moov(*m4a, tags, kind);
  return begun ? m4a.release() : nullptr;
} catch (const std::bad_alloc &) {
  return nullptr;
}

void m4a_write_sample_fragmented(m4a_t *m4a, const void *data, int32_t size) {
  if (size <= 0) return;  // an empty mdat would mean one that reaches to the end of the file
  SampleSizes &sizes = *m4a->sample_sizes;
  if (sizes.count == 0 && !open_fragment(*m4a)) {
    ++m4a->packets_lost;
    (void)drop_torn_packets(*m4a);
    return;
  }
  append_packet(*m4a, data, static_cast<std::size_t>(size));
  if (sizes.count == m4a->fragment_samples) close_fragment(*m4a);
}

int32_t m4a_finish_fragmented(m4a_t *m4a, int32_t) {
  if (m4a->sample_sizes->count > 0) close_fragment(*m4a);
  return 0;
}
