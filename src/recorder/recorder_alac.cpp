#include "recorder/recorder_alac.h"

namespace auspool {

void RecorderALAC::prepare_codec(platform::AudioCodec &encoder, platform::StreamDescription &input,
                                 platform::StreamDescription &output) const {
  describe(platform::StreamDescription::kSignedInteger, sizeof(std::int16_t), encoder, input, output);
}

// The encoder's own account of the stream is better than ours.
void RecorderALAC::post_encode_hack(const platform::AudioCodec &encoder, m4a_t *file) const try {
  const std::vector<std::uint8_t> cookie = encoder.magic_cookie();
  if (!cookie.empty()) m4a_alac_setinfo(file, cookie.data(), static_cast<std::int32_t>(cookie.size()));
} catch (const std::bad_alloc &) {
}

}  // namespace auspool
