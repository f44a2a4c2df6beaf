// The rate of incoming audio.
#pragma once

#include <cstdint>

namespace auspool {

// The rate, and how often it has changed. They travel in one word from the audio thread to the worker, which starts its
// filters anew when it meets another generation. Aligned like a word, without which clang would take a lock for it.
struct alignas(8) InputRate {
  float hz = 0;
  std::uint32_t generation = 0;

  // 0 Hz stands for a rate that is not known yet.
  bool known() const { return hz != 0.0f; }
};

// Beyond these, NaN included, a rate is taken as not known. The upper bound holds the memory for rate conversion down.
constexpr float kLowestInputRate = 1.0f, kHighestInputRate = 10000000.0f;

inline bool is_usable_rate(float hz) {
  return hz >= kLowestInputRate && hz <= kHighestInputRate;
}

}  // namespace auspool
