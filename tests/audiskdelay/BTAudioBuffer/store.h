// A store over a file in memory, with small limits where a test wants them, looked through after each step.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <numeric>
#include <vector>

#include "audiskdelay/BTAudioBuffer/BTAudioBuffer.h"
#include "audiskdelay/BTAudioBuffer/memory_file.h"
#include "audiskdelay/BTAudioBuffer/store_checker.h"
#include "base/handle.h"

namespace auspool::testing {

inline constexpr std::uint32_t kFramesPerBlock = kBTAudioAudioEnd / 4;

using Frames = std::vector<std::uint32_t>;

// Frames that can be told from all others.
inline Frames frames_from(std::uint64_t first, std::uint32_t count) {
  Frames frames(count);
  for (std::uint32_t i = 0; i < count; ++i) frames[i] = static_cast<std::uint32_t>((first + i) * 2654435761u) | 1;
  return frames;
}

class Store {
public:
  explicit Store(const BTAudioBufferLimits &limits = {}) {
    auto memory = std::make_unique<MemoryFile>();
    file_ = memory.get();
    buffer_.reset(create_on(std::move(memory), limits));
  }

  BTAudioBuffer *operator->() const { return buffer_.get(); }
  BTAudioBuffer *get() const { return buffer_.get(); }
  MemoryFile &file() const { return *file_; }

  // The next frames, told from all others by their number.
  bool audio(std::uint32_t frames) {
    const Frames data = frames_from(buffer_->endFrame, frames);
    return looked_through(BTAudioBufferWrite(get(), data.data(), frames * 4, frames, true));
  }
  bool silence(std::uint64_t frames) { return looked_through(BTAudioBufferWrite(get(), nullptr, 0, frames, true)); }
  bool gap(std::uint64_t frames) { return looked_through(BTAudioBufferWrite(get(), nullptr, 0, frames, false)); }

  std::uint64_t start() const { return buffer_->startFrame; }
  std::uint64_t end() const { return buffer_->endFrame; }
  std::uint64_t length() const { return end() - start(); }

  // What one call reads.
  Frames read(std::uint64_t at, std::uint32_t most) const {
    Frames frames(most);
    void *data = frames.data();
    std::uint32_t bytes = most * 4, count = 0;
    if (!BTAudioBufferRead(get(), &at, &data, &bytes, &count, nullptr)) return {};
    EXPECT_EQ(bytes, count * 4);
    frames.resize(count);
    return frames;
  }

  // As many frames as asked for, by as many calls as that takes.
  Frames read_all(std::uint64_t at, std::uint32_t count) const {
    Frames all;
    while (all.size() < count) {
      const Frames more = read(at + all.size(), count - static_cast<std::uint32_t>(all.size()));
      if (more.empty()) break;
      all.insert(all.end(), more.begin(), more.end());
    }
    return all;
  }

  bool looked_through(bool result) const {
    EXPECT_EQ(StoreChecker::problems_of(get()), "");
    return result;
  }

private:
  std::unique_ptr<BTAudioBuffer, DestroyWith<BTAudioBufferDestroy>> buffer_;
  MemoryFile *file_ = nullptr;
};

}  // namespace auspool::testing
