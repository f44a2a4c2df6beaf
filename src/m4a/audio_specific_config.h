// The two bytes that tell an AAC decoder its stream: ISO/IEC 14496-3, 1.6.2.1.
#pragma once

#include <array>
#include <cstdint>

namespace auspool::m4a {

// For the HE profiles it describes the core layer, which has half the rate and, in version 2, one channel.
std::array<std::uint8_t, 2> audio_specific_config(std::uint32_t sample_rate, std::uint32_t channels,
                                                  std::int32_t profile);

}  // namespace auspool::m4a
