#include "m4a/audio_specific_config.h"

#include "auspool/m4a.h"
#include "base/byte_order.h"
#include "m4a/aac_frequencies.h"

namespace auspool::m4a {
std::array<std::uint8_t, 2> audio_specific_config(std::uint32_t sample_rate, std::uint32_t channels,
                                                  std::int32_t profile) {
  constexpr std::uint32_t kLowComplexity = 2;
  const std::uint32_t rate = profile != M4A_PROFILE_LC ? sample_rate / 2 : sample_rate;
  const std::uint32_t configuration = profile >= M4A_PROFILE_HE_V2 ? 1 : channels;
  const std::uint32_t bits = kLowComplexity << 11 | aac_frequency_index(rate) << 7 | configuration << 3;
  std::array<std::uint8_t, 2> bytes;
  store_be(bytes.data(), static_cast<std::uint16_t>(bits));
  return bytes;
}

}  // namespace auspool::m4a
