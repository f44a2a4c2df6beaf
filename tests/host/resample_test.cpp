// auspool-resample as a person runs it: real audio in, and what comes out judged by independent readers and converters.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numbers>

#include "host/recordings.h"
#include "support/programs.h"
#include "support/temp_dir.h"

namespace auspool::testing {
namespace {

namespace fs = std::filesystem;

class ResampleProgram : public ::testing::Test {
protected:
  static ProgramResult resample(const std::string &arguments) {
    return run(quoted(AUSPOOL_RESAMPLE) + " " + arguments);
  }

  // The line of JSON of a conversion that went well.
  static nlohmann::ordered_json converted(const std::string &arguments) {
    const ProgramResult result = resample(arguments + " --json");
    EXPECT_EQ(result.status, 0) << result.errors;
    return result.status == 0 ? nlohmann::ordered_json::parse(result.output) : nlohmann::ordered_json();
  }

  std::string file(const std::string &name) const { return dir_.file(name); }
  // Names an input with a tone, and an output beside it.
  std::string tone(int rate, double hz, int channels = 1) const {
    Samples samples;
    for (const float sample : sine(static_cast<std::size_t>(rate), rate, hz))
      samples.insert(samples.end(), static_cast<std::size_t>(channels), sample);
    write_source(file("in.wav"), rate, channels, samples);
    return file("in.wav") + " " + file("out.wav");
  }

