// The programs for devices, run as a person runs them, on the simulated backend that runs by the clock.
#include <gtest/gtest.h>
#include <sndfile.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>

#include "host/recordings.h"
#include "support/pcm_file.h"
#include "support/programs.h"
#include "support/signals.h"
#include "support/temp_dir.h"

namespace auspool::testing {
namespace {

using Json = nlohmann::json;

constexpr const char *kSimulated = " --backend simulated ";

std::vector<Json> lines_of(const std::string &output) {
  std::vector<Json> lines;
  std::istringstream stream(output);
  for (std::string line; std::getline(stream, line);) {
    if (!line.empty()) lines.push_back(Json::parse(line));
  }
  return lines;
}

// ---- auspool-devices ----

TEST(DevicesProgram, ListsDevicesForPrograms) {
  const ProgramResult result = run(AUSPOOL_DEVICES + std::string(kSimulated) + "--json");
  ASSERT_EQ(result.status, 0) << result.errors;
  const auto lines = lines_of(result.output);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0]["name"], "Simulated output");
  EXPECT_EQ(lines[0]["outputs"], 2);
  EXPECT_EQ(lines[0]["inputs"], 0);
  EXPECT_EQ(lines[0]["rate"], 48000.0);
  EXPECT_EQ(lines[0]["default_output"], true);
  EXPECT_EQ(lines[1]["default_input"], true);
}

TEST(DevicesProgram, ListsDevicesForPeople) {
  const ProgramResult result = run(AUSPOOL_DEVICES + std::string(kSimulated));
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.output.find("default out        Simulated output"), std::string::npos) << result.output;
}

TEST(DevicesProgram, ListsBackends) {
  const ProgramResult result = run(std::string(AUSPOOL_DEVICES) + " --backend help");
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.output.find("simulated\n"), std::string::npos);
}

TEST(DevicesProgram, WatchesUntilItIsInterrupted) {
  const ProgramResult result =
      run("timeout --preserve-status -s INT 0.5 " + std::string(AUSPOOL_DEVICES) + kSimulated + "--json --watch");
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(lines_of(result.output).size(), 2u);
}

TEST(DeviceProgramsCommandLine, AnUnknownBackendIsAnError) {
  const TempDir dir;
  write_source(dir.file("in.wav"), 48000, 2, Samples(200));
  for (const std::string &command :
       {std::string(AUSPOOL_DEVICES), std::string(AUSPOOL_PLAY) + " " + quoted(dir.file("in.wav")),
        std::string(AUSPOOL_CAPTURE)}) {
    const ProgramResult result = run(command + " --backend tape");
    EXPECT_EQ(result.status, 2) << command;
    EXPECT_NE(result.errors.find("there is no backend tape"), std::string::npos) << result.errors;
  }
}

TEST(DeviceProgramsCommandLine, WrongOptionsAreErrors) {
  for (const std::string &command : {std::string(AUSPOOL_PLAY), AUSPOOL_PLAY + std::string(" x.wav --gain loud"),
                                     AUSPOOL_CAPTURE + std::string(" x"), AUSPOOL_DEVICES + std::string(" x"),
                                     AUSPOOL_CAPTURE + std::string(" --type tape")}) {
    EXPECT_EQ(run(command).status, 2) << command;
  }
  for (const char *program : {AUSPOOL_PLAY, AUSPOOL_CAPTURE, AUSPOOL_DEVICES}) {
    EXPECT_EQ(run(std::string(program) + " --help").status, 0);
  }
}

// ---- auspool-play ----

TEST(PlayProgram, PlaysFilesToTheirEnd) {
  const TempDir dir;
  write_source(dir.file("a.wav"), 48000, 2, noise(2 * 14400, 1));
  write_source(dir.file("b.wav"), 44100, 1, noise(8820, 2));
  const ProgramResult result = run(std::string(AUSPOOL_PLAY) + " " + quoted(dir.file("a.wav")) + " " +
                                   quoted(dir.file("b.wav")) + kSimulated + "--json --gain -6");
  ASSERT_EQ(result.status, 0) << result.errors;
  const Json last = lines_of(result.output).at(0);
  EXPECT_EQ(last["files"], 2);
  EXPECT_NEAR(last["seconds"].get<double>(), 0.5, 1e-6);
  EXPECT_NEAR(last["position"].get<double>() + last["latency"].get<double>(), 0.5, 1e-3);
  EXPECT_NEAR(last["latency"].get<double>(), 256 / 48000.0, 1e-4);
  EXPECT_EQ(last["device"], "Simulated output");
}

