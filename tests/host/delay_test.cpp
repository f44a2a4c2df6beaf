// auspool-delay on real speech with pauses.
#include <gtest/gtest.h>

#include "audiskdelay/BTAudioBuffer/context.h"
#include "audiskdelay/audiskdelay2_record.h"
#include "host/recordings.h"
#include "support/other_programs.h"
#include "support/temp_dir.h"

namespace auspool::testing {
namespace {

class DelayProgram : public ::testing::Test {
protected:
  // Sentences with pauses of three seconds after them, stereo, 16 bits without dither; the sides differ.
  void make_speech() {
    NEED_PROGRAM("sox");
    const std::string folder = "/usr/share/sounds/alsa/";
    if (read_file(folder + "Front_Center.wav").empty()) GTEST_SKIP() << "no recordings in " << folder;
    const auto sentence = [&](const std::string &name) { return "'|sox " + folder + name + ".wav -p pad 0 3' "; };
    (void)output_of("sox -D " + sentence("Front_Center") + sentence("Rear_Left") + sentence("Side_Right") +
                    "-c 2 -b 16 " + input() + " remix 1 1v0.5");
  }

  std::string input() const { return dir_.file("in.wav"); }
  std::string output() const { return dir_.file("out.wav"); }
  std::string program(const std::string &options) const { return quoted(AUSPOOL_DELAY) + " " + options; }

  nlohmann::json told_by(const std::string &options) const {
    const ProgramResult result = run(program(options + " --json"));
    EXPECT_EQ(result.status, 0) << result.errors;
    return nlohmann::json::parse(result.output);
  }

  const TempDir dir_;
};

TEST_F(DelayProgram, GivesSpeechBackBitForBitAndLate) {
  make_speech();
  if (IsSkipped()) return;
  const nlohmann::json told = told_by(input() + " --set 2.5 --fast --out " + output());
  const Audio before = read_by_ffmpeg(input()), after = read_by_ffmpeg(output());
  ASSERT_GT(before.frames(), 10u * 48000);
  ASSERT_EQ(after.frames(), before.frames() + 120000);
  EXPECT_TRUE(std::all_of(after.samples.begin(), after.samples.begin() + 240000, [](auto s) { return s == 0; }));
  EXPECT_TRUE(std::equal(before.samples.begin(), before.samples.end(), after.samples.begin() + 240000));
  EXPECT_EQ(told.at("frames"), after.frames());
  EXPECT_EQ(told.at("delay"), 2.5);
  EXPECT_EQ(told.at("real_delay"), 2.5);
  EXPECT_NEAR(told.at("length").get<double>(), static_cast<double>(before.frames()) / 48000, 1e-5);
}

TEST_F(DelayProgram, ThePausesOfSpeechAreRecordsWithoutAudio) {
  make_speech();
  if (IsSkipped()) return;
  const Samples speech = read_floats(input());
  const auto delay = audiskdelay::make_delay2(3600, nullptr, 48000);
  ASSERT_TRUE(delay);
  constexpr std::size_t kBlock = 480;
  for (std::size_t at = 0; at + 2 * kBlock <= speech.size(); at += 2 * kBlock) {
    audiskdelay2_write(delay.get(), &speech[at], kBlock);
    while (audiskdelay::pass(*delay)) {
    }
  }
  std::uint64_t length = 0;
  audiskdelay::BTAudioBufferGetInfo(delay->store.get(), nullptr, &length, nullptr);
  EXPECT_EQ(length, speech.size() / 2 / kBlock * kBlock);
  // One block of the file holds records, one is begun; of each three seconds two are no audio, but for a block of ours.
  const std::uint64_t of_audio = (delay->store->nextBlock - 2) * std::uint64_t{32766};
  EXPECT_LT(of_audio, length - 3 * (2 * 48000 - kBlock));
}

TEST_F(DelayProgram, ADelayBeyondTheInputGivesAllOfIt) {
  write_source(input(), 8000, 2, noise(2 * 8000, 3));
  const nlohmann::json told = told_by(input() + " --set 5 --fast --out " + output());
  EXPECT_EQ(told.at("frames"), 48000);
  EXPECT_EQ(told.at("delay"), 1.0) << "what there is";
  const Audio after = read_by_libsndfile(output());
  EXPECT_EQ(std::vector<std::int32_t>(after.samples.begin() + 80000, after.samples.end()),
            stored(noise(2 * 8000, 3), 16));
}

TEST_F(DelayProgram, WithoutADelayAllPasses) {
  write_source(input(), 8000, 1, noise(8000, 3));
  const nlohmann::json told = told_by(input() + " --out " + output());
  EXPECT_EQ(told.at("frames"), 8000);
  EXPECT_EQ(told.at("seconds"), 1.0);
  EXPECT_EQ(told.at("delay"), 0.0);
  EXPECT_EQ(read_by_libsndfile(output()).channels, 2);
}

TEST_F(DelayProgram, PlaysOnADevice) {
  write_source(input(), 44100, 2, noise(2 * 22050, 3, 0.1));
  const nlohmann::json told = told_by(input() + " --set 0.5 --backend simulated");
  EXPECT_EQ(told.at("frames"), 44100);
}

TEST_F(DelayProgram, TakesWhatADeviceHearsUntilAnInterrupt) {
  const ProgramResult result =
      run("timeout -s INT 2 " + program("--capture --backend simulated --set 1 --json --out ") + output());
  const nlohmann::json told = nlohmann::json::parse(result.output);
  EXPECT_GT(told.at("frames"), 0);
  EXPECT_EQ(told.at("frames"), std::llround(told.at("seconds").get<double>() * told.at("rate").get<double>()));
  EXPECT_EQ(read_by_libsndfile(output()).frames(), told.at("frames"));
}

TEST_F(DelayProgram, SaysWhatItDidForPeople) {
  write_source(input(), 8000, 2, noise(2 * 8000, 3));
  const ProgramResult result = run(program(input() + " --set 0.25 --fast --out " + output()));
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, "1.0 s in, 1.2 s out, length 1.0 s, delay 0.25 s, real delay 0.25 s\n");
  EXPECT_NE(result.errors.find("length"), std::string::npos) << result.errors;
}

TEST_F(DelayProgram, AWrongCommandLineGivesTwoAndSaysWhy) {
  const std::pair<const char *, const char *> wrong[] = {
      {"", "no input"},
      {"a.wav b.wav", "one input is wanted"},
      {"a.wav --capture", "a file or --capture, not both"},
      {"a.wav --fast", "--fast is for a file into a file"},
      {"--capture --fast --out b.wav", "--fast is for a file into a file"},
      {"a.wav --seconds 0", "--seconds 0: a number from 1 to 100000 is wanted"},
      {"a.wav --seconds 10 --set 11", "--set is above --seconds"},
      {"a.wav --backend none", "there is no backend none"}};
  for (const auto &[arguments, reason] : wrong) {
    SCOPED_TRACE(arguments);
    const ProgramResult result = run(program(arguments));
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_NE(result.errors.find(reason), std::string::npos) << result.errors;
  }
}

TEST_F(DelayProgram, AnInputThatCannotBeReadGivesOne) {
  const ProgramResult result = run(program(dir_.file("missing.wav") + " --out " + output()));
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.errors.find("missing.wav"), std::string::npos) << result.errors;
  EXPECT_FALSE(std::filesystem::exists(output()));
}