  const TempDir dir_;
};

// The level in dB of what is left of `samples` once the best fitting tone of that frequency is taken out, beside it.
double residue(const Samples &samples, double rate, double hz) {
  double cosines = 0, sines = 0, both = 0, in_cosine = 0, in_sine = 0, power = 0;
  const std::size_t edge = samples.size() / 8;
  for (std::size_t i = edge; i + edge < samples.size(); ++i) {
    const double turn = 2 * std::numbers::pi * hz * static_cast<double>(i) / rate, x = static_cast<double>(samples[i]);
    cosines += std::cos(turn) * std::cos(turn);
    sines += std::sin(turn) * std::sin(turn);
    both += std::cos(turn) * std::sin(turn);
    in_cosine += x * std::cos(turn);
    in_sine += x * std::sin(turn);
    power += x * x;
  }
  const double determinant = cosines * sines - both * both;
  const double of_cosine = (in_cosine * sines - in_sine * both) / determinant;
  const double of_sine = (in_sine * cosines - in_cosine * both) / determinant;
  const double in_tone = of_cosine * in_cosine + of_sine * in_sine;
  return 10 * std::log10(std::max(power - in_tone, 1e-16 * power) / in_tone);
}

template <typename Sequence>
double level(const Sequence &samples) {
  double power = 0;
  for (const auto sample : samples) power += std::pow(static_cast<double>(sample), 2);
  return 10 * std::log10(power / static_cast<double>(samples.size()) + 1e-20);
}

// What the best short filter cannot make of `from` to come to `to`: converters differ by parts of a sample of delay.
std::vector<double> unlike(const Samples &to, const Samples &from) {
  constexpr int kReach = 8, kTaps = 2 * kReach + 1;
  double sums[kTaps][kTaps + 1] = {};
  const auto end = static_cast<int>(std::min(to.size(), from.size())) - kReach;
  const auto at = [&](int i) { return static_cast<double>(from[static_cast<std::size_t>(i)]); };
  const auto wanted = [&](int i) { return static_cast<double>(to[static_cast<std::size_t>(i)]); };
  for (int i = kReach; i < end; ++i) {
    for (int a = 0; a < kTaps; ++a) {
      for (int b = 0; b < kTaps; ++b) sums[a][b] += at(i + a - kReach) * at(i + b - kReach);
      sums[a][kTaps] += at(i + a - kReach) * wanted(i);
    }
  }
  for (int a = 0; a < kTaps; ++a) sums[a][a] *= 1 + 1e-9;
  for (int a = 0; a < kTaps; ++a) {  // Gauss and Jordan
    for (int row = 0; row < kTaps; ++row) {
      const double factor = row == a ? 0 : sums[row][a] / sums[a][a];
      for (int b = a; factor != 0 && b <= kTaps; ++b) sums[row][b] -= factor * sums[a][b];
    }
  }
  std::vector<double> rest;
  for (int i = kReach; i < end; ++i) {
    double made = 0;
    for (int a = 0; a < kTaps; ++a) made += sums[a][kTaps] / sums[a][a] * at(i + a - kReach);
    rest.push_back(wanted(i) - made);
  }
  return rest;
}

// Speech through the program and through sox, at the rates of telephones, discs and studios.
TEST_F(ResampleProgram, ConvertsSpeechAsAnotherConverterDoes) {
  const std::string speech = "/usr/share/sounds/alsa/Front_Center.wav";
  if (read_file(speech).empty()) GTEST_SKIP() << "no recordings in /usr/share/sounds/alsa";
  if (!have_program("sox") || !have_program("ffmpeg")) GTEST_SKIP() << "no sox or no ffmpeg here";
  // Only what both let through in full is compared: a telephone's band.
  const std::string same_band = " sinc -3000 ";
  for (const int rate : {8000, 44100, 96000, 11025}) {
    SCOPED_TRACE(rate);
    const std::string ours = file("ours.wav"), theirs = file("theirs.wav");
    const std::string hz = std::to_string(rate);
    ASSERT_EQ(run("sox " + speech + " -e floating-point -b 32 " + file("in.wav")).status, 0);
    const auto told = converted(file("in.wav") + " " + ours + " --quality 0 --rate " + hz);
    ASSERT_EQ(run("sox " + file("in.wav") + " " + theirs + " rate -v " + hz).status, 0);
    const Audio read = read_by_ffmpeg(ours);
    EXPECT_EQ(read.rate, rate);
    EXPECT_EQ(read.channels, 1);
    const double frames = static_cast<double>(read_by_libsndfile(speech).frames());
    EXPECT_EQ(read.frames(), static_cast<std::size_t>(std::lround(frames * rate / 48000)));
    EXPECT_EQ(told["frames"], read.frames());
    for (const auto &[from, to] : {std::pair(ours, "a.wav"), std::pair(theirs, "b.wav")})
      ASSERT_EQ(run("sox " + from + " " + file(to) + same_band).status, 0);
    const Samples a = read_floats(file("a.wav")), b = read_floats(file("b.wav"));
    ASSERT_NEAR(static_cast<double>(a.size()), static_cast<double>(b.size()), 1);
    EXPECT_LT(level(unlike(a, b)) - level(a), -55);
  }
}

TEST_F(ResampleProgram, KeepsATonePureAtEveryQuality) {
  const double at_most[] = {-58, -95, -125, -125, -125};
  for (int quality = 0; quality < 5; ++quality) {
    for (const int rate : {48000, 22050, 88200, 32000}) {
      SCOPED_TRACE("quality " + std::to_string(quality) + ", " + std::to_string(rate));
      const auto result =
          resample(tone(44100, 997) + " --rate " + std::to_string(rate) + " --quality " + std::to_string(quality));
      ASSERT_EQ(result.status, 0) << result.errors;
      const Samples out = read_floats(file("out.wav"));
      EXPECT_EQ(out.size(), static_cast<std::size_t>(rate));
      EXPECT_LT(residue(out, rate, 997), at_most[quality]);
      EXPECT_NEAR(level(out), 20 * std::log10(0.5) - 3.01, 0.05);
    }
  }
}

TEST_F(ResampleProgram, GivesTheSameInAnyBlocksOnAnyThreads) {
  for (const std::string quality : {"0", "2", "4"}) {
    const std::string files = tone(44100, 997, 3) + " --rate 48000 --quality " + quality;
    converted(files);
    const Samples whole = read_floats(file("out.wav"));
    ASSERT_EQ(whole.size(), 48000u * 3);
    for (const char *how :
         {" --threads 1", " --threads 3", " --stream", " --stream --block 100", " --stream --block 100000"}) {
      SCOPED_TRACE(quality + how);
      converted(files + how);
      EXPECT_TRUE(read_floats(file("out.wav")) == whole);
    }
  }
}

// In partitions of any length, with another rounding.
TEST_F(ResampleProgram, WithLowLatencyTheSoundIsTheSame) {
  for (const int microseconds : {500, 20000}) {
    converted(tone(44100, 997) + " --rate 48000 --quality 3 --low-latency " + std::to_string(microseconds));
    const Samples out = read_floats(file("out.wav"));
    EXPECT_EQ(out.size(), 48000u);
    EXPECT_LT(residue(out, 48000, 997), -125) << microseconds;
  }
}

TEST_F(ResampleProgram, LeavesAudioOfTheSameRateAsItIs) {
  for (const char *how : {"", " --stream", " --quality 4"}) {
    const std::string files = tone(44100, 997, 2);
    converted(files + " --rate 44100" + how);
    EXPECT_TRUE(read_floats(file("out.wav")) == read_floats(file("in.wav"))) << how;
  }
}

TEST_F(ResampleProgram, ReadsAndWritesManyKindsOfFiles) {
  if (!have_program("sox") || !have_program("ffmpeg")) GTEST_SKIP() << "no sox or no ffmpeg here";
  const struct {
    const char *in, *form, *out, *codec;
    int channels;
  } kinds[] = {
      {"a.wav", "-b 16", "a.flac", "flac", 2},       {"b.flac", "-b 24", "b.aiff", "pcm_s24be", 6},
      {"c.aiff", "-b 8", "c.wav", "pcm_s24le", 1},   {"d.wav", "-b 32 -e floating-point", "d.caf", "pcm_f32be", 2},
      {"e.ogg", "", "e.WAV", "pcm_s24le", 2},        {"f.wav", "-b 16", "f.ogg", "vorbis", 2},
      {"g.wav", "-e u-law", "g.au", "pcm_mulaw", 1}, {"h.wav", "-b 24", "h.w64", "pcm_s24le", 2}};
  for (const auto &kind : kinds) {
    SCOPED_TRACE(kind.out);
    const std::string in = file(kind.in), out = file(kind.out);
    const auto made = run("sox -R -r 32000 -n -c " + std::to_string(kind.channels) + " " + kind.form + " " + in +
                          " synth 0.7 sine 440 gain -6");
    ASSERT_EQ(made.status, 0) << made.errors;
    converted(in + " " + out + " --quality 0 --rate 48000");
    const auto codec = run("ffprobe -v error -of csv=p=0 -show_entries stream=codec_name " + out);
    EXPECT_EQ(codec.output, std::string(kind.codec) + "\n");
    const Audio audio = read_by_ffmpeg(out);
    EXPECT_EQ(audio.rate, 48000);
    EXPECT_EQ(audio.channels, kind.channels);
    EXPECT_NEAR(static_cast<double>(audio.frames()), 33600, kind.codec == std::string("vorbis") ? 200 : 1);
  }
}

// A click: filters of linear phase ring before it as much as behind it.
TEST_F(ResampleProgram, WithMinimumPhaseNothingRingsAheadOfAClick) {
  Samples click(8000);
  click[4000] = 0.5f;
  write_source(file("in.wav"), 32000, 1, click);
  const auto ahead = [&](const std::string &how) {
    converted(file("in.wav") + " " + file("out.wav") + " --quality 0 --rate 16000" + how);
    Samples out = read_floats(file("out.wav"));
    EXPECT_EQ(out.size(), 4000u);
    out.resize(1990);
    return level(out);
  };
  EXPECT_GT(ahead(""), ahead(" --minimum-phase") + 20);
}

TEST_F(ResampleProgram, ToldAToleranceMayTakeASimplerRatio) {
  const std::string files = tone(44101, 997) + " --quality 0 --rate 48000";
  EXPECT_DOUBLE_EQ(converted(files)["ratio"], 48000.0 / 44101);
  const double near = converted(files + " --tolerance 1e-4")["ratio"];
  EXPECT_NE(near, 48000.0 / 44101);
  EXPECT_NEAR(near, 48000.0 / 44101, 1e-4);
}

TEST_F(ResampleProgram, TellsProgramsWhatItDid) {
  Samples loud(2 * 8000);
  for (std::size_t i = 0; i < loud.size(); ++i) loud[i] = i % 200 < 100 ? 1.0f : -1.0f;
  write_source(file("in.wav"), 8000, 2, loud);
  const auto told = converted(file("in.wav") + " " + file("out.flac") + " --quality 0 --rate 16000");
  std::vector<std::string> keys;
  for (const auto &item : told.items()) keys.push_back(item.key());
  EXPECT_EQ(keys, (std::vector<std::string>{"path", "frames", "rate", "channels", "seconds", "ratio", "peak", "clipped",
                                            "elapsed"}));
  EXPECT_EQ(told["path"], file("out.flac"));
  EXPECT_EQ(told["frames"], 16000);
  EXPECT_EQ(told["rate"], 16000);
  EXPECT_EQ(told["channels"], 2);
  EXPECT_EQ(told["seconds"], 1.0);
  EXPECT_EQ(told["ratio"], 2.0);
  EXPECT_GT(told["peak"], 1.01);  // what the filter makes of the edges of a square
  EXPECT_GT(told["clipped"], 100);
  EXPECT_EQ(read_by_libsndfile(file("out.flac")).samples[2 * 8010], 0x7fffff00);
  EXPECT_EQ(converted(file("in.wav") + " " + file("out.wav") + " --quality 0 --rate 16000")["clipped"], 0);
}

TEST_F(ResampleProgram, TellsPersonsHowFarItIsAndWhatItDid) {
  const auto result = resample(tone(44100, 997, 2) + " --quality 0 --rate 48000 --stream");
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.errors.find("[########################] 100%  1.0 of 1.0 s"), std::string::npos) << result.errors;
  EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 4) << result.errors;
  const std::string line = file("out.wav") + ": 48000 frames at 48000 Hz, 2 channels, peak -6.0 dB, clipped 0, took ";
  EXPECT_EQ(result.output.substr(0, line.size()), line);
  EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 1);
}

