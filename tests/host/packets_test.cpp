// auspool-packets: a sender and a receiver, two processes, on the loopback network.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>

#include "host/recordings.h"
#include "support/programs.h"
#include "support/temp_dir.h"

namespace auspool::testing {
namespace {

struct Transmission {
  int send_status = -1, receive_status = -1;
  std::string sent, errors;
  std::vector<nlohmann::json> lines;  // what the receiver told
  Samples heard;                      // interleaved
};

class Packets : public ::testing::Test {
protected:
  // A constant, so that every frame of silence shows.
  void SetUp() override { write_source(input(), 44100, 2, Samples(2 * kFrames, 0.5f)); }

  std::string input() const { return dir_.file("in.wav"); }
  std::string output() const { return dir_.file("out.wav"); }
  std::string program() const { return quoted(AUSPOOL_PACKETS); }

  // The lead covers what a busy computer may stall for.
  Transmission transmit(const std::string &sending, const std::string &meanwhile = ":",
                        std::string output_option = "") {
    if (output_option.empty()) output_option = "--out " + output();
    const std::string told = dir_.file("told"), errors = dir_.file("errors");
    const auto result =
        run(program() + " receive --port 0 --json " + output_option + " >" + told + " 2>" + errors +
            " & receiver=$!\n"
            "until grep -q listening " +
            errors +
            " || ! kill -0 $receiver; do sleep 0.02; done\n"
            "port=$(sed -n 's/listening on port //p' " +
            errors + ")\n" + meanwhile + "\n" + program() + " send " + input() + " --port $port --lead 2000 " +
            sending + "; echo \"status $?\"; wait $receiver; echo \"status $?\"");
    Transmission t;
    t.sent = result.output;
    t.errors = result.errors + read_file(errors);
    std::sscanf(result.output.c_str() + result.output.find("status"), "status %d status %d", &t.send_status,
                &t.receive_status);
    std::istringstream lines(read_file(told));
    for (std::string line; std::getline(lines, line);) t.lines.push_back(nlohmann::json::parse(line));
    if (t.receive_status == 0 && std::filesystem::exists(output())) t.heard = read_floats(output());
    return t;
  }

