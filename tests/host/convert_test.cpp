// auspool-convert, judged by libsndfile, ffmpeg and sox.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>

#include "host/recordings.h"
#include "support/programs.h"
#include "support/temp_dir.h"

namespace auspool::testing {
namespace {

constexpr int kRate = 44100;
constexpr int kChannels = 3;

class Convert : public ::testing::Test {
protected:
  std::string file(const std::string &name) const { return dir_.file(name); }
  ProgramResult convert(const std::string &arguments) const { return run(quoted(AUSPOOL_CONVERT) + " " + arguments); }
  ProgramResult converted(const std::string &arguments) const {
    auto result = convert(arguments);
    EXPECT_EQ(result.status, 0) << arguments << '\n' << result.errors;
    return result;
  }

  // Noise in a file of floats, and as 24 bits by sox.
  std::string floats() const {
    write_source(file("in.wav"), kRate, kChannels, noise(kChannels * 10000, 1, 0.9));
    return file("in.wav");
  }
  std::string integers() const {
    EXPECT_EQ(run("sox -D " + floats() + " -b 24 " + file("in24.wav")).status, 0);
    return file("in24.wav");
  }

  // Bare samples as ffmpeg decodes them, full scale at 32 bits.
  std::vector<std::int32_t> decoded(const std::string &path, const std::string &codec) const {
    const auto result = run("ffmpeg -v error -f " + codec + " -ar 44100 -ac 3 -i " + path + " -f s32le -");
    EXPECT_EQ(result.status, 0) << codec << result.errors;
    std::vector<std::int32_t> samples(result.output.size() / 4);
    std::memcpy(samples.data(), result.output.data(), 4 * samples.size());
    return samples;
  }

  const TempDir dir_;
};

TEST_F(Convert, KeepsTwentyFourBitsInEveryWiderFormatAndOrder) {
  if (!have_program("sox") || !have_program("ffmpeg")) GTEST_SKIP() << "no sox or no ffmpeg here";
  const std::string in = integers();
  const auto expected = read_by_libsndfile(in).samples;
  ASSERT_EQ(expected.size(), 30000u);
  const std::pair<const char *, const char *> formats[] = {
      {"s24", "s24"}, {"s32", "s32"}, {"f32", "f32"}, {"f64", "f64"}, {"s24in32", "s32"}};
  for (const auto &[format, codec] : formats) {
    for (const bool big : {false, true}) {
      SCOPED_TRACE(std::string(format) + (big ? " big" : " little"));
      converted(in + " " + file("out.raw") + " --format " + format + (big ? " --big" : ""));
      auto samples = decoded(file("out.raw"), std::string(codec) + (big ? "be" : "le"));
      if (format == std::string("s24in32"))
        for (auto &sample : samples) sample *= 256;
      EXPECT_TRUE(samples == expected);
    }
  }
}

TEST_F(Convert, WritesContainersThatTwoReadersUnderstand) {
  if (!have_program("sox") || !have_program("ffmpeg")) GTEST_SKIP() << "no sox or no ffmpeg here";
  const std::string in = integers();
  const auto expected = read_by_libsndfile(in).samples;
  const auto expected_floats = read_floats(in);
  for (const std::string format : {"s24", "s32", "f32", "f64"}) {
    for (const std::string name : {"out.WAV", "out.aif", "out.aiff", "out.caf", "out.au"}) {
      SCOPED_TRACE(name + " " + format);
      converted(in + " " + file(name) + " --format " + format);
      const Audio one = read_by_ffmpeg(file(name));
      EXPECT_EQ(one.rate, kRate);
      EXPECT_EQ(one.channels, kChannels);
      EXPECT_TRUE(one.samples == expected);
      EXPECT_TRUE(read_floats(file(name)) == expected_floats);
      std::filesystem::remove(file(name));
    }
  }
}

TEST_F(Convert, RoundsToTheNearestAndCountsWhatClips) {
  Samples x = noise(kChannels * 10000, 2, 0.99);
  x[7] = 1.5f;
  x[8] = -1.25f;
  x[9] = 1.0f;
  x[10] = -1.0f;
  write_source(file("in.wav"), kRate, kChannels, x);
  const auto result = converted(file("in.wav") + " " + file("out.wav") + " --format s16 --json");
  EXPECT_EQ(nlohmann::json::parse(result.output)["clipped"], 2);
  const auto samples = read_by_libsndfile(file("out.wav")).samples;
  ASSERT_EQ(samples.size(), x.size());
  for (std::size_t i = 0; i < x.size(); ++i) {
    const double code = std::clamp(std::nearbyint(static_cast<double>(x[i]) * 32768), -32768.0, 32767.0);
    ASSERT_EQ(samples[i], static_cast<std::int32_t>(code) * 65536) << i;
  }
}

// sox rounds ties up, not to even; there are some among 24 bits.
TEST_F(Convert, RoundsToSixteenBitsAsSoxDoes) {
  if (!have_program("sox")) GTEST_SKIP() << "no sox here";
  const std::string in = integers();
  converted(in + " " + file("out.wav") + " --format s16");
  ASSERT_EQ(run("sox -D " + in + " -b 16 " + file("sox.wav")).status, 0);
  const auto before = read_by_libsndfile(in).samples;
  const auto ours = read_by_libsndfile(file("out.wav")).samples, theirs = read_by_libsndfile(file("sox.wav")).samples;
  ASSERT_EQ(ours.size(), before.size());
  ASSERT_EQ(theirs.size(), before.size());
  std::size_t ties = 0;
  for (std::size_t i = 0; i < before.size(); ++i) {
    const bool is_tie = (before[i] & 0xFFFF) == 0x8000;
    ties += is_tie;
    ASSERT_TRUE(is_tie || ours[i] == theirs[i]) << i;
  }
  EXPECT_LT(ties, before.size() / 100);
}

// Rounding with triangular noise errs by a quarter of a squared code, and a constant is kept in the mean.
TEST_F(Convert, DithersSoThatAHalfCodeIsKeptInTheMean) {
  constexpr std::size_t kSamples = kChannels * 100000;
  write_source(file("in.wav"), kRate, kChannels, Samples(kSamples, 0.3f / 32768));
  converted(file("in.wav") + " " + file("none.wav") + " --format s16");
  for (const std::int32_t sample : read_by_libsndfile(file("none.wav")).samples) ASSERT_EQ(sample, 0);
  converted(file("in.wav") + " " + file("out.wav") + " --format s16 --dither tpdf");
  double mean = 0, power = 0;
  for (const std::int32_t sample : read_by_libsndfile(file("out.wav")).samples) {
    const double error = sample / 65536.0 - 0.3;
    mean += error / kSamples;
    power += error * error / kSamples;
  }
  EXPECT_NEAR(mean, 0, 0.005);
  EXPECT_NEAR(power, 0.25, 0.005);
  for (const char *type : {"rpdf", "simp", "ff_f", "fwgt", "ff-4", "ff-6", "ff-8"}) {
    converted(file("in.wav") + " " + file("other.wav") + " --format s16 --dither " + type);
    EXPECT_NE(read_file(file("other.wav")), read_file(file("out.wav"))) << type;
    converted(file("in.wav") + " " + file("again.wav") + " --format s16 --dither " + type);
    EXPECT_EQ(read_file(file("other.wav")), read_file(file("again.wav"))) << type;
  }
}

TEST_F(Convert, JsonAndTheLineForPeopleTellWhatWasWritten) {
  const std::string in = floats();
  const auto json = nlohmann::ordered_json::parse(
      converted(in + " " + file("a.raw") + " --format s24in32 --big --dither ff-8 --json").output);
  const std::string expected = R"({"path":")" + file("a.raw") +
                               R"(","frames":10000,"channels":3,"rate":44100,"format":"s24in32","big_endian":true,)"
                               R"("dither":"ff-8","bytes":120000,"clipped":0})";
  EXPECT_EQ(json.dump(), expected);
  EXPECT_EQ(converted(in + " " + file("b.caf") + " --format f32").output,
            file("b.caf") + ": 10000 frames of 3 channels, f32 big-endian, 0 samples clipped\n");
}

