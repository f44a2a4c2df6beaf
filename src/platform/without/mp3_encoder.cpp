#include "platform/mp3_encoder.h"

namespace auspool::platform {

bool Mp3Encoder::is_available() {
  return false;
}
const char *Mp3Encoder::version() {
  return "";
}
Mp3Encoder::Mp3Encoder() = default;
Mp3Encoder::~Mp3Encoder() = default;
bool Mp3Encoder::make() {
  return false;
}
void Mp3Encoder::release() {
  lame_ = nullptr;
}
bool Mp3Encoder::configure(const Mp3Settings &) {
  return false;
}
int Mp3Encoder::encode(const std::int16_t *, const std::int16_t *, int, std::span<std::uint8_t>) {
  return -1;
}
int Mp3Encoder::end_stream(std::span<std::uint8_t>) {
  return -1;
}
int Mp3Encoder::cut_stream(std::span<std::uint8_t>) {
  return -1;
}
void Mp3Encoder::write_vbr_header(std::FILE *) {}
void Mp3Encoder::begin_next_stream() {}

}  // namespace auspool::platform
