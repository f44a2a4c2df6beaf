// The levels of a spectrum meter, which the thread that processes shares with those that read.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/relaxed.h"

namespace auspool {

// An even number of floats, two in a word: words that threads share are moved one by one, so that this halves the time.
class SharedLevels {
public:
  explicit SharedLevels(std::size_t count) : pairs_(count / 2) {}

  std::size_t size() const { return 2 * pairs_.size(); }
  float operator[](std::size_t i) const { return std::bit_cast<Pair>(static_cast<Word>(pairs_[i / 2]))[i % 2]; }

  void load(float *levels) const {
    for (std::size_t i = 0; i < pairs_.size(); ++i) {
      const auto pair = std::bit_cast<Pair>(static_cast<Word>(pairs_[i]));
      levels[2 * i] = pair[0];
      levels[2 * i + 1] = pair[1];
    }
  }

  void store(const float *levels) {
    for (std::size_t i = 0; i < pairs_.size(); ++i)
      pairs_[i] = std::bit_cast<Word>(Pair{levels[2 * i], levels[2 * i + 1]});
  }

  void fill(float level) {
    for (auto &pair : pairs_) pair = std::bit_cast<Word>(Pair{level, level});
  }

private:
  using Pair = std::array<float, 2>;
  using Word = std::uint64_t;
  std::vector<Relaxed<Word>> pairs_;
};

}  // namespace auspool