TEST_F(ResampleProgram, ACommandLineThatIsWrongGivesTwoAndSaysWhy) {
  const std::pair<const char *, const char *> wrong[] = {
      {"", "one input and one output are wanted"},
      {"a b c --rate 1", "one input and one output are wanted"},
      {"a b", "--rate is wanted"},
      {"a b --rate 0", "--rate 0: a number from 1 to 6144000 is wanted"},
      {"a b --rate 44100.5", "--rate 44100.5: a whole number is wanted"},
      {"a b --rate 1 --quality 5", "--quality 5: a number from 0 to 4 is wanted"},
      {"a b --rate 1 --threads 0", "--threads 0: a number from 1 to 1024 is wanted"},
      {"a b --rate 1 --stream --block 0", "--block 0: a number from 1 to 1048576 is wanted"},
      {"a b --rate 1 --block 9", "--block goes with --stream or --low-latency"},
      {"a b --rate 1 --stream --threads 2", "--threads does not go with --stream"},
      {"a b --rate 1 --low-latency 0", "--low-latency 0: a number from 1 to 60000000 is wanted"},
      {"a b --rate 1 --tolerance 1", "--tolerance 1: a number from 0 to 0.01 is wanted"},
      {"a b --rate", "--rate needs a value"}};
  for (const auto &[arguments, reason] : wrong) {
    const auto result = resample(arguments);
    EXPECT_EQ(result.status, 2) << arguments;
    EXPECT_EQ(result.output, "") << arguments;
    EXPECT_NE(result.errors.find(reason), std::string::npos) << result.errors;
  }
}

