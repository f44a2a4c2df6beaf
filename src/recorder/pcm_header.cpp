#include "recorder/pcm_header.h"

#include <cstring>

#include "auspool/ieee_float.h"
#include "base/byte_order.h"
#include "base/truncate.h"

namespace auspool {
namespace {

struct Sizes {
  Sizes(long frames, int channels, int bits)
      : frame(static_cast<std::uint32_t>(channels * (bits / 8))), data(std::int64_t{frames} * frame) {}
  std::uint32_t frame;
  std::int64_t data;
};

// Size fields have 32 bits: what is larger is cut.
std::uint32_t low_word(std::int64_t value) {
  return static_cast<std::uint32_t>(value);
}

void put(std::uint8_t *to, const char *text) {
  std::memcpy(to, text, std::strlen(text));
}

std::uint8_t *put_tags(std::uint8_t *to, const std::uint8_t *tag_data, std::int32_t tag_length) {
  if (tag_length > 0) std::memcpy(to, tag_data, static_cast<std::size_t>(tag_length));
  return to + tag_length;
}

}  // namespace

// Big-endian. E is tag_length, D the bytes of audio.
//    0   4  "FORM"                     22      4  frames
//    4   4  E + D + 46                 26      2  bits per sample
//    8   8  "AIFFCOMM"                 28     10  sample rate, 80-bit extended
//   16   4  18                         38      E  tags
//   20   2  channels                   38 + E  4  "SSND", then D + 8, then offset and block size: 0
void fill_aiff_header(std::uint8_t *buffer, long frames, float sample_rate, int channels, int bits,
                      const std::uint8_t *tag_data, std::int32_t tag_length) {
  const Sizes sizes(frames, channels, bits);
  put(buffer, "FORM");
  store_be(buffer + 4, low_word(tag_length + sizes.data + 46));
  put(buffer + 8, "AIFFCOMM");
  store_be(buffer + 16, std::uint32_t{18});
  store_be(buffer + 20, static_cast<std::uint16_t>(channels));
  store_be(buffer + 22, low_word(frames));
  store_be(buffer + 26, static_cast<std::uint16_t>(bits));
  ConvertToIeeeExtended(buffer + 28, static_cast<double>(sample_rate));
  std::uint8_t *const sound = put_tags(buffer + 38, tag_data, tag_length);
  put(sound, "SSND");
  store_be(sound + 4, low_word(sizes.data + 8));
  store_be(sound + 8, std::uint64_t{0});
}

// Little-endian.
//    0   4  "RIFF"                     28      4  rate * channels * bytes per sample
//    4   4  D + E + 36                 32      2  channels * bytes per sample
//    8   8  "WAVEfmt "                 34      2  bits per sample
//   16   4  16                         36      E  tags
//   20   2  1: PCM                     36 + E  4  "data"
//   22   2  channels                   40 + E  4  D
//   24   4  sample rate
void fill_wave_header(std::uint8_t *buffer, long frames, float sample_rate, int channels, int bits,
                      const std::uint8_t *tag_data, std::int32_t tag_length) {
  const Sizes sizes(frames, channels, bits);
  const auto rate = static_cast<std::uint32_t>(truncate_to_int32(sample_rate));
  put(buffer, "RIFF");
  store_le(buffer + 4, low_word(sizes.data + tag_length + 36));
  put(buffer + 8, "WAVEfmt ");
  store_le(buffer + 16, std::uint32_t{16});
  store_le(buffer + 20, std::uint16_t{1});
  store_le(buffer + 22, static_cast<std::uint16_t>(channels));
  store_le(buffer + 24, rate);
  store_le(buffer + 28, rate * sizes.frame);
  store_le(buffer + 32, static_cast<std::uint16_t>(sizes.frame));
  store_le(buffer + 34, static_cast<std::uint16_t>(bits));
  std::uint8_t *const data = put_tags(buffer + 36, tag_data, tag_length);
  put(data, "data");
  store_le(data + 4, low_word(sizes.data));
}

}  // namespace auspool
