// The cache's sets of blocks: at most 32 in each, so that a look at all of them is the fastest search.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "audiskdelay/BTAudioBuffer/format.h"

namespace auspool::audiskdelay {

struct BTAudioCacheBlock;

class BTAudioBlockSet {
public:
  static constexpr std::uint32_t kMost = 32;

  std::uint32_t size() const { return size_; }
  BTAudioCacheBlock *any() const { return size_ ? blocks_[size_ - 1] : nullptr; }
  bool contains(const BTAudioCacheBlock *block) const { return std::find(begin(), end(), block) != end(); }
  void add(BTAudioCacheBlock *block) { blocks_[size_++] = block; }
  void remove(const BTAudioCacheBlock *block) { *std::find(begin(), end(), block) = blocks_[--size_]; }

  BTAudioCacheBlock **begin() { return blocks_.data(); }
  BTAudioCacheBlock **end() { return begin() + size_; }
  BTAudioCacheBlock *const *begin() const { return blocks_.data(); }
  BTAudioCacheBlock *const *end() const { return begin() + size_; }

private:
  std::array<BTAudioCacheBlock *, kMost> blocks_{};
  std::uint32_t size_ = 0;
};

class BTAudioBlockMap {
public:
  std::uint32_t size() const { return size_; }
  // Null if there is none.
  BTAudioCacheBlock *find(BTAudioBID key) const {
    const std::uint32_t at = place_of(key);
    return at < size_ ? blocks_[at] : nullptr;
  }
  void add(BTAudioBID key, BTAudioCacheBlock *block) {
    keys_[size_] = key;
    blocks_[size_++] = block;
  }
  void remove(BTAudioBID key) {
    const std::uint32_t at = place_of(key);
    keys_[at] = keys_[--size_];
    blocks_[at] = blocks_[size_];
  }

private:
  std::uint32_t place_of(BTAudioBID key) const {
    return static_cast<std::uint32_t>(std::find(keys_.begin(), keys_.begin() + size_, key) - keys_.begin());
  }
  std::array<BTAudioBID, BTAudioBlockSet::kMost> keys_{};  // apart from the blocks, in two cache lines
  std::array<BTAudioCacheBlock *, BTAudioBlockSet::kMost> blocks_{};
  std::uint32_t size_ = 0;
};

}  // namespace auspool::audiskdelay
