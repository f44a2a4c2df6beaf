// What the server says of its clock, and what follows for a device on which nothing runs.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace auspool::platform {

class GraphSettings {
public:
  // One entry of the metadata "settings"; null takes it away. Keys that say nothing of the clock are skipped.
  void set(std::string_view key, const char *value);

  // Whether the graph would run so if a stream asks for it.
  bool allows_rate(double rate) const;
  bool allows_frames(std::uint32_t frames) const;

  // What a stream would get; 0 for one that wishes nothing.
  double rate_for(double wish) const;
  std::uint32_t frames_for(std::uint32_t wish) const;

private:
  std::uint32_t rate_ = 48000, forced_rate_ = 0;
  std::vector<std::uint32_t> allowed_rates_;
  std::uint32_t frames_ = 1024, least_frames_ = 32, most_frames_ = 8192, forced_frames_ = 0;
};

}  // namespace auspool::platform
