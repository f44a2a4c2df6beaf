// AIFF, WAVE and CAF files chunk by chunk, for tests that say what a reader finds in them, and for seeds of fuzzing.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace auspool::testing {

// A size that stands in for the true one; kTrueSize for none.
constexpr std::int64_t kTrueSize = INT64_MIN;

// A chunk with its pad byte.
std::string aiff_chunk(const std::string &id, const std::string &data, std::int64_t claimed = kTrueSize);
std::string wave_chunk(const std::string &id, const std::string &data, std::int64_t claimed = kTrueSize);
std::string caf_chunk(const std::string &type, const std::string &data, std::int64_t claimed = kTrueSize);

// A whole file around chunks.
std::string aiff_file(const std::string &chunks, std::int64_t claimed = kTrueSize);
std::string wave_file(const std::string &chunks, std::int64_t claimed = kTrueSize);
std::string caf_file(const std::string &chunks, int version = 1);

// A `LIST` of type `INFO` around chunks.
std::string info_list(const std::string &chunks, std::int64_t claimed = kTrueSize);
// The `info` chunk of CAF.
std::string caf_info(const std::vector<std::pair<std::string, std::string>> &entries, std::int64_t count = kTrueSize);

// Chunks that make a file play: stereo of 16 bits at 44.1 kHz, made of noise.
std::string aiff_sound(int frames);
std::string wave_sound(int frames);
std::string caf_sound(int frames);

// The chunks of a form as a plain walk finds them, for looking at what a writer left.
struct FoundChunk {
  std::string id, data;
  bool operator==(const FoundChunk &) const = default;
};
std::vector<FoundChunk> aiff_chunks(const std::string &file);
std::vector<FoundChunk> wave_chunks(const std::string &file);
// The ids alone, one after another.
std::string ids_of(const std::vector<FoundChunk> &chunks);
// The data of the first chunk of that id; "none" without one.
std::string data_of(const std::vector<FoundChunk> &chunks, const std::string &id);

}  // namespace auspool::testing
