// A store beside a plain model of what it was given, at random.
#pragma once

#include <deque>
#include <random>

#include "audiskdelay/BTAudioBuffer/consume.h"
#include "audiskdelay/BTAudioBuffer/store.h"

namespace auspool::testing {

// What came in, by frame time. Audio is frames_from its own times, so that spans of it are all there is to keep.
class Model {
public:
  void add(std::uint64_t frames, bool audio) {
    if (frames == 0) return;
    if (spans_.empty() || spans_.back().audio != audio) spans_.push_back({end_, audio});
    end_ += frames;
  }
  void add_gap(std::uint64_t frames) {
    if (!gaps_.empty() && gaps_.back().at == end_)
      gaps_.back().frames += frames;
    else
      gaps_.push_back({end_, frames});
  }
  void forget_before(std::uint64_t frame) {
    while (spans_.size() > 1 && spans_[1].start <= frame) spans_.pop_front();
    while (!gaps_.empty() && gaps_.front().at <= frame) gaps_.pop_front();
  }

  std::uint64_t end() const { return end_; }
  Frames frames(std::uint64_t at, std::uint32_t count) const {
    Frames expected = frames_from(at, count);
    for (std::size_t i = 0; i < spans_.size(); ++i) {
      if (spans_[i].audio) continue;
      const std::uint64_t next = i + 1 < spans_.size() ? spans_[i + 1].start : end_;
      const std::uint64_t from = std::max(at, spans_[i].start), to = std::min(at + count, next);
      if (from < to) std::fill(expected.begin() + long(from - at), expected.begin() + long(to - at), 0u);
    }
    return expected;
  }
  // Gaps entered behind this frame.
  std::uint64_t gap_after(std::uint64_t frame) const {
    std::uint64_t sum = 0;
    for (const Gap &gap : gaps_) sum += gap.at > frame ? gap.frames : 0;
    return sum;
  }

private:
  struct Span {
    std::uint64_t start;
    bool audio;
  };
  struct Gap {
    std::uint64_t at, frames;
  };
  std::deque<Span> spans_;
  std::deque<Gap> gaps_;
  std::uint64_t end_ = 0;
};

// What the file does wrong: each a part of all writes.
struct Trouble {
  double fails = 0, cut_short = 0;
  std::uint64_t disk_bytes = UINT64_MAX;  // beyond which it is full
};

// Runs a store and the model side by side.
class SideBySide {
public:
  SideBySide(const BTAudioBufferLimits &limits, const Trouble &trouble, std::uint32_t seed)
      : limits_(limits), trouble_(trouble), random_(seed), store_(limits) {
    store_.file().keep_history = false;
    store_.file().fault = [this](std::uint64_t offset, std::size_t bytes) { return fault(offset, bytes); };
  }

  // A step of any kind. `look_through`: also look through the whole store.
  void step(bool look_through) {
    const std::uint64_t kind = below(100);
    if (kind < 45)
      write(true, size());
    else if (kind < 60)
      write(false, size());
    else if (kind < 68)
      gap();
    else if (kind < 72)
      consume();
    else if (kind < 76)
      make_trouble();
    else
      read();
    if (look_through) store_.looked_through(true);
  }

  Store &store() { return store_; }
  std::uint64_t failed_writes() const { return failed_writes_; }
  std::uint64_t failed_reads() const { return failed_reads_; }
  std::uint64_t reads() const { return reads_; }
  int depth() const { return depth_; }
  bool troubled() const { return trouble_.fails > 0 || trouble_.cut_short > 0 || trouble_.disk_bytes != UINT64_MAX; }

private:
  std::uint64_t below(std::uint64_t most) { return random_() % most; }
  // Of all orders of magnitude alike.
  std::uint32_t size() { return 1 + static_cast<std::uint32_t>(below(std::uint64_t{2} << below(17))); }
  bool happens(double chance) { return std::uniform_real_distribution<>(0, 1)(random_) < chance; }

  std::int64_t fault(std::uint64_t offset, std::size_t bytes) {
    if (troubled_now_ && happens(trouble_.fails)) {
      errno = EIO;
      return -1;
    }
    if (troubled_now_ && happens(trouble_.cut_short)) return static_cast<std::int64_t>(below(bytes));
    if (offset + bytes > trouble_.disk_bytes && troubled_now_) {
      errno = ENOSPC;
      return -1;
    }
    return static_cast<std::int64_t>(bytes);
  }

  void make_trouble() { troubled_now_ = below(2) != 0; }

  void write(bool audio, std::uint32_t frames) {
    const Frames data = frames_from(model_.end(), audio ? frames : 0);
    const bool written =
        BTAudioBufferWrite(store_.get(), audio ? data.data() : nullptr, audio ? frames * 4 : 0, frames, true);
    const std::uint64_t stored = store_.end() - model_.end();
    EXPECT_LE(stored, frames);
    EXPECT_TRUE(written || troubled());
    EXPECT_EQ(written, stored == frames);
    failed_writes_ += written ? 0 : 1;
    model_.add(stored, audio);
    follow_start();
    EXPECT_TRUE(store_.length() <= limits_.maxFrames || troubled());
  }

  void gap() {
    const std::uint32_t frames = size();
    EXPECT_TRUE(BTAudioBufferWrite(store_.get(), nullptr, 0, frames, false));
    model_.add_gap(frames);
  }

  void consume() {
    const std::uint64_t before = store_.start(), frames = below(3) ? size() : 0;
    BTAudioBuffer *const buffer = store_.get();
    if (store_.length() == 0) return;
    const ConsumingScope scope(buffer);
    if (frames == 0 && below(4) != 0) return;
    BTAudioBufferConsumeBlock(buffer, frames);
    EXPECT_GE(store_.start(), before);
    follow_start();
  }

  void read() {
    follow_start();
    if (store_.length() == 0) return;
    const std::uint64_t at = store_.start() + below(store_.length());
    const Frames frames = store_.read(at, 1 + static_cast<std::uint32_t>(below(4000)));
    ++reads_;
    if (frames.empty()) {
      ++failed_reads_;
      EXPECT_TRUE(troubled());
      return follow_start();
    }
    ASSERT_EQ(frames, model_.frames(at, static_cast<std::uint32_t>(frames.size()))) << "at " << at;
    ASSERT_EQ(BTAudioBufferGetPhysicalOffset(store_.get(), at), store_.start() <= at ? model_.gap_after(at) : 0);
    follow_start();
  }

  // What is cut off is the store's affair: the model follows.
  void follow_start() {
    EXPECT_EQ(store_.end(), model_.end());
    model_.forget_before(store_.start());
  }

  BTAudioBufferLimits limits_;
  Trouble trouble_;
  std::mt19937_64 random_;
  Store store_;
  Model model_;
  bool troubled_now_ = false;
  std::uint64_t failed_writes_ = 0, failed_reads_ = 0, reads_ = 0;
  int depth_ = 0;
};

}  // namespace auspool::testing
