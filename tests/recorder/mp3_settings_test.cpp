#include "recorder/mp3_settings.h"

#include <gtest/gtest.h>

#include <string>

#include "recorder/recorder_mp3.h"

namespace auspool {
namespace {

constexpr AuRecOptionsMP3 kDefaults = RecorderMP3::DefaultOptions();

AuRecOptionsMP3 corrected(AuRecOptionsMP3 options, const char *version) {
  fix_mp3_options(&options, version);
  return options;
}

AuRecOptionsMP3 with_quality(std::int32_t quality) {
  AuRecOptionsMP3 options = kDefaults;
  options.quality = quality;
  return options;
}

TEST(Mp3Options, KeepTheBestQualitiesFromVersionsOfLameThatHaveThem) {
  for (const char *version : {"3.94", "LAME 3.95.1", "3.96 beta"}) {
    EXPECT_EQ(corrected(with_quality(0), version).quality, 2) << version;
    EXPECT_EQ(corrected(with_quality(1), version).quality, 2) << version;
    EXPECT_EQ(corrected(with_quality(2), version).quality, 2) << version;
    EXPECT_EQ(corrected(with_quality(7), version).quality, 7) << version;
    EXPECT_EQ(corrected(with_quality(12), version).quality, 5) << version;
  }
  for (const char *version : {"3.100", "3.93", "3.97", ""}) {
    EXPECT_EQ(corrected(with_quality(1), version).quality, 1) << version;
  }
}

TEST(Mp3Options, AreCorrectedForTheVersionThatIsThere) {
  AuRecOptionsMP3 options = with_quality(1);
  RecorderMP3::fix_opts(&options);
  EXPECT_EQ(options.quality, corrected(with_quality(1), platform::Mp3Encoder::version()).quality);
}

TEST(Mp3LowPass, FollowsTheQualityAndIsHalvedForNarrowBitrates) {
  const int expected[] = {19500, 19000, 18600, 18000, 17500, 16000, 15600, 14900, 12500, 10000};
  for (std::uint32_t quality = 0; quality < 10; ++quality) {
    EXPECT_EQ(optimum_vbr_lowpassfreq(quality, 128), expected[quality]);
    EXPECT_EQ(optimum_vbr_lowpassfreq(quality, 33), expected[quality]);
    EXPECT_EQ(optimum_vbr_lowpassfreq(quality, 32), expected[quality] / 2);
    EXPECT_EQ(optimum_vbr_lowpassfreq(quality, 8), expected[quality] / 2);
  }
  EXPECT_EQ(optimum_vbr_lowpassfreq(10, 128), 10000);
  EXPECT_EQ(optimum_vbr_lowpassfreq(UINT32_MAX, 128), 10000);
}

TEST(Mp3Settings, AreThoseOfTheOptions) {
  using platform::Mp3Settings;
  const auto channels = [](std::uint32_t mode) { return mp3_settings({mode, 5, 0, 5, 128, 0, 0}, 44100).channels; };
  EXPECT_EQ(channels(0), Mp3Settings::Channels::kJointStereo);
  EXPECT_EQ(channels(1), Mp3Settings::Channels::kMono);
  EXPECT_EQ(channels(2), Mp3Settings::Channels::kStereo);
  EXPECT_EQ(channels(77), Mp3Settings::Channels::kJointStereo);
  const auto mode = [](std::uint32_t number) { return mp3_settings({0, 5, number, 5, 128, 0, 0}, 44100).mode; };
  EXPECT_EQ(mode(0), Mp3Settings::Bitrate::kConstant);
  EXPECT_EQ(mode(1), Mp3Settings::Bitrate::kAverage);
  EXPECT_EQ(mode(2), Mp3Settings::Bitrate::kVariable);
  const Mp3Settings settings = mp3_settings({0, 3, 2, 5, 32, 0, 22050.9f}, 44100.9f);
  EXPECT_EQ(settings.input_rate, 44100);
  EXPECT_EQ(settings.file_rate, 22050);
  EXPECT_EQ(settings.quality, 3);
  EXPECT_EQ(settings.bitrate, 32);
  EXPECT_EQ(settings.vbr_quality, 5);
  EXPECT_EQ(settings.low_pass, 8000);
  EXPECT_EQ(mp3_settings({0, 5, 0, 5, 128, 0, 0.9f}, 44100).file_rate, 0);
}

TEST(Mp3Settings, StandInALine) {
  EXPECT_EQ(
      mp3_settings_text({1, 2, 2, 4, 192, 0, 22050.5f}, 44100.5f).data(),
      std::string("lame_params: mInRate:44100, enc_rate:22050, q:2, ch_mode:1, vbr_q:4, br_mode:2, bitrate:192\n"));
  EXPECT_EQ(std::string(
                mp3_settings_text({UINT32_MAX, INT32_MIN, UINT32_MAX, UINT32_MAX, UINT32_MAX, 0, -3e9f}, -3e9f).data())
                .back(),
            '\n')
      << "there is room for the longest";
}

}  // namespace
}  // namespace auspool