TEST_F(DelayProgram, HelpNamesEveryOption) {
  const ProgramResult result = run(program("--help"));
  EXPECT_EQ(result.status, 0);
  for (const char *option :
       {"--seconds", "--set", "--out", "--fast", "--capture", "--device", "--backend", "--json", "Exit status"})
    EXPECT_NE(result.output.find(option), std::string::npos) << option;
}

// Keys move the delay while it runs.
TEST_F(DelayProgram, KeysMoveTheDelay) {
  NEED_PROGRAM("tmux");
  write_source(input(), 8000, 2, noise(2 * 8000 * 60, 3));
  const std::string tmux = "tmux -u -S " + dir_.file("tmux") + " ";
  EXPECT_EQ(run(tmux + "new-session -d -y 20 -x 120 " + quoted(program(input() + " --out " + output()))).status, 0);
  const auto shows = [&](const std::string &what) {
    return run("for i in $(seq 300); do " + tmux + "capture-pane -p | grep -q '" + what +
               "' && exit 0; sleep 0.05; done; " + tmux + "capture-pane -p; exit 1");
  };
  EXPECT_EQ(shows("length [3-9]").status, 0);
  run(tmux + "send-keys Up Up Up");
  EXPECT_EQ(shows("delay [23]\\.[0-9]* s").status, 0) << "less what the worker has not yet stored";
  run(tmux + "send-keys Down Down");
  EXPECT_EQ(shows("delay [01]\\.[0-9]* s").status, 0);
  run(tmux + "send-keys 0");
  EXPECT_EQ(shows("delay 0\\.[0-9]* s").status, 0);
  run(tmux + "send-keys q");
  EXPECT_EQ(run("for i in $(seq 200); do test -f " + output() + " && exit 0; sleep 0.05; done; exit 1").status, 0);
  run(tmux + "kill-server");
}

}  // namespace
}  // namespace auspool::testing
