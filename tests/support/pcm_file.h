// A plain reader of the files that the recorder writes, independent of it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace auspool::testing {

struct PcmFile {
  bool valid = false;  // the sizes in the header are those of the file
  int channels = 0;
  int bits = 0;
  double rate = 0;
  std::int64_t frames = 0;
  std::vector<std::int32_t> samples;  // interleaved
  std::string tags;                   // what lies between the header and the audio's chunk

  std::vector<std::int32_t> channel(int number) const;
};

PcmFile read_pcm_file(const std::string &path);

// What a sample becomes in a file, by the book.
std::int32_t integer_of(float sample, int bits);

// `left` and `right` as they come out of a stereo file.
std::vector<std::int32_t> integers_of(const std::vector<float> &left, const std::vector<float> &right, int bits);

}  // namespace auspool::testing
