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

// What one run is like. Small in different ways, so that every path runs: the file is full after a while and its blocks
// are used again, or the trim takes them for good; the cache holds a few blocks or most; writes are long, or short with
// gaps between them, of which the tree gets deep and takes many blocks.
struct Course {
  BTAudioBufferLimits limits;
  Trouble trouble;
  unsigned orders_of_size;  // writes have up to 2 to the power of this frames
  unsigned bursts;          // of a thousand steps are of many short records
};

inline Course course_of(std::uint32_t seed, bool troubled) {
  const bool short_writes = seed % 2 != 0;
  const std::uint64_t held = seed % 5 == 0 ? 20 : 1000;
  const Trouble trouble = {seed % 4 / 3.0, seed / 4 % 3 / 4.0, seed % 5 ? UINT64_MAX : 30 * kBTAudioBlockSize};
  return {{held * kFramesPerBlock, seed / 2 % 2 ? 60u : 200u, troubled ? 3 + seed % 30 : 6 + seed % 27},
          troubled ? trouble : Trouble{},
          short_writes ? 12u : 17u,
          short_writes ? 30u : 0u};
}

// Runs a store and the model side by side.
class SideBySide {
public:
  SideBySide(const Course &course, std::uint32_t seed)
      : course_(course), trouble_(course.trouble), random_(seed), store_(course.limits) {
    store_.file().keep_history = false;
    store_.file().fault = [this](std::uint64_t offset, std::size_t bytes) { return fault(offset, bytes); };
  }

  // A step of any kind. `look_through`: also look through the whole store.
  void step(bool look_through) {
    const std::uint64_t kind = below(1000);
    if (kind < course_.bursts)
      burst();
    else if (kind < 100)
      gap();
    else if (kind < 250)
      write(false, size());
    else if (kind < 600)
      write(true, size());
    else if (kind < 605)
      consume();
    else if (kind < 630)
      make_trouble();
    else
      read();
    if (look_through) store_.looked_through(true);
  }

  Store &store() { return store_; }
  std::uint64_t failed_reads() const { return failed_reads_; }
  std::uint64_t reads() const { return reads_; }
  bool troubled() const { return trouble_.fails > 0 || trouble_.cut_short > 0 || trouble_.disk_bytes != UINT64_MAX; }

private:
  std::uint64_t below(std::uint64_t most) { return random_() % most; }
  // Of all orders of magnitude alike.
  std::uint32_t size() {
    return 1 + static_cast<std::uint32_t>(below(std::uint64_t{2} << below(course_.orders_of_size)));
  }
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
    model_.add(stored, audio);
    follow_start();
    EXPECT_TRUE(store_.length() <= course_.limits.maxFrames || troubled());
  }

  void burst() {
    for (int i = 0; i < 100; ++i) {
      write(below(2) != 0, 1 + static_cast<std::uint32_t>(below(20)));
      gap();
    }
  }

  void gap() {
    const std::uint32_t frames = size();
    EXPECT_TRUE(BTAudioBufferWrite(store_.get(), nullptr, 0, frames, false));
    model_.add_gap(frames);
  }

  void consume() {
    BTAudioBuffer *const buffer = store_.get();
    if (store_.length() == 0) return;
    const bool by_the_block = store_.length() > 8 * kFramesPerBlock && below(3) == 0;
    const std::uint64_t before = store_.start(), frames = by_the_block ? 0 : size();
    {
      const ConsumingScope scope(buffer);
      BTAudioBufferConsumeBlock(buffer, frames);
    }
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

  Course course_;
  Trouble trouble_;
  std::mt19937_64 random_;
  Store store_;
  Model model_;
  bool troubled_now_ = false;
  std::uint64_t failed_reads_ = 0, reads_ = 0;
};

struct Counts {
  std::uint64_t failed_reads = 0, reads = 0;
};

// Takes `stores` stores, each of its own kind, through so many steps, and looks through the whole store now and then.
inline Counts run_stores(std::uint32_t first_seed, std::uint32_t stores, int steps, bool troubled, int look_every) {
  Counts counts;
  for (std::uint32_t seed = first_seed; seed < first_seed + stores && !::testing::Test::HasFailure(); ++seed) {
    SideBySide both(course_of(seed, troubled), seed);
    for (int i = 0; i < steps && !::testing::Test::HasFailure(); ++i) both.step(i % look_every == 0);
    EXPECT_FALSE(::testing::Test::HasFailure()) << "seed " << seed;
    counts.failed_reads += both.failed_reads();
    counts.reads += both.reads();
  }
  return counts;
}

}  // namespace auspool::testing
