#include "m4a/fragment_index.h"

#include <algorithm>
#include <numeric>

#include "base/four_cc.h"

namespace auspool::m4a {

FragmentIndex::FragmentIndex(const m4a_t &m4a)
    : moof_words_(kHeaderWords + 2 * static_cast<std::size_t>(m4a.fragment_samples)) {
  words_[0] = static_cast<std::uint32_t>(4 * moof_words_);
  words_[1] = four_cc("free");
  words_[moof_words_ + 1] = four_cc("mdat");
}

FragmentIndex FragmentIndex::reserved(const m4a_t &m4a) {
  return FragmentIndex(m4a);
}

FragmentIndex FragmentIndex::complete(const m4a_t &m4a) {
  const SampleSizes &sizes = *m4a.sample_sizes;
  FragmentIndex index(m4a);
  index.put_header(m4a);
  index.put_packets(m4a);
  index.words_[index.moof_words_] = static_cast<std::uint32_t>(
      std::accumulate(sizes.sizes, sizes.sizes + sizes.count, static_cast<std::int32_t>(kDataHeaderBytes)));
  return index;
}

//  0 size   4 "moof"    8 size 16   12 "mfhd"  16 version and flags   20 number of the fragment
// 24 size   28 "traf"  32 size 16   36 "tfhd"  40 flags: offsets count from here   44 track
// 48 size   52 "trun"  56 flags: offset, durations and sizes are there   60 packets   64 offset of the first
void FragmentIndex::put_header(const m4a_t &m4a) {
  const auto count = static_cast<std::uint32_t>(m4a.sample_sizes->count), size = words_[0];
  const auto sequence = static_cast<std::uint32_t>(m4a.fragment_sequence);
  const std::uint32_t header[kHeaderWords] = {
      size,
      four_cc("moof"),
      16,
      four_cc("mfhd"),
      0,
      sequence,
      44 + 8 * count,
      four_cc("traf"),
      16,
      four_cc("tfhd"),
      0x00020000,
      1,
      20 + 8 * count,
      four_cc("trun"),
      0x00000301,
      count,
      size + kDataHeaderBytes,
  };
  std::copy(std::begin(header), std::end(header), words_);
}

// Frames and size of each. It may be fewer than there is room for: what is left is a `free` at the end.
void FragmentIndex::put_packets(const m4a_t &m4a) {
  const SampleSizes &sizes = *m4a.sample_sizes;
  std::uint32_t *at = words_ + kHeaderWords, *const end = words_ + moof_words_;
  for (int i = 0; i < sizes.count; ++i) {
    *at++ = m4a.packet_frames;
    *at++ = static_cast<std::uint32_t>(sizes.sizes[i]);
  }
  if (at == end) return;
  at[0] = static_cast<std::uint32_t>(4 * (end - at));
  at[1] = four_cc("free");
}

}  // namespace auspool::m4a
