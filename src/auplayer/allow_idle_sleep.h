// What the two generations' functions to begin and end allowing idle sleep share.
#pragma once

#include <cstdint>
#include <mutex>

namespace auspool {

// Counts the begins and ends of one generation, and lets the computer sleep between the first and the last.
class AllowIdleSleep {
public:
  void begin();
  void end();

private:
  std::mutex mutex_;
  std::uint32_t allowIdleSleep = 0;
};

}  // namespace auspool
