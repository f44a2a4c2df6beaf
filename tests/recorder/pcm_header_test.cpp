#include "recorder/pcm_header.h"

#include "base/byte_order.h"

using namespace auspool;

namespace {

std::string text(const std::vector<std::uint8_t> &bytes, std::size_t at, std::size_t size) {
  return std::string(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                     bytes.begin() + static_cast<std::ptrdiff_t>(at + size));
}

using Fill = decltype(fill_aiff_header);

std::vector<std::uint8_t> filled(Fill &fill, std::size_t fixed, long frames, float rate, int channels, int bits,
                                 const std::string &tags = "") {
  std::vector<std::uint8_t> bytes(fixed + tags.size(), 0);
  const auto *data = tags.empty() ? nullptr : reinterpret_cast<const std::uint8_t *>(tags.data());
  fill(bytes.data(), frames, rate, channels, bits, data, static_cast<std::int32_t>(tags.size()));
  return bytes;
}

std::vector<std::uint8_t> aiff(long frames, float rate, int channels, int bits, const std::string &tags = "") {
  return filled(fill_aiff_header, kAiffHeaderBytes, frames, rate, channels, bits, tags);
}
std::vector<std::uint8_t> wave(long frames, float rate, int channels, int bits, const std::string &tags = "") {
  return filled(fill_wave_header, kWaveHeaderBytes, frames, rate, channels, bits, tags);
}

TEST(AiffHeader, HasEveryFieldInItsPlace) {
  const std::vector<std::uint8_t> expected = {'F',  'O',  'R',  'M',  0, 0,  0x0f, 0xce, 'A', 'I', 'F',  'F',  'C', 'O',
                                              'M',  'M',  0,    0,    0, 18, 0,    2,    0,   0,   0x03, 0xe8, 0,   16,
                                              0x40, 0x0e, 0xac, 0x44, 0, 0,  0,    0,    0,   0,   'S',  'S',  'N', 'D',
                                              0,    0,    0x0f, 0xa8, 0, 0,  0,    0,    0,   0,   0,    0};
  EXPECT_EQ(aiff(1000, 44100, 2, 16), expected);
  EXPECT_EQ(load_be<std::uint32_t>(&expected[4]), 4046u);
  EXPECT_EQ(load_be<std::uint32_t>(&expected[42]), 4008u);
}

TEST(WaveHeader, HasEveryFieldInItsPlace) {
  const std::vector<std::uint8_t> expected = {
      'R', 'I', 'F',  'F',  0xc4, 0x0f, 0,    0,    'W', 'A', 'V', 'E', 'f', 'm', 't', ' ', 16,  0,   0,    0,    1, 0,
      2,   0,   0x44, 0xac, 0,    0,    0x10, 0xb1, 2,   0,   4,   0,   16,  0,   'd', 'a', 't', 'a', 0xa0, 0x0f, 0, 0};
  EXPECT_EQ(wave(1000, 44100, 2, 16), expected);
  EXPECT_EQ(load_le<std::uint32_t>(&expected[4]), 4036u);
  EXPECT_EQ(load_le<std::uint32_t>(&expected[40]), 4000u);
}

TEST(AiffHeader, TagsStandBetweenHeaderAndAudio) {
  const std::string tags = "NAME\0\0\0\2hi";
  const auto bytes = aiff(10, 48000, 1, 24, tags);
  EXPECT_EQ(text(bytes, 38, tags.size()), tags);
  EXPECT_EQ(text(bytes, 38 + tags.size(), 4), "SSND");
  EXPECT_EQ(load_be<std::uint32_t>(&bytes[4]), 30 + tags.size() + 46);
  EXPECT_EQ(load_be<std::uint32_t>(&bytes[42 + tags.size()]), 38u);
}

TEST(WaveHeader, TagsStandBetweenHeaderAndAudio) {
  const std::string tags = "LIST tags";
  const auto bytes = wave(10, 48000, 1, 24, tags);
  EXPECT_EQ(text(bytes, 36, tags.size()), tags);
  EXPECT_EQ(text(bytes, 36 + tags.size(), 4), "data");
  EXPECT_EQ(load_le<std::uint32_t>(&bytes[4]), 30 + tags.size() + 36);
  EXPECT_EQ(load_le<std::uint32_t>(&bytes[40 + tags.size()]), 30u);
}

TEST(WaveHeader, AFractionalRateIsTruncatedEverywhere) {
  const auto bytes = wave(10, 44100.5f, 2, 24);
  EXPECT_EQ(load_le<std::uint32_t>(&bytes[24]), 44100u);
  EXPECT_EQ(load_le<std::uint32_t>(&bytes[28]), 44100u * 6) << "the rate times the block size, both as they stand";
}

TEST(AiffHeader, AFractionalRateIsKept) {
  const auto bytes = aiff(10, 44100.5f, 2, 24);
  EXPECT_EQ(bytes[32], 0x80);
}

TEST(PcmHeader, AnOddAmountOfDataIsNotPadded) {
  EXPECT_EQ(load_be<std::uint32_t>(&aiff(1, 44100, 1, 24)[42]), 11u);
  EXPECT_EQ(load_le<std::uint32_t>(&wave(1, 44100, 1, 24)[40]), 3u);
}

// 2^30 frames of 6 bytes are 6 GiB.
TEST(PcmHeader, SizesAreCountedIn64BitsAndCutTo32) {
  const long frames = 1L << 30;
  const auto low = static_cast<std::uint32_t>(std::int64_t{frames} * 6);
  EXPECT_EQ(load_be<std::uint32_t>(&aiff(frames, 44100, 2, 24)[4]), low + 46);
  EXPECT_EQ(load_be<std::uint32_t>(&aiff(frames, 44100, 2, 24)[22]), std::uint32_t{1} << 30);
  EXPECT_EQ(load_le<std::uint32_t>(&wave(frames, 44100, 2, 24)[40]), low);
}

}  // namespace
