// The delay line of the direct stages, whose outputs are sums over a window of consecutive input samples that moves on
// from output to output.
//
// A stage keeps the last samples of the blocks before, at most one less than the window. Blocks are laid out behind
// them in the same memory, piece by piece, so that every window is contiguous wherever a block began: an output is one
// sum over one row, and comes out the same however the stream was cut. A copy is cheap beside that: each sample is read
// by dozens of outputs, and outputs that share a row of the filter run together when many windows lie in one piece.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "resampler/delay_line.h"
#include "resampler/memory.h"

namespace auspool {

// How many samples of a block are laid out at a time: what stages hand to one another in a round.
constexpr std::int32_t piece_samples(std::int32_t sample_size) {
  return 8192 / sample_size;
}

inline Block<std::byte> make_line(std::int32_t sample_size, std::int32_t window) {
  const auto samples = static_cast<std::size_t>(window - 1 + piece_samples(sample_size));
  return make_block<std::byte>(samples * static_cast<std::size_t>(sample_size));
}

// Empties a line; returns the fill to begin with. The line then holds as many zeroes, so that the first output comes
// `delay` samples into the stream, or at once with `preroll`.
inline std::int32_t start_line(std::byte *line, std::int32_t sample_size, std::int32_t window, std::int32_t delay,
                               bool preroll) {
  const std::int32_t fill = std::min(window - (preroll ? 1 : delay), window - 1);
  std::memset(line, 0, static_cast<std::size_t>(fill) * static_cast<std::size_t>(sample_size));
  return fill;
}

template <typename Sample>
class WindowLine {
public:
  // `fill` is the stage's count of samples in `line`; negative: so many samples to skip.
  WindowLine(std::int32_t &fill, std::int32_t window, std::byte *line, const void *in, std::int32_t in_stride,
             std::int32_t count)
      : fill_(fill),
        window_(window),
        line_(reinterpret_cast<Sample *>(line)),
        in_(static_cast<const Sample *>(in)),
        in_stride_(in_stride),
        count_(count) {}

  // Takes the beginning of the block into the line until that is full. False when this used up the block.
  // Skipping counts samples and leaves the block's start where it is.
  bool begin() {
    if (fill_ < 0) {
      const std::int32_t skipped = std::min(-fill_, count_);
      fill_ += skipped;
      count_ -= skipped;
    }
    return count_ > 0 && top_up();
  }

  // Calls `run(samples, available)` for one contiguous stretch of the line and the block after the other. It gives the
  // outputs of all windows that lie within the `available` samples, beginning with the first, and returns where the
  // first window begins that does not.
  template <typename Run>
  void run(Run run) {
    do {
      const std::int32_t laid = std::min(count_, piece_samples(sizeof(Sample)));
      copy_samples(sizeof(Sample), in_, in_stride_, line_ + past(), 1, laid);
      const std::int64_t next = run(line_, std::int64_t{past()} + laid);
      advance(next - past(), laid);
    } while (count_ > 0 && top_up());
  }

  // What lies in a full line and in the block behind it, for a stage that uses them in another way.
  const Sample *line() const { return line_; }
  const Sample *in() const { return in_; }
  std::int32_t count() const { return count_; }

  // Ends the block. `next` is where in it the next window begins; negative in the line, beyond the block behind it.
  void end(std::int64_t next) { advance(next, count_); }

private:
  std::int32_t past() const { return window_ - 1; }

  bool top_up() {
    const std::int32_t missing = std::min(past() - fill_, count_);
    const void *in = in_;
    copy_to_delay_line(sizeof(Sample), line_ + fill_, &in, in_stride_, missing);
    in_ = static_cast<const Sample *>(in);
    fill_ += missing;
    count_ -= missing;
    return count_ > 0;
  }

  // Leaves `used` samples of the block behind, or all up to `next` where that lies further on.
  void advance(std::int64_t next, std::int32_t used) {
    if (next < used) {
      const auto position = static_cast<std::int32_t>(next);
      fill_ = save_delay_line(sizeof(Sample), position, line_, past(), past(), in_, in_stride_, used);
    } else {
      used = static_cast<std::int32_t>(std::min<std::int64_t>(next, count_));
      fill_ = static_cast<std::int32_t>(used - next);
    }
    in_ += std::ptrdiff_t{used} * in_stride_;
    count_ -= used;
  }

  std::int32_t &fill_;
  const std::int32_t window_;
  Sample *const line_;
  const Sample *in_;
  const std::int32_t in_stride_;
  std::int32_t count_;
};

}  // namespace auspool
