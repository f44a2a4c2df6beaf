// MPEG-4 recordings that are killed at moments of chance: what of them can be played.
#pragma once

#include <auspool/aurec.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "host/recorder_process.h"
#include "host/recordings.h"
#include "support/atoms.h"
#include "support/other_programs.h"
#include "support/temp_dir.h"

namespace auspool::testing {

class KilledM4a : public ::testing::Test {
protected:
  static constexpr int kRate = 8000, kAlacFrames = 4096;

  void SetUp() override {
    if (!aurec_can_output_type(AuRecOutputTypeALAC)) GTEST_SKIP() << "this build has no libavcodec";
    NEED_PROGRAM("ffmpeg");
    write_source(dir.file("in.wav"), kRate, 2, source);
  }

  // Kills a recording after the file has some audio.
  std::string kill_one(const std::vector<std::string> &options, unsigned seed) const {
    constexpr std::uintmax_t kSomeAudio = 100000;
    const std::string folder = dir.file(std::to_string(seed)), path = folder + "/recording-001.m4a";
    RecorderProcess(dir.file("in.wav"), folder, options).kill_once_there(path, kSomeAudio, seed);
    return path;
  }

  void expect_recovery(const std::string &type, unsigned seed) const {
    SCOPED_TRACE(type + " " + std::to_string(seed));
    const std::string path = kill_one({"--type", type}, seed);
    const auto on_disk = std::filesystem::file_size(path);
    const ProgramResult result = run(quoted(AUSPOOL_RECOVER) + " " + quoted(path));
    EXPECT_EQ(result.status, 0) << result.errors;
    expect_whole(path, type, on_disk);
    EXPECT_EQ(files_beside(path), 1) << "the record is gone";
    EXPECT_EQ(run(quoted(AUSPOOL_RECOVER) + " " + quoted(path)).status, 1);
    std::filesystem::remove_all(std::filesystem::path(path).parent_path());
  }

  // Returns the frames in whole fragments: none where the end came before the first was complete.
  std::size_t expect_whole_fragments(const std::string &type, unsigned seed) const {
    SCOPED_TRACE(type + " " + std::to_string(seed));
    const std::string path = kill_one({"--type", type, "--fragmented"}, seed);
    const std::size_t frames = packets_in_whole_fragments(read_file(path)) * (type == "alac" ? kAlacFrames : 1024);
    EXPECT_GE(decoded(path).size() / 2, frames);
    if (type == "alac") expect_source(decoded(path));
    std::filesystem::remove_all(std::filesystem::path(path).parent_path());
    return frames;
  }

private:
  // All audio that had reached the disk, but for what one packet and the buffers of two streams hold.
  void expect_whole(const std::string &path, const std::string &type, std::uintmax_t on_disk) const {
    constexpr std::uintmax_t kNotPackets = 50000;
    EXPECT_EQ(run("ffmpeg -v error -i " + quoted(path) + " -f null -").errors, "");
    EXPECT_GT(std::filesystem::file_size(path) + kNotPackets, on_disk);
    const std::vector<std::int16_t> samples = decoded(path);
    EXPECT_GT(samples.size(), 10000u);
    if (type == "alac") expect_source(samples);
  }

  // The samples that were recorded, in order; the source comes over and over.
  void expect_source(const std::vector<std::int16_t> &samples) const {
    for (std::size_t i = 0; i < samples.size(); ++i)
      ASSERT_EQ(samples[i], expected[i % expected.size()] >> 16) << "sample " << i;
  }

  static std::vector<std::int16_t> decoded(const std::string &path) {
    const std::string bytes = run("ffmpeg -v error -i " + quoted(path) + " -f s16le -").output;
    std::vector<std::int16_t> samples(bytes.size() / 2);
    std::memcpy(samples.data(), bytes.data(), 2 * samples.size());
    return samples;
  }

  static std::ptrdiff_t files_beside(const std::string &path) {
    const auto folder = std::filesystem::path(path).parent_path();
    return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
  }

  // Of the fragments whose audio is all there.
  static std::size_t packets_in_whole_fragments(const std::string &file) {
    std::size_t packets = 0, in_fragment = 0;
    for (std::size_t at = 0; at + 8 <= file.size();) {
      const Atom header{file.substr(at + 4, 4), at, file.substr(at, 8)};
      if (header.size() < 8 || at + header.size() > file.size()) break;
      if (header.type == "moof") in_fragment = atom_at(file.substr(at, header.size()), "moof.traf.trun").word(12);
      if (header.type == "mdat") packets += std::exchange(in_fragment, 0);
      at += header.size();
    }
    return packets;
  }

  const TempDir dir;
  const Samples source = noise(2 * kRate * 60, 1);
  const std::vector<std::int32_t> expected = stored(source, 16);
};

}  // namespace auspool::testing
