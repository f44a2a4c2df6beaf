#include "m4a/audio_specific_config.h"

#include "auspool/m4a.h"
#include "base/byte_order.h"

namespace auspool::m4a {
namespace {

// The index whose frequency is nearest, by the limits of ISO/IEC 14496-3, table 4.82: 12 is not used.
std::uint32_t frequency_index(std::uint32_t rate) {
  constexpr std::uint32_t kRateBelow[] = {9391, 11502, 13856, 18783, 23004, 27713, 37566, 46009, 55426, 75132, 92017};
  std::uint32_t index = std::size(kRateBelow);
  for (const std::uint32_t limit : kRateBelow) {
    if (rate < limit) return index;
    --index;
  }
  return 0;
}

}  // namespace

std::array<std::uint8_t, 2> audio_specific_config(std::uint32_t sample_rate, std::uint32_t channels,
                                                  std::int32_t profile) {
  constexpr std::uint32_t kLowComplexity = 2;
  const std::uint32_t rate = profile != M4A_PROFILE_LC ? sample_rate / 2 : sample_rate;
  const std::uint32_t configuration = profile >= M4A_PROFILE_HE_V2 ? 1 : channels;
  const std::uint32_t bits = kLowComplexity << 11 | frequency_index(rate) << 7 | configuration << 3;
  std::array<std::uint8_t, 2> bytes;
  store_be(bytes.data(), static_cast<std::uint16_t>(bits));
  return bytes;
}

}  // namespace auspool::m4a
