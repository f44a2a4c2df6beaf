// Independent readers and writers of tags, run by tests.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "base/byte_order.h"
#include "support/programs.h"

namespace auspool::testing {

// Skips a test, aloud, where a program is missing.
#define NEED_PROGRAM(name) \
  if (!::auspool::testing::have_program(name)) GTEST_SKIP() << name << " is not installed"
#define NEED_MUTAGEN() \
  if (!::auspool::testing::have_mutagen()) GTEST_SKIP() << "mutagen is not installed"

// The Python of the system, for which the packages of the system are.
inline constexpr const char *kPython = "/usr/bin/python3";

inline bool have_mutagen() {
  return run(std::string(kPython) + " -c 'import mutagen'").status == 0;
}

// What a command prints; the test fails when it does.
inline std::string output_of(const std::string &command) {
  const ProgramResult result = run(command);
  EXPECT_EQ(result.status, 0) << command << "\n" << result.errors;
  return result.output;
}

// What a script prints about a file.
inline std::string python(const std::string &script, const std::string &path) {
  return output_of(kPython + std::string(" -c ") + quoted(script) + " " + quoted(path));
}

// The audio of a file as ffmpeg decodes it, as a hash.
inline std::string decoded_hash(const std::string &path) {
  return output_of("ffmpeg -v error -i " + quoted(path) + " -map 0:a -f md5 -");
}

// The interleaved samples of a FLAC file of 16 bits as the program flac decodes them, which checks their MD5 too.
inline std::vector<std::int32_t> decoded_flac(const std::string &path) {
  const std::string raw = output_of("flac -s -d -c --force-raw-format --endian=little --sign=signed " + quoted(path));
  std::vector<std::int32_t> samples(raw.size() / 2);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    samples[i] = load_le<std::int16_t>(reinterpret_cast<const std::uint8_t *>(raw.data()) + 2 * i);
  }
  return samples;
}

}  // namespace auspool::testing