// A second of it is more than a ring of the usual size holds. The device takes no audio faster than it plays it.
TEST(PlayProgram, TakesAsLongAsAFileOfAHighRate) {
  const TempDir dir;
  write_source(dir.file("high.wav"), 192000, 2, noise(2 * 192000, 3));
  const auto begin = std::chrono::steady_clock::now();
  const ProgramResult result = run(std::string(AUSPOOL_PLAY) + " " + quoted(dir.file("high.wav")) + kSimulated);
  ASSERT_EQ(result.status, 0) << result.errors;
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(900)) << "some was not played";
}

TEST(PlayProgram, TakesADeviceByItsUid) {
  const TempDir dir;
  write_source(dir.file("a.wav"), 48000, 2, Samples(2000));
  const ProgramResult result = run(std::string(AUSPOOL_PLAY) + " " + quoted(dir.file("a.wav")) + kSimulated +
                                   "--json --device 'Simulated output'");
  ASSERT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(lines_of(result.output).at(0)["device"], "Simulated output");
}

TEST(PlayProgram, SaysWhatIsWrong) {
  const TempDir dir;
  ProgramResult result = run(std::string(AUSPOOL_PLAY) + " " + quoted(dir.file("none.wav")) + kSimulated);
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.errors.find("none.wav"), std::string::npos);
  write_source(dir.file("a.wav"), 48000, 2, Samples(2000));
  result = run(std::string(AUSPOOL_PLAY) + " " + quoted(dir.file("a.wav")) + kSimulated + "--device 99");
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.errors.find("the device does not start (!obj)"), std::string::npos) << result.errors;
  result = run(std::string(AUSPOOL_PLAY) + " " + quoted(dir.file("a.wav")) + kSimulated + "--device nowhere");
  EXPECT_EQ(result.status, 2);
  EXPECT_NE(result.errors.find("there is no device nowhere"), std::string::npos) << result.errors;
}

// ---- auspool-capture ----

class CaptureProgram : public ::testing::TestWithParam<std::pair<const char *, int>> {};

// The simulated input brings a sawtooth whose every value a file keeps exactly.
TEST_P(CaptureProgram, KeepsEverySample) {
  const auto &[type, bits] = GetParam();
  const TempDir dir;
  const ProgramResult result = run(std::string(AUSPOOL_CAPTURE) + kSimulated + "--out " + quoted(dir.file("out")) +
                                   " --type " + type + " --bits " + std::to_string(bits) + " --seconds 0.4 --json");
  ASSERT_EQ(result.status, 0) << result.errors;
  const auto lines = lines_of(result.output);
  ASSERT_EQ(lines.size(), 2u) << result.output;
  EXPECT_EQ(lines[1]["frames_dropped"], 0);
  EXPECT_EQ(lines[1]["rate"], 48000.0);
  const PcmFile file = read_pcm_file(lines[0]["path"]);
  ASSERT_TRUE(file.valid);
  EXPECT_EQ(file.rate, 48000);
  ASSERT_GE(file.frames, static_cast<std::int64_t>(0.4 * 48000));
  const std::int32_t unit = 1 << (bits - 16);
  const auto left = file.channel(0), right = file.channel(1);
  const std::int32_t first = left[0] / unit + 16384;  // the recorder's worker took a moment to open the file
  for (std::size_t i = 0; i < left.size(); ++i) {
    const std::int32_t expected = ((first + static_cast<std::int32_t>(i)) % 32768 - 16384) * unit;
    ASSERT_EQ(left[i], expected) << i;
    ASSERT_EQ(right[i], -expected) << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Types, CaptureProgram,
                         ::testing::Values(std::pair{"wave", 16}, std::pair{"wave", 24}, std::pair{"aiff", 16}));

TEST(CaptureProgramNames, OverwritesNothing) {
  const TempDir dir;
  for (int i = 1; i <= 2; ++i) {
    const ProgramResult result = run(std::string(AUSPOOL_CAPTURE) + kSimulated + "--out " + quoted(dir.file("out")) +
                                     " --seconds 0.05 --type aiff");
    ASSERT_EQ(result.status, 0) << result.errors;
    EXPECT_TRUE(std::filesystem::exists(dir.path() / "out" / ("capture-00" + std::to_string(i) + ".aiff")));
  }
}

TEST(CaptureProgramNames, EndsWhenItIsInterrupted) {
  const TempDir dir;
  const ProgramResult result = run("timeout --preserve-status -s INT 0.6 " + std::string(AUSPOOL_CAPTURE) + kSimulated +
                                   "--out " + quoted(dir.file("out")) + " --json");
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(lines_of(result.output).size(), 2u);
}

}  // namespace
}  // namespace auspool::testing
