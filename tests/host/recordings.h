// Running auspool-record, making its inputs, and reading back what it wrote.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/signals.h"

namespace auspool::testing {

// A sound file's audio: interleaved samples, full scale at 32 bits whatever the file's own width.
struct Audio {
  int rate = 0, channels = 0;
  std::vector<std::int32_t> samples;
  std::size_t frames() const { return channels ? samples.size() / static_cast<std::size_t>(channels) : 0; }
};

// The two independent readers.
Audio read_by_libsndfile(const std::string &path);
Audio read_by_ffmpeg(const std::string &path);

// The same as floats, as a program that pushes the file sees it.
Samples read_floats(const std::string &path);

// Writes a WAVE file of floats, so that a source can hold every value there is.
void write_source(const std::string &path, int rate, int channels, const Samples &interleaved);

// What a sample becomes in a file of 16 or 24 bits, in the plainest words; scaled to 32 bits as above.
std::int32_t stored(float sample, int bits);
std::vector<std::int32_t> stored(const Samples &samples, int bits);

// One run of auspool-record with --json.
struct Recording {
  int status = -1;
  std::vector<nlohmann::json> files;
  nlohmann::json summary;
  std::string errors;

  std::string path(std::size_t file) const { return files.at(file).at("path"); }
  // The audio of all files, one after another.
  std::vector<std::int32_t> joined() const;
};
Recording record(const std::string &arguments);

}  // namespace auspool::testing
