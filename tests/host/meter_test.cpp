// auspool-meter on real files: what it prints for people and for programs, and what it draws.
#include <gtest/gtest.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <sstream>

#include "host/recordings.h"
#include "support/other_programs.h"
#include "support/temp_dir.h"

namespace auspool::testing {
namespace {

using nlohmann::json;

constexpr std::size_t kRate = 48000;

class MeterProgram : public ::testing::Test {
protected:
  std::string input() const { return dir_.file("in.wav"); }
  std::string program(const std::string &options = "") const {
    return quoted(AUSPOOL_METER) + " " + quoted(input()) + " " + options;
  }
  void write(const Samples &left, const Samples &right) const {
    write_source(input(), kRate, 2, interleave(left, right));
  }

  // The moments, and the last line.
  std::vector<json> objects(const std::string &options) const {
    const ProgramResult result = run(program("--json " + options));
    EXPECT_EQ(result.status, 0) << result.errors;
    std::istringstream lines(result.output);
    std::vector<json> objects;
    for (std::string line; std::getline(lines, line);) objects.push_back(json::parse(line));
    return objects;
  }

  const TempDir dir_;
};

TEST_F(MeterProgram, AWrongCommandLineGivesTwoAndSaysWhy) {
  const std::pair<const char *, const char *> wrong[] = {
      {"", "no input"},
      {"a.wav b.wav", "one input is wanted"},
      {"a.wav --capture", "a file or --capture, not both"},
      {"--capture --fast", "--fast is for files"},
      {"a.wav --svg", "--svg needs a value"},
      {"a.wav --slow", "no option --slow"},
      {"a.wav --falloff -1", "--falloff -1: a number from 0 to 1000 is wanted"}};
  for (const auto &[arguments, reason] : wrong) {
    SCOPED_TRACE(arguments);
    const ProgramResult result = run(quoted(AUSPOOL_METER) + " " + arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_NE(result.errors.find(reason), std::string::npos) << result.errors;
  }
}

TEST_F(MeterProgram, HelpNamesEveryOption) {
  const ProgramResult result = run(quoted(AUSPOOL_METER) + " --help");
  EXPECT_EQ(result.status, 0);
  for (const char *option : {"--fast", "--falloff", "--svg", "--json", "--capture", "Exit status"})
    EXPECT_NE(result.output.find(option), std::string::npos) << option;
}

TEST_F(MeterProgram, WhatCannotBeMeasuredGivesOneAndSaysWhy) {
  write({}, {});
  write_file(dir_.file("text.wav"), "this is no audio");
  for (const char *name : {"missing.wav", "text.wav", "in.wav"}) {
    SCOPED_TRACE(name);
    const ProgramResult result = run(quoted(AUSPOOL_METER) + " --fast " + dir_.file(name));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_NE(result.errors.find(dir_.file(name)), std::string::npos) << result.errors;
  }
}

// The simulated input brings a sawtooth of half the scale.
TEST_F(MeterProgram, CaptureMeasuresADeviceUntilAnInterrupt) {
  const ProgramResult result =
      run("timeout -s INT 2 " + quoted(AUSPOOL_METER) + " --capture --backend simulated --json");
  std::istringstream lines(result.output);
  std::vector<json> moments;
  for (std::string line; std::getline(lines, line);) moments.push_back(json::parse(line));
  ASSERT_GE(moments.size(), 3u) << result.errors;
  EXPECT_NEAR(moments[0]["seconds"], 0.05, 1e-9);
  EXPECT_NEAR(moments[0]["peak_db"][0], -6, 1);
  EXPECT_EQ(moments.back()["path"], "capture");
  EXPECT_GT(moments.back()["rate"], 1000);
}

TEST_F(MeterProgram, CaptureNeedsABackendThatIsThere) {
  const ProgramResult result = run(quoted(AUSPOOL_METER) + " --capture --backend nothing");
  EXPECT_EQ(result.status, 2);
  EXPECT_NE(result.errors.find("there is no backend nothing"), std::string::npos) << result.errors;
}

TEST_F(MeterProgram, ReadsASineInEachChannelAtItsLevelAndPitch) {
  write(sine(kRate, kRate, 1000, 0.5), sine(kRate, kRate, 1000, 0.05));
  const std::vector<json> moments = objects("--fast");
  ASSERT_EQ(moments.size(), 21u);
  for (std::size_t i = 0; i < 20; ++i) {
    const json &m = moments[i];
    EXPECT_NEAR(m["seconds"], 0.05 * static_cast<double>(i + 1), 1e-9);
    EXPECT_NEAR(m["peak_db"][0], -6.02, 0.011);
    EXPECT_NEAR(m["peak_db"][1], -26.02, 0.011);
    EXPECT_NEAR(m["rms_db"][0], -9.03, 0.011);
    EXPECT_NEAR(m["rms_db"][1], -29.03, 0.011);
    EXPECT_EQ(m["clip"], json::array({false, false}));
    const std::vector<float> bands = m["spectrum"];
    ASSERT_EQ(bands.size(), 64u);
    const auto loudest = static_cast<double>(std::max_element(bands.begin(), bands.end()) - bands.begin());
    EXPECT_LE(24000 / 1024.0 * std::pow(1024, loudest / 64), 1030);  // the band begins below, and its end above
    EXPECT_GE(24000 / 1024.0 * std::pow(1024, (loudest + 1) / 64), 970);
  }
  EXPECT_EQ(moments[20]["path"], input());
  EXPECT_EQ(moments[20]["rate"], 48000);
  EXPECT_EQ(moments[20]["frames"], 48000);
  EXPECT_EQ(moments[20]["peak_db"], moments[0]["peak_db"]);
}

TEST_F(MeterProgram, FindsThePeaksThatAnotherProgramFinds) {
  NEED_PROGRAM("sox");
  write(speech_like(3 * kRate, kRate, 1), noise(3 * kRate, 2, 0.2));
  const json last = objects("--fast").back();
  const std::string other = run("sox " + input() + " -n stats 2>&1").output;
  std::istringstream line(other.substr(other.find("Pk lev dB") + 9));
  double both, left, right;
  line >> both >> left >> right;
  EXPECT_NEAR(last["peak_db"][0], left, 0.011);
  EXPECT_NEAR(last["peak_db"][1], right, 0.011);
}

TEST_F(MeterProgram, AMonoFileCountsAsBothChannels) {
  write_source(input(), 8000, 1, sine(8000, 8000, 440, 0.25));
  const json last = objects("--fast").back();
  EXPECT_NEAR(last["peak_db"][0], -12.04, 0.02);
  EXPECT_EQ(last["peak_db"][0], last["peak_db"][1]);
}

TEST_F(MeterProgram, TellsClipping) {
  Samples left(kRate / 5, 0.1f);
  left[kRate / 10 + 7] = -1.01f;
  write(left, Samples(left.size(), 1.0f));
  const std::vector<json> moments = objects("--fast");
  ASSERT_EQ(moments.size(), 5u);
  for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(moments[i]["clip"], json::array({i == 2, false})) << i;
  EXPECT_EQ(moments[4]["clip"], json::array({true, false}));
  EXPECT_EQ(moments[4]["peak_db"], json::array({0.0, 0.0}));
  EXPECT_NE(run(program("--fast")).output.find(", clipped\n"), std::string::npos);
}

TEST_F(MeterProgram, InRealTimeLevelsFallAndInFastEachMomentStandsAlone) {
  Samples burst(kRate / 2, 0.0f);
  std::fill_n(burst.begin(), kRate / 20, 0.5f);
  write(burst, burst);
  const std::vector<json> alone = objects("--fast");
  ASSERT_EQ(alone.size(), 11u);
  EXPECT_NEAR(alone[0]["peak_db"][0], -6.02, 0.011);
  EXPECT_EQ(alone[1]["peak_db"][0], -120.0);
  const auto begin = std::chrono::steady_clock::now();
  const std::vector<json> falling = objects("");
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(490));
  ASSERT_EQ(falling.size(), 11u);
  for (std::size_t i = 1; i < 10; ++i) EXPECT_LT(falling[i]["peak_db"][0], falling[i - 1]["peak_db"][0]);
  // Nine twentieths of a second and what the machine took beyond them.
  EXPECT_LT(falling[9]["peak_db"][0], -6.02 - 8.5);
  const std::vector<json> held = objects("--falloff 0");
  EXPECT_EQ(held[9]["peak_db"], held[0]["peak_db"]);
}

TEST_F(MeterProgram, APersonReadsOneLineWhereThereIsNoTerminal) {
  write(Samples(kRate, 0.1f), Samples(kRate, 0.01f));
  const ProgramResult result = run(program("--fast"));
  EXPECT_EQ(result.output, input() +
                               ": 1.00 s, highest peak -20.0 and -40.0 dB, highest RMS -20.0 and -40.0 dB, "
                               "no clipping\n");
  EXPECT_EQ(result.errors, "");
}

TEST_F(MeterProgram, AnInterruptEndsItAsTheEndOfTheFile) {
  write(Samples(60 * kRate, 0.1f), Samples(60 * kRate, 0.1f));
  const std::string lines = dir_.file("lines"), svg = dir_.file("out.svg");
  const ProgramResult result = run(program("--json --svg " + svg) + " >" + lines + " &\nwhile [ ! -s " + lines +
                                   " ]; do sleep 0.01; done; kill -INT $!; wait $!; tail -1 " + lines);
  EXPECT_EQ(result.status, 0) << result.errors;
  const json last = json::parse(result.output);
  EXPECT_LT(last["seconds"], 60);
  EXPECT_EQ(last["peak_db"], json::array({-20.0, -20.0}));
  EXPECT_NE(read_file(svg).find("</svg>"), std::string::npos);
}

// ---- Drawing ----

// What an XML reader finds: lines and their points, bands, marks of clipping, the title.
const char *const kLook = R"(
import sys, xml.etree.ElementTree as ET
root = ET.parse(sys.argv[1]).getroot()
ns = '{http://www.w3.org/2000/svg}'
lines = [[tuple(map(float, p.split(','))) for p in l.get('points').split()] for l in root.iter(ns + 'polyline')]
kinds = [r.get('class') for r in root.iter(ns + 'rect')]
print(len(lines), len(lines[0]), min(y for line in lines for x, y in line), kinds.count('band'), kinds.count('clip'))
print(root.find(ns + 'text').text))";

TEST_F(MeterProgram, DrawsLevelsOverTimeAndTheSpectrum) {
  Samples tone = sine(kRate, kRate, 440, 0.1);
  tone[kRate / 2] = 1.5f;
  write(tone, tone);
  const std::string named = dir_.file("<a> & b.wav"), svg = dir_.file("out.svg");
  ASSERT_EQ(run("mv " + input() + " " + quoted(named)).status, 0);
  const ProgramResult result = run(quoted(AUSPOOL_METER) + " --fast --svg " + svg + " " + quoted(named));
  ASSERT_EQ(result.status, 0) << result.errors;
  // Peak and RMS of two channels, 20 moments, the highest at the top of the panel.
  EXPECT_EQ(python(kLook, svg), "4 20 50.0 64 1\n<a> & b.wav\n");
}

TEST_F(MeterProgram, ALongFileIsDrawnInNoMoreColumnsAndKeepsItsPeak) {
  Samples quiet(4000 * 300, 0.001f);
  quiet[4000 * 123] = 1.0f;
  write_source(input(), 4000, 1, quiet);
  const std::string svg = dir_.file("out.svg");
  ASSERT_EQ(run(program("--fast --svg " + svg)).status, 0);
  EXPECT_EQ(python(kLook, svg), "4 750 50.0 64 0\nin.wav\n");
}

TEST_F(MeterProgram, APictureThatCannotBeWrittenIsToldBeforeAnythingIsMeasured) {
  write(Samples(60 * kRate, 0.1f), Samples(60 * kRate, 0.1f));
  const ProgramResult result = run(program("--svg " + dir_.file("missing/out.svg")));
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.errors.find("missing/out.svg: cannot be written"), std::string::npos) << result.errors;
}

