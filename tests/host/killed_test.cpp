// A recording that is killed leaves a file that opens, with a header that is at most ten seconds old.
#include <auspool/aurec.h>
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <random>
#include <thread>

#include "base/byte_order.h"
#include "host/recorder_process.h"
#include "host/recordings.h"
#include "support/mp3_file.h"
#include "support/other_programs.h"
#include "support/temp_dir.h"

namespace auspool::testing {
namespace {

constexpr int kRate = 8000;
constexpr std::int64_t kStdioBuffer = 4096, kBlock = 1024;

// The count of frames in the header as it stands on the disk.
std::int64_t frames_in_header(const std::string &path, bool wave, std::int64_t frame_bytes) {
  char header[54] = {};
  std::ifstream(path, std::ios::binary).read(header, sizeof header);
  const auto *bytes = reinterpret_cast<const std::uint8_t *>(header);
  return wave ? load_le<std::uint32_t>(bytes + 40) / frame_bytes : load_be<std::uint32_t>(bytes + 22);
}

class KilledRecording : public ::testing::TestWithParam<const char *> {};

// Starts a recording, kills it at a moment of chance after the first refresh, and returns the file.
std::string kill_one(const std::string &folder, const std::string &input, bool wave, bool wide, unsigned seed) {
  const std::string path = folder + (wave ? "/recording-001.wav" : "/recording-001.aiff");
  RecorderProcess recorder(input, folder, {"--type", wave ? "wave" : "aiff", "--bits", wide ? "24" : "16"});
  while (recorder.running() && frames_in_header(path, wave, wide ? 6 : 4) == 0)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  std::mt19937 random(seed);
  std::this_thread::sleep_for(std::chrono::microseconds(random() % 20000));
  EXPECT_TRUE(recorder.running());
  recorder.kill();
  return path;
}

TEST_P(KilledRecording, OpensWithAHeaderOfTheLastTenSeconds) {
  const bool wave = GetParam() == std::string("wave");
  const TempDir dir;
  const Samples source = noise(2 * kRate * 60, 1);
  write_source(dir.file("in.wav"), kRate, 2, source);
  const std::vector<std::int32_t> expected[2] = {stored(source, 16), stored(source, 24)};
  for (unsigned seed = 0; seed < 25 && !HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    const bool wide = seed % 2 != 0;
    const std::int64_t frame_bytes = wide ? 6 : 4;
    const std::string folder = dir.file(std::to_string(seed));
    const std::string path = kill_one(folder, dir.file("in.wav"), wave, wide, seed);

    const std::int64_t claimed = frames_in_header(path, wave, frame_bytes);
    const auto on_disk = (static_cast<std::int64_t>(std::filesystem::file_size(path)) - (wave ? 44 : 54)) / frame_bytes;
    EXPECT_GE(claimed, on_disk - 10 * kRate - kBlock);
    EXPECT_LE(claimed, on_disk + kStdioBuffer / frame_bytes + 1);

    const Audio audio = read_by_libsndfile(path);
    EXPECT_EQ(audio.rate, kRate);
    EXPECT_GE(static_cast<std::int64_t>(audio.frames()), std::min(claimed, on_disk));
    const auto common = static_cast<std::ptrdiff_t>(std::min(audio.samples.size(), source.size()));
    EXPECT_TRUE(std::equal(audio.samples.begin(), audio.samples.begin() + common, expected[wide].begin()));
    if (have_program("ffprobe")) {
      const auto probe = run("ffprobe -v error -of csv=p=0 -show_entries stream=sample_rate,channels " + quoted(path));
      EXPECT_EQ(probe.output, "8000,2\n") << probe.errors;
    }
    std::filesystem::remove_all(folder);
  }
}

// Runs a recording until its file has some bytes, and kills it at a moment of chance after that.
std::string kill_early(const std::string &folder, const std::string &input, const std::string &type, unsigned seed) {
  const std::string path = folder + "/recording-001." + type;
  RecorderProcess(input, folder, {"--type", type}).kill_once_there(path, 4096, seed);
  return path;
}

TEST(KilledFlac, DecodesToItsLastWholeFrame) {
  if (!aurec_can_output_type(AuRecOutputTypeFLAC)) GTEST_SKIP() << "this build has no libFLAC";
  NEED_PROGRAM("flac");
  const TempDir dir;
  const Samples source = noise(2 * kRate * 60, 1);
  write_source(dir.file("in.wav"), kRate, 2, source);
  for (unsigned seed = 0; seed < 15 && !HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    const std::string folder = dir.file(std::to_string(seed));
    const std::string path = kill_early(folder, dir.file("in.wav"), "flac", seed);
    // -F goes on to what can be decoded; of the frame that was cut off it makes nothing.
    const std::string raw =
        run("flac -s -d -F -c --force-raw-format --endian=little --sign=signed " + quoted(path)).output;
    const std::size_t frames = raw.size() / 4;
    EXPECT_GT(frames, 0u);
    EXPECT_EQ(frames % 4096, 0u) << "whole frames of libFLAC";
    // Noise does not shrink: a frame more would not have fitted into the file.
    EXPECT_GT(raw.size() + 2 * 4096 * 4 + 8192, std::filesystem::file_size(path));
    for (std::size_t i = 0; i < std::min(2 * frames, source.size()); ++i) {
      const auto sample = load_le<std::int16_t>(reinterpret_cast<const std::uint8_t *>(raw.data()) + 2 * i);
      ASSERT_EQ(sample, stored(source[i], 16) >> 16) << i;
    }
    std::filesystem::remove_all(folder);
  }
}

TEST(KilledMp3, PlaysToItsLastWholeFrame) {
  if (!aurec_can_output_type(AuRecOutputTypeMP3)) GTEST_SKIP() << "this build has no LAME";
  NEED_PROGRAM("ffmpeg");
  const TempDir dir;
  write_source(dir.file("in.wav"), kRate, 2, noise(2 * kRate * 60, 1));
  for (unsigned seed = 0; seed < 15 && !HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    const std::string folder = dir.file(std::to_string(seed));
    const std::string path = kill_early(folder, dir.file("in.wav"), "mp3", seed);
    const Mp3File file = mp3_file(read_file(path));
    ASSERT_GT(file.frames.size(), 5u);
    const std::string raw = run("ffmpeg -v quiet -i " + quoted(path) + " -f s16le -").output;
    EXPECT_GE(raw.size() / 4, (file.frames.size() - 2) * 576);
    std::filesystem::remove_all(folder);
  }
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, KilledRecording, ::testing::Values("aiff", "wave"),
                         [](const auto &one) { return std::string(one.param); });

}  // namespace
}  // namespace auspool::testing