TEST_F(ResampleProgram, HelpNamesEveryOption) {
  const auto result = resample("--help");
  EXPECT_EQ(result.status, 0);
  for (const char *option : {"--rate", "--quality", "--minimum-phase", "--sdm", "--tolerance", "--threads", "--stream",
                             "--block", "--low-latency", "--json", "Exit status"})
    EXPECT_NE(result.output.find(option), std::string::npos) << option;
}

TEST_F(ResampleProgram, AFailureIsToldAndLeavesWhatWasThere) {
  tone(44100, 997);
  write_file(file("text.wav"), "this is no audio");
  write_file(file("out.wav"), "something else");
  const std::string in = file("in.wav"), out = file("out.wav");
  const std::pair<std::string, const char *> wrong[] = {
      {file("missing.wav") + " " + out + " --rate 48000", "missing.wav: "},
      {file("text.wav") + " " + out + " --rate 48000", "text.wav: "},
      {in + " " + in + " --rate 48000", "is the input itself"},
      {in + " " + file("out.xyz") + " --rate 48000", "no kind of audio file has this ending"},
      {in + " " + file("out") + " --rate 48000", "no kind of audio file has this ending"},
      {in + " " + file("no/out.wav") + " --rate 48000", "no/out.wav: "},
      {in + " " + out + " --rate 172", "from 44100 to 172 Hz is a factor beyond 256"}};
  for (const auto &[arguments, reason] : wrong) {
    const auto result = resample(arguments);
    EXPECT_EQ(result.status, 1) << arguments;
    EXPECT_EQ(result.output, "") << arguments;
    EXPECT_NE(result.errors.find(reason), std::string::npos) << result.errors;
  }
  EXPECT_EQ(read_file(out), "something else");
  EXPECT_EQ(std::distance(fs::directory_iterator(dir_.path()), {}), 3);
}

