// The samples of one track in a file, in order: where each lies and how long it lasts.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/file.h"

namespace auspool::tags {

struct Sample {
  std::uint64_t offset;
  std::uint32_t size;
  std::uint32_t duration;  // in units of the track's time scale
  std::uint32_t format;    // a four-character code
};

class SampleTable {
public:
  // Reads the tables of the `trak` at that offset. 0, "Eprs", or what the system says.
  std::int32_t load(platform::File &file, std::uint64_t track);

  // Steps to the next sample: false at the end. `error` is "Eprs" when a table ends before the others, or the sample
  // lies outside the file.
  bool next(Sample &sample, std::int32_t &error);

private:
  struct TimeRun {
    std::uint32_t count, duration;
  };
  struct ChunkRun {
    std::uint32_t first_chunk, samples, description;
  };

  bool step_time(std::uint32_t &duration);
  bool step_chunk();

  std::uint64_t file_size_ = 0;
  std::vector<std::uint32_t> formats_;
  std::vector<TimeRun> times_;
  std::vector<ChunkRun> chunk_runs_;
  std::vector<std::uint32_t> sizes_;
  std::uint32_t uniform_size_ = 0;  // 0: see sizes_
  std::vector<std::uint64_t> chunks_;

  std::size_t time_run_ = 0, chunk_run_ = 0;
  std::uint32_t in_time_run_ = 0, in_chunk_ = 0;
  std::uint64_t sample_ = 0, chunk_ = 0;  // both from 0
  std::uint64_t offset_ = 0;              // of the next sample in the chunk
};

}  // namespace auspool::tags
