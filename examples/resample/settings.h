// The command line of auspool-resample.
#pragma once

#include <cstdint>
#include <string>

namespace resample {

extern const char *const kHelp;

struct Settings {
  std::string input, output;
  int rate = 0;                  // Hz
  std::int32_t quality = 2;      // 0 to 4
  std::int32_t threads = 0;      // 0: as many as there are processors
  std::int32_t low_latency = 0;  // microseconds; 0: large blocks
  std::int32_t block = 1024;     // frames
  double tolerance = 0;
  bool minimum_phase = false, sdm = false, stream = false, json = false, help = false;

  std::int32_t flags() const;  // as raesampler_create takes them
};

// Throws example::UsageError.
Settings settings_from(int argc, char **argv);

}  // namespace resample