// Four times what studios have, to a disc's rate: no ready chain serves that, and block transforms bring the tone down.
TEST_F(ResampleProgram, BringsVeryHighRatesDownByBlockTransforms) {
  for (const std::string how : {"", " --stream --block 5000"}) {
    const auto told = converted(tone(2822400, 997) + " --rate 44100 --sdm --quality 3" + how);
    EXPECT_EQ(told["frames"], 44100);
    EXPECT_NEAR(told["ratio"].get<double>(), 1.0 / 64, 1e-12);
    EXPECT_EQ(read_by_libsndfile(file("out.wav")).frames(), 44100u);
    EXPECT_LT(residue(read_floats(file("out.wav")), 44100, 997), -130);
  }
}

// Where there are none that is told, and nothing else is done instead.
TEST_F(ResampleProgram, SaysWhereThereAreNoBlockTransforms) {
  for (const auto &[from, to] : {std::pair(352801, "44100"), {44100, "50000"}}) {
    const auto result = resample(tone(from, 997) + " --rate " + to + " --sdm --quality 3");
    EXPECT_EQ(result.status, 1);
    const std::string pair = std::to_string(from) + " to " + to;
    EXPECT_NE(result.errors.find("--sdm: there are no block transforms from " + pair + " Hz"), std::string::npos)
        << result.errors;
    EXPECT_FALSE(fs::exists(file("out.wav")) || fs::exists(file("out.wav.part")));
  }
}

TEST_F(ResampleProgram, AnInterruptLeavesNothingUnfinished) {
  write_source(file("in.wav"), 44100, 2, noise(2 * 44100 * 60, 1));
  const std::string part = file("out.wav.part");
  const auto result = run(quoted(AUSPOOL_RESAMPLE) + " " + file("in.wav") + " " + file("out.wav") +
                          " --quality 0 --rate 48000 --stream --block 1 &\nwhile [ ! -s " + part +
                          " ]; do sleep 0.01; done; kill -INT $!; wait $!");
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.errors.find("interrupted"), std::string::npos) << result.errors;
  EXPECT_FALSE(fs::exists(file("out.wav")) || fs::exists(part));
}

TEST_F(ResampleProgram, NoAudioGivesNoAudio) {
  write_source(file("in.wav"), 44100, 2, {});
  for (const char *how : {"", " --stream"}) {
    EXPECT_EQ(converted(file("in.wav") + " " + file("out.wav") + " --quality 0 --rate 48000" + how)["frames"], 0);
    EXPECT_EQ(read_by_libsndfile(file("out.wav")).frames(), 0u);
  }
}

TEST_F(ResampleProgram, AFullDiskIsTold) {
  if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full here";
  tone(44100, 997);
  fs::create_symlink("/dev/full", file("full.wav"));
  for (const char *how : {"", " --stream"}) {
    const auto result = resample(file("in.wav") + " " + file("full.wav") + " --quality 0 --rate 48000" + how);
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.errors.find("full.wav: "), std::string::npos) << result.errors;
  }
}

}  // namespace
}  // namespace auspool::testing