class MeterOnTerminal : public MeterProgram {
protected:
  void SetUp() override {
    NEED_PROGRAM("tmux");
    write(sine(30 * kRate, kRate, 1000, 0.5), sine(30 * kRate, kRate, 1000, 2.0));
  }
  void TearDown() override { run(tmux("kill-server")); }

  std::string tmux(const std::string &command) const { return "tmux -u -S " + dir_.file("tmux") + " " + command; }

  // What stands on a terminal of so many columns after the meters have been drawn more than once.
  std::string screen(int columns, const std::string &locale) const {
    const std::string command = "LC_ALL=" + locale + " " + program();
    EXPECT_EQ(run(tmux("new-session -d -y 20 -x " + std::to_string(columns) + " " + quoted(command))).status, 0);
    return run("for i in $(seq 500); do " + tmux("capture-pane -p") + " >" + dir_.file("screen") +
               "; grep -q '  0.[2-9] of' " + dir_.file("screen") + " && break; sleep 0.02; done; cat " +
               dir_.file("screen"))
        .output;
  }
};

TEST_F(MeterOnTerminal, MovesInOnePlace) {
  const std::string shown = screen(90, "C.UTF-8");
  EXPECT_EQ(shown.find("in.wav  0."), 0u) << shown;
  EXPECT_EQ(shown.find("in.wav", 1), std::string::npos) << shown;
  EXPECT_NE(shown.find("of 30.0 s\nL [##"), std::string::npos) << shown;
  EXPECT_NE(shown.find("] peak   -6.0  RMS   -9.0 dB\nR ["), std::string::npos) << shown;
  EXPECT_NE(shown.find("] peak    0.0  RMS    0.0 dB CLIP\n"), std::string::npos) << shown;
  EXPECT_NE(shown.find("█"), std::string::npos) << shown;
  EXPECT_NE(shown.find("\n -60 "), std::string::npos) << shown;
  EXPECT_NE(shown.find(" 1k "), std::string::npos) << shown;
}

TEST_F(MeterOnTerminal, KeepsToANarrowOneAndToPlainCharacters) {
  const std::string shown = screen(30, "C");
  EXPECT_EQ(shown.find("in.wav  0."), 0u) << shown;
  EXPECT_EQ(shown.find("in.wav", 1), std::string::npos) << shown;
  EXPECT_NE(shown.find("of 30.0 s\nL [##"), std::string::npos) << shown;
  EXPECT_EQ(shown.find("█"), std::string::npos) << shown;
  EXPECT_EQ(std::count_if(shown.begin(), shown.end(), [](char c) { return c < 0; }), 0) << shown;
}

}  // namespace
}  // namespace auspool::testing
