// A sink or source of the sound server, as far as we look at it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace auspool::platform {

struct Node {
  std::uint32_t number = 0;  // the server's, used again after it is gone
  std::string serial;        // the server's too, never used again while it runs
  std::string name;          // stays from run to run
  std::string title;         // for people
  bool is_input = false;
  std::vector<std::uint32_t> positions;               // of each channel, in the server's numbers
  std::uint32_t left_channel = 0, right_channel = 0;  // from 1; 0 if no position says so
};

}  // namespace auspool::platform
