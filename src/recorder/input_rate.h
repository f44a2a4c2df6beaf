// Which rates of incoming audio are taken.
#pragma once

namespace auspool {

// A rate beyond these, or NaN, is as good as unknown. The upper bound holds the memory for rate conversion down.
constexpr float kLowestInputRate = 1.0f, kHighestInputRate = 10000000.0f;

inline bool is_usable_rate(float hz) {
  return hz >= kLowestInputRate && hz <= kHighestInputRate;
}

}  // namespace auspool
