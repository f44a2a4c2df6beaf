// The sampling frequencies of AAC, by their index in the stream: ISO/IEC 14496-3, tables 1.16 and 4.82.
#pragma once

#include <cstdint>
#include <iterator>

namespace auspool::m4a {

inline constexpr std::uint32_t kAacFrequencies[] = {96000, 88200, 64000, 48000, 44100, 32000,
                                                    24000, 22050, 16000, 12000, 11025, 8000};

// The index of the frequency that stands for a rate in Hz.
constexpr std::uint32_t aac_frequency_index(double rate) {
  constexpr std::uint32_t kRateBelow[] = {9391, 11502, 13856, 18783, 23004, 27713, 37566, 46009, 55426, 75132, 92017};
  std::uint32_t index = std::size(kRateBelow);
  for (const std::uint32_t limit : kRateBelow) {
    if (rate < limit) return index;
    --index;
  }
  return 0;
}

}  // namespace auspool::m4a