TEST_F(Convert, CalledWronglyGivesTwoAndSaysWhy) {
  const std::string in = floats();
  const std::pair<std::string, const char *> wrong[] = {
      {"", "one IN and one OUT are wanted"},
      {in, "one IN and one OUT are wanted"},
      {in + " a.raw b.raw --format s16", "one IN and one OUT are wanted"},
      {in + " a.raw", "--format is missing"},
      {in + " a.raw --format s20", "s16 or s24 or s32 or f32 or f64 or s24in32 is wanted"},
      {in + " a.raw --format s16 --dither nice", "rpdf or tpdf or simp or ff_f or fwgt or ff-4 or ff-6 or ff-8"},
      {in + " a.raw --format f32 --dither tpdf", "--dither is of no use to floats"},
      {in + " a.wav --format s16 --big", "--big is for raw files"},
      {in + " a.wav --format s24in32", "s24in32 is for raw files"},
      {in + " . --format s16", "is no regular file"},
      {in + " /dev/null --format s16", "is no regular file"},
      {in + " " + in + " --format s16", "IN and OUT are the same file"}};
  for (const auto &[arguments, reason] : wrong) {
    SCOPED_TRACE(arguments);
    const auto result = convert(arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_NE(result.errors.find(reason), std::string::npos) << result.errors;
  }
  EXPECT_EQ(read_floats(in).size(), 30000u);
}

TEST_F(Convert, ThatFailsLeavesWhatWasThere) {
  write_file(file("out.wav"), "of old");
  write_file(file("text.wav"), "this is no audio");
  write_source(file("slow.wav"), 32000, 1, noise(1000, 1));
  const std::string too_long = "trap '' XFSZ; ulimit -f 8; " + quoted(AUSPOOL_CONVERT) + " " + floats() + " ";
  const std::pair<ProgramResult, const char *> failures[] = {
      {convert(file("missing.wav") + " " + file("out.wav") + " --format s16"), "missing.wav"},
      {convert(file("text.wav") + " " + file("out.wav") + " --format s16"), "text.wav"},
      {convert(file("slow.wav") + " " + file("out.wav") + " --format s16 --dither simp"), "rates below 44100"},
      {convert(floats() + " " + file("no/such/folder.wav") + " --format s16"), "folder.wav"},
      {run(too_long + file("out.wav") + " --format f64"), "is the disk full?"}};
  for (const auto &[result, reason] : failures) {
    EXPECT_EQ(result.status, 1) << reason;
    EXPECT_EQ(result.output, "");
    EXPECT_NE(result.errors.find(reason), std::string::npos) << result.errors;
  }
  EXPECT_EQ(read_file(file("out.wav")), "of old");
  for (const auto &entry : std::filesystem::directory_iterator(dir_.path()))
    EXPECT_NE(entry.path().extension(), ".part") << entry.path();
}

TEST_F(Convert, HelpNamesEveryOption) {
  const auto result = converted("--help");
  for (const char *option : {"--format", "--big", "--dither", "--json", "s24in32", "ff-8", "Exit status"})
    EXPECT_NE(result.output.find(option), std::string::npos) << option;
}

}  // namespace
}  // namespace auspool::testing
