#include "platform/audio_codec.h"

namespace auspool::platform {

bool AudioCodec::is_available(std::uint32_t) {
  return false;
}
std::unique_ptr<AudioCodec> AudioCodec::open(std::uint32_t) {
  return nullptr;
}

}  // namespace auspool::platform
