// What auspool-record takes: any file that libsndfile reads, several in a row, each with its own rate.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "host/recordings.h"
#include "support/programs.h"
#include "support/temp_dir.h"

namespace auspool::testing {
namespace {

// The source as it is pushed: of one channel both, of more the first two.
Samples as_stereo(const std::string &path) {
  const auto channels = static_cast<std::size_t>(read_by_libsndfile(path).channels);
  const Samples samples = read_floats(path);
  Samples stereo;
  for (std::size_t i = 0; i + channels <= samples.size(); i += channels) {
    stereo.push_back(samples[i]);
    stereo.push_back(samples[i + (channels > 1 ? 1 : 0)]);
  }
  return stereo;
}

TEST(Inputs, OfEveryKindAreRecordedSampleForSample) {
  if (!have_program("sox")) GTEST_SKIP() << "no sox here";
  const TempDir dir;
  const std::pair<const char *, const char *> kinds[] = {{"eight_bit.wav", "-c 2 -b 8"},
                                                         {"mono.wav", "-c 1 -b 16"},
                                                         {"float.wav", "-c 2 -b 32 -e floating-point"},
                                                         {"lossless.flac", "-c 2 -b 24"},
                                                         {"lossy.ogg", "-c 2"},
                                                         {"big_endian.aiff", "-c 1 -b 24"},
                                                         {"six_channels.wav", "-c 6 -b 16"},
                                                         {"telephone.wav", "-c 1 -e u-law"}};
  for (const auto &[name, form] : kinds) {
    SCOPED_TRACE(name);
    const std::string source = dir.file(name), out = dir.file(std::string(name) + ".out");
    const auto made =
        run("sox -R -r 22050 -n " + std::string(form) + " " + source + " synth 1.1 sine 300:3000 gain -3");
    ASSERT_EQ(made.status, 0) << made.errors;
    const Recording recording = record(source + " --bits 24 --out " + out);
    ASSERT_EQ(recording.status, 0) << recording.errors;
    EXPECT_TRUE(recording.joined() == stored(as_stereo(source), 24));
  }
}

TEST(Inputs, OfOneRateFollowEachOtherWithoutAGap) {
  const TempDir dir;
  std::string inputs;
  Samples all;
  for (unsigned i = 0; i < 5; ++i) {
    const Samples part = noise(2 * (1000 + 777 * i), i);
    write_source(dir.file(std::to_string(i)), 48000, 2, part);
    inputs += dir.file(std::to_string(i)) + " ";
    all.insert(all.end(), part.begin(), part.end());
  }
  const Recording recording = record(inputs + "--out " + dir.file("out"));
  ASSERT_EQ(recording.status, 0) << recording.errors;
  EXPECT_EQ(recording.files.size(), 1u);
  EXPECT_TRUE(recording.joined() == stored(all, 16));
}

// How often the left channel rises through zero, which counts the periods of a tone.
int periods(const std::vector<std::int32_t> &stereo, std::size_t begin, std::size_t end) {
  int count = 0;
  for (std::size_t i = begin + 1; i < end; ++i) count += stereo[2 * i - 2] < 0 && stereo[2 * i] >= 0;
  return count;
}

// A tone of 441 Hz at four rates: the file has the rate of the first input, and in it the tone stays what it was.
TEST(Inputs, OfOtherRatesAreConvertedToTheFirstOnes) {
  const TempDir dir;
  std::string inputs;
  for (const int rate : {44100, 8000, 96000, 44100}) {
    const Samples tone = sine(static_cast<std::size_t>(rate), rate, 441);
    const std::string path = dir.file(std::to_string(rate));
    write_source(path, rate, 1, tone);
    inputs += path + " ";
  }
  const Recording recording = record(inputs + "--out " + dir.file("out"));
  ASSERT_EQ(recording.status, 0) << recording.errors;
  ASSERT_EQ(recording.files.size(), 1u);
  const Audio audio = read_by_libsndfile(recording.path(0));
  EXPECT_EQ(audio.rate, 44100);
  EXPECT_NEAR(static_cast<double>(audio.frames()), 4 * 44100, 40);
  for (std::size_t second = 0; second < 4; ++second)
    EXPECT_NEAR(periods(audio.samples, second * 44100 + 100, (second + 1) * 44100 - 100), 439, 2) << second;
}

TEST(Inputs, AreConvertedToTheRateThatIsAskedFor) {
  const TempDir dir;
  write_source(dir.file("in.wav"), 44100, 1, sine(2 * 44100, 44100, 441));
  for (const int rate : {4000, 48000, 192000}) {
    const Recording recording = record(dir.file("in.wav") + " --type wave --rate " + std::to_string(rate) + " --out " +
                                       dir.file(std::to_string(rate)));
    ASSERT_EQ(recording.status, 0) << recording.errors;
    const Audio audio = read_by_libsndfile(recording.path(0));
    EXPECT_EQ(audio.rate, rate);
    EXPECT_NEAR(static_cast<double>(audio.frames()), 2.0 * rate, 20);
    EXPECT_NEAR(periods(audio.samples, 100, audio.frames() - 100), 2 * 441, 50);
  }
}

// Debian's recordings of speech, where they are installed.
TEST(Inputs, OfRealSpeechAreRecordedSampleForSample) {
  const std::string folder = "/usr/share/sounds/alsa/";
  if (read_file(folder + "Front_Center.wav").empty()) GTEST_SKIP() << "no recordings in " << folder;
  const TempDir dir;
  std::string inputs;
  Samples all;
  for (const char *name : {"Front_Center.wav", "Rear_Left.wav", "Side_Right.wav"}) {
    const Samples part = as_stereo(folder + name);
    all.insert(all.end(), part.begin(), part.end());
    inputs += folder + name + " ";
  }
  const Recording recording = record(inputs + "--type wave --out " + dir.file("out"));
  ASSERT_EQ(recording.status, 0) << recording.errors;
  EXPECT_TRUE(recording.joined() == stored(all, 16));
}

}  // namespace
}  // namespace auspool::testing
