#include "platform/flac_encoder.h"

namespace auspool::platform {

bool FlacEncoder::is_available() {
  return false;
}
bool FlacEncoder::make() {
  return false;
}
void FlacEncoder::release() {}
bool FlacEncoder::begin(std::FILE *, const FlacFormat &, std::span<void *>) {
  return false;
}
bool FlacEncoder::encode(const std::int32_t *, std::uint32_t) {
  return false;
}
void FlacEncoder::finish() {}

}  // namespace auspool::platform
