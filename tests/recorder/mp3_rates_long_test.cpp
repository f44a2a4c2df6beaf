// Every mode at every bitrate and rate that LAME takes: what comes out is whole, of that rate, and no checker or
// decoder complains.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "recorder/recorder_mp3.h"
#include "support/mp3_file.h"
#include "support/other_programs.h"
#include "support/recording_host.h"

namespace auspool::testing {
namespace {

constexpr int kRates[] = {8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000};

// What MP3 has at a rate, nearest to the bitrate; below 16000 Hz LAME stays within 64.
int nearest_bitrate(int rate, std::uint32_t wanted) {
  constexpr int kHigh[] = {32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320};
  constexpr int kLow[] = {8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160};
  const auto &table = rate >= 32000 ? kHigh : kLow;
  const auto distance = [wanted](int bitrate) { return std::abs(bitrate - static_cast<int>(wanted)); };
  const int nearest =
      *std::min_element(std::begin(table), std::end(table), [&](int a, int b) { return distance(a) < distance(b); });
  return rate < 16000 ? std::min(nearest, 64) : nearest;
}

class EveryMp3 : public ::testing::TestWithParam<std::uint32_t> {};

TEST_P(EveryMp3, IsWholeAndOfItsRate) {
  if (!RecorderMP3::is_available()) GTEST_SKIP() << "this build has no LAME";
  for (const char *program : {"mpg123", "mp3val", "mediainfo"}) NEED_PROGRAM(program);
  Host host(AuRecOutputTypeMP3);
  for (const int rate : kRates) {
    const auto frames = static_cast<std::size_t>(rate);
    const Samples left = noise(frames, 1), right = noise(frames, 2);
    for (const std::uint32_t *bitrate = mp3_bitrate_table_legacy; *bitrate != 0; ++bitrate) {
      SCOPED_TRACE(::testing::Message() << rate << " Hz " << *bitrate << " kbit/s");
      const auto file_rate = static_cast<float>(rate);
      aurec_set_mp3_options(host, {0, 5, GetParam(), 5, *bitrate, 0, file_rate});
      ASSERT_EQ(host.start(file_rate), 0);
      host.feed(left, right, file_rate);
      aurec_stop(host);
      const Mp3File file = mp3_file(read_file(host.finished().back()));
      EXPECT_TRUE(file.whole);
      ASSERT_GT(file.frames.size(), 3u);
      EXPECT_GE(file.frames.size() * static_cast<std::size_t>(file.frames[0].samples), frames);
      for (const Mp3Frame &frame : file.frames) {
        ASSERT_EQ(frame.rate, rate);
        ASSERT_EQ(frame.bitrate, GetParam() == 0 ? nearest_bitrate(rate, *bitrate) : frame.bitrate);
      }
    }
  }
  EXPECT_EQ(host.errors().size(), 0u);
  EXPECT_EQ(complaints_about_mp3(host.finished()), "");
  std::string names;
  for (const std::string &path : host.finished()) names += " " + quoted(path);
  const ProgramResult decoded = run("mpg123 -q -t" + names);
  EXPECT_EQ(decoded.status, 0);
  EXPECT_EQ(decoded.errors, "");
}

INSTANTIATE_TEST_SUITE_P(OfEachMode, EveryMp3, ::testing::Values(0u, 1u, 2u), [](const auto &one) {
  return std::string(one.param == 0 ? "Constant" : one.param == 1 ? "Average" : "Variable");
});

}  // namespace
}  // namespace auspool::testing
