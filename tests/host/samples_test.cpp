// Every sample of a recording is what the rule makes of the source's, as independent readers see it.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "host/recordings.h"
#include "support/programs.h"
#include "support/temp_dir.h"

namespace auspool::testing {
namespace {

// Noise beyond full scale, behind the values at which the rule turns.
Samples hard_source() {
  const float inf = std::numeric_limits<float>::infinity();
  Samples samples = {0.0f,
                     -0.0f,
                     1.0f,
                     -1.0f,
                     0.5f,
                     -0.5f,
                     0.99996942f,  // the first above the bound of 16 bits
                     std::nextafter(0.99996942f, 0.0f),
                     0.99996948f,
                     0.99999988f,
                     std::nextafter(0.99999988f, 0.0f),
                     -0.99f / 32768.0f,
                     -0.99f / 8388608.0f,
                     0.99f / 32768.0f,
                     std::nextafter(-1.0f, -2.0f),
                     std::nextafter(-1.0f, 0.0f),
                     inf,
                     -inf,
                     std::numeric_limits<float>::quiet_NaN(),
                     1e-40f,
                     3.0e38f,
                     -3.0e38f};
  const Samples rest = noise(200000, 7, 1.2);
  samples.insert(samples.end(), rest.begin(), rest.end());
  return samples;
}

struct Case {
  const char *name;
  const char *arguments;
  int bits;
  Samples (*expected)(const Samples &stereo);
};

void PrintTo(const Case &one, std::ostream *out) {
  *out << one.name;
}

template <typename Reduce>
Samples reduced(const Samples &stereo, Reduce reduce) {
  Samples mono;
  for (std::size_t i = 0; i < stereo.size(); i += 2) mono.push_back(reduce(stereo[i], stereo[i + 1]));
  return mono;
}

Samples both(const Samples &stereo) {
  return stereo;
}
Samples mix(const Samples &stereo) {
  return reduced(stereo, [](float left, float right) { return (left + right) * 0.5f; });
}
Samples left(const Samples &stereo) {
  return reduced(stereo, [](float one, float) { return one; });
}
Samples right(const Samples &stereo) {
  return reduced(stereo, [](float, float other) { return other; });
}

class EverySample : public ::testing::TestWithParam<Case> {};

TEST_P(EverySample, FollowsTheRule) {
  if (!have_program("ffmpeg")) GTEST_SKIP() << "no ffmpeg here";
  const TempDir dir;
  const Samples source = hard_source();
  write_source(dir.file("in.wav"), 44100, 2, source);
  const Recording recording =
      record(quoted(dir.file("in.wav")) + " --out " + quoted(dir.file("out")) + " " + GetParam().arguments);
  ASSERT_EQ(recording.status, 0) << recording.errors;
  ASSERT_EQ(recording.files.size(), 1u);
  const auto expected = stored(GetParam().expected(source), GetParam().bits);
  for (const Audio &audio : {read_by_libsndfile(recording.path(0)), read_by_ffmpeg(recording.path(0))}) {
    EXPECT_EQ(audio.rate, 44100);
    EXPECT_EQ(audio.channels, GetParam().expected == both ? 2 : 1);
    EXPECT_TRUE(audio.samples == expected) << "differs within " << audio.samples.size() << " of " << expected.size();
  }
}

const Case kCases[] = {{"Aiff16", "", 16, both},
                       {"Aiff24", "--type aiff --bits 24", 24, both},
                       {"Wave16", "--type wave --bits 16", 16, both},
                       {"Wave24", "--type wave --bits 24", 24, both},
                       {"Aiff16Mix", "--mono mix", 16, mix},
                       {"Wave16Left", "--type wave --mono left", 16, left},
                       {"Wave24Right", "--type wave --bits 24 --mono right", 24, right},
                       {"Aiff24Mix", "--bits 24 --mono mix", 24, mix}};
INSTANTIATE_TEST_SUITE_P(Of, EverySample, ::testing::ValuesIn(kCases),
                         [](const auto &one) { return std::string(one.param.name); });

// The header, read apart from the audio, says what the file is.
TEST(RecordedFile, IsWhatFfprobeSays) {
  if (!have_program("ffprobe")) GTEST_SKIP() << "no ffprobe here";
  const TempDir dir;
  write_source(dir.file("in.wav"), 96000, 2, noise(2 * 1000, 1));
  const Recording recording =
      record(quoted(dir.file("in.wav")) + " --type wave --bits 24 --out " + quoted(dir.file("out")));
  ASSERT_EQ(recording.status, 0) << recording.errors;
  const auto probe = nlohmann::json::parse(
      auspool::testing::run("ffprobe -v error -of json -show_streams -show_format " + quoted(recording.path(0)))
          .output);
  EXPECT_EQ(probe["format"]["format_name"], "wav");
  EXPECT_EQ(probe["format"]["size"], std::to_string(44 + 6 * 1000));
  EXPECT_EQ(probe["streams"][0]["codec_name"], "pcm_s24le");
  EXPECT_EQ(probe["streams"][0]["sample_rate"], "96000");
  EXPECT_EQ(probe["streams"][0]["duration_ts"], 1000);
}

}  // namespace
}  // namespace auspool::testing