  static constexpr std::size_t kFrames = 66150;  // one and a half seconds
  const TempDir dir_;
};

// From the first frame that is heard to the last, and how many between them are silent.
struct Extent {
  std::size_t frames = 0, silent = 0;
};
Extent extent_of(const Samples &interleaved) {
  std::size_t first = 0, last = 0, heard = 0;
  for (std::size_t i = 0; 2 * i < interleaved.size(); ++i) {
    if (interleaved[2 * i] < 0.25f) continue;
    if (heard++ == 0) first = i;
    last = i;
  }
  return {heard ? last - first + 1 : 0, heard ? last - first + 1 - heard : 0};
}

TEST_F(Packets, ArriveWithoutAHole) {
  const Transmission t = transmit("");
  ASSERT_EQ(t.send_status, 0) << t.errors;
  ASSERT_EQ(t.receive_status, 0) << t.errors;
  EXPECT_EQ(t.sent.substr(0, t.sent.find('\n')), "packets: 150, lost on purpose: 0, swapped: 0, 1.500 s");
  const Extent extent = extent_of(t.heard);
  EXPECT_EQ(extent.silent, 0u);
  EXPECT_NEAR(static_cast<double>(extent.frames), kFrames, 0.01 * kFrames);
  const nlohmann::json &summary = t.lines.back();
  EXPECT_EQ(summary.at("received"), 150);
  EXPECT_EQ(summary.at("lost"), 0);
  EXPECT_EQ(summary.at("frames"), t.heard.size() / 2);
}

TEST_F(Packets, SurviveJitterSwapsAndDrift) {
  const Transmission t = transmit("--jitter 50 --reorder 30 --drift 1000 --packet 512");
  ASSERT_EQ(t.receive_status, 0) << t.errors;
  const Extent extent = extent_of(t.heard);
  EXPECT_EQ(extent.silent, 0u);
  EXPECT_NEAR(static_cast<double>(extent.frames), kFrames, 0.01 * kFrames);
}

TEST_F(Packets, ThatAreLostAreSilent) {
  const Transmission t = transmit("--loss 20 --seed 3");
  ASSERT_EQ(t.receive_status, 0) << t.errors;
  int sent = 0, lost = 0;
  ASSERT_EQ(std::sscanf(t.sent.c_str(), "packets: %d, lost on purpose: %d", &sent, &lost), 2);
  EXPECT_GT(lost, 10);
  EXPECT_EQ(t.lines.back().at("lost"), lost);
  const Extent extent = extent_of(t.heard);
  EXPECT_GT(extent.silent, 441u);
  const double heard = static_cast<double>(extent.frames - extent.silent);
  EXPECT_NEAR(heard, kFrames - lost * 441.0, 0.01 * kFrames);
}

TEST_F(Packets, AReceiverTellsEachSecondWhatItsPlayerDoes) {
  const Transmission t = transmit("");
  ASSERT_GE(t.lines.size(), 4u) << t.errors;
  EXPECT_EQ(t.lines[0].at("state"), "buffering");
  bool played = false;
  for (std::size_t i = 0; i + 1 < t.lines.size(); ++i) {
    const nlohmann::json &line = t.lines[i];
    EXPECT_NEAR(line.at("seconds").get<double>(), static_cast<double>(i), 0.02);
    played = played || line.at("state") == "playback";
    EXPECT_LT(std::abs(line.at("offset_ms").get<double>()), 50);
    EXPECT_LT(std::abs(line.at("correction_ppm").get<double>()), 50000);
  }
  EXPECT_TRUE(played);
  EXPECT_NE(t.errors.find("switching to playback state node:"), std::string::npos) << t.errors;
}

TEST_F(Packets, WhatIsNoPacketIsPassedOver) {
  write_file(dir_.file("garbage.py"), R"(
import socket, struct, sys
out = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
head = lambda frames, rate: b"aupk" + struct.pack("<IQdd", frames, 0, 1e9, rate)
for data in (b"", b"x", b"x" * 40, b"x" * 9000, head(4096, 44100), head(1, 44100), head(2**32 - 1, 44100) + b"x" * 8,
             head(1, float("nan")) + b"x" * 8, head(1, -1) + b"x" * 8, head(0, 44100)):
    out.sendto(data, ("127.0.0.1", int(sys.argv[1])))
)");
  const Transmission t = transmit("", "python3 " + dir_.file("garbage.py") + " $port");
  ASSERT_EQ(t.receive_status, 0) << t.errors;
  EXPECT_EQ(t.lines.back().at("received"), 150);
  EXPECT_EQ(extent_of(t.heard).silent, 0u);
}

// The device's own thread asks for the audio.
TEST_F(Packets, ArePlayedOnADevice) {
  const Transmission t = transmit("", ":", "--backend simulated");
  ASSERT_EQ(t.receive_status, 0) << t.errors;
  EXPECT_NE(t.errors.find("playing on Simulated output"), std::string::npos) << t.errors;
  EXPECT_EQ(t.lines.back().at("received"), 150);
  const auto plays = [](const nlohmann::json &line) { return line.value("state", "") == "playback"; };
  EXPECT_TRUE(std::any_of(t.lines.begin(), t.lines.end(), plays));
}

TEST_F(Packets, AReceiverWhoseSenderGoesGivesUpAndKeepsWhatItHeard) {
  const std::string errors = dir_.file("errors");
  const auto result = run(program() + " receive --port 0 --wait 1 --out " + output() + " 2>" + errors +
                          " & receiver=$!\n"
                          "until grep -q listening " +
                          errors + " || ! kill -0 $receiver; do sleep 0.02; done\n" + program() + " send " + input() +
                          " --port $(sed -n 's/listening on port //p' " + errors +
                          ") & sender=$!\n"
                          "until [ -s " +
                          output() +
                          " ] || ! kill -0 $receiver; do sleep 0.02; done\n"
                          "sleep 0.3; kill -9 $sender; wait $receiver");
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(read_file(errors).find("the sender did not say that it was done"), std::string::npos) << read_file(errors);
  EXPECT_GT(extent_of(read_floats(output())).frames, 0u);
}

TEST_F(Packets, AWrongCommandLineGivesTwoAndSaysWhy) {
  const std::pair<const char *, const char *> wrong[] = {
      {"", "receive, or send and a file, is wanted"},
      {"send", "receive, or send and a file, is wanted"},
      {"receive --backend none", "there is no backend none"},
      {"send in.wav --packet 4097", "a number from 16 to 4096 is wanted"},
      {"send in.wav --loss 101", "a number from 0 to 100 is wanted"},
      {"send in.wav --port x", "a number from 0 to 65535 is wanted"},
  };
  for (const auto &[arguments, reason] : wrong) {
    const auto result = run(program() + " " + arguments);
    EXPECT_EQ(result.status, 2) << arguments;
    EXPECT_NE(result.errors.find(reason), std::string::npos) << result.errors;
  }
}

TEST_F(Packets, FailuresAreTold) {
  const std::pair<std::string, std::string> failures[] = {
      {"receive --port 0 --wait 0.1 --out " + output(), "no packet came"},
      {"send " + dir_.file("missing.wav"), "missing.wav"},
      {"receive --port 1 --wait 0.1 --out " + output(), geteuid() == 0 ? "no packet came" : "port 1"},
  };
  for (const auto &[arguments, reason] : failures) {
    const auto result = run(program() + " " + arguments);
    EXPECT_EQ(result.status, 1) << arguments;
    EXPECT_NE(result.errors.find(reason), std::string::npos) << result.errors;
  }
}

TEST_F(Packets, HelpNamesEveryOption) {
  const auto result = run(program() + " --help");
  EXPECT_EQ(result.status, 0);
  for (const char *option :
       {"--out", "--device", "--backend", "--port", "--block", "--rate", "--wait", "--json", "--packet", "--lead",
        "--jitter", "--loss", "--reorder", "--drift", "--seed", "Exit status"})
    EXPECT_NE(result.output.find(option), std::string::npos) << option;
}

}  // namespace
}  // namespace auspool::testing
