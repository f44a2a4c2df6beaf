// A two-channel resampler, and conversions of blocks through either of its entry points.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "resampler/resampler/context.h"
#include "support/signals.h"

namespace auspool::testing {

class TwoChannelResampler : public ::testing::Test {
protected:
  using Handle = std::unique_ptr<resampler, decltype(&resampler_destroy)>;
  static Handle make() { return {resampler_create(), resampler_destroy}; }

  std::uint32_t needed(std::int32_t frames, double in, double out) const {
    return static_cast<std::uint32_t>(resampler_frames_in(context.get(), frames, in, out));
  }

  // Converts interleaved frames, of which there must be as many as needed, and leaves in `input` what the call made
  // of them.
  Samples convert(Samples &input, std::uint32_t frames, double in, double out) {
    Samples output(2 * frames);
    EXPECT_EQ(resampler_resample_i2ch(context.get(), input.data(), output.data(), frames, in, out), frames);
    return output;
  }

  // Converts the next part of a signal, the same in both channels, and returns the left.
  Samples next(std::uint32_t frames, double in, double out) {
    Samples input(2 * needed(static_cast<std::int32_t>(frames), in, out));
    for (std::size_t i = 0; i < input.size() / 2; ++i, ++taken_) {
      input[2 * i] = input[2 * i + 1] = taken_ < signal.size() ? signal[taken_] : 0.0f;
    }
    const Samples both = convert(input, frames, in, out);
    Samples left(frames);
    for (std::size_t i = 0; i < frames; ++i) {
      left[i] = both[2 * i];
      EXPECT_EQ(std::memcmp(&both[2 * i], &both[2 * i + 1], sizeof(float)), 0);  // a NaN, too
    }
    return left;
  }
  void restart(Samples new_signal) {
    signal = std::move(new_signal);
    taken_ = 0;
    context = make();
  }

  static bool is_zero(const float *values, std::size_t count) {
    return std::all_of(values, values + count, [](float value) { return value == 0.0f; });
  }
  // How many sections have heard anything.
  int sections_used() const {
    int used = 0;
    while (used < 8 && !is_zero(context->filter_input[used], 4)) ++used;
    return used;
  }

  Handle context = make();
  Samples signal;

private:
  std::size_t taken_ = 0;
};

// Frame i is i + 1.
inline Samples line(std::size_t frames) {
  Samples samples(frames);
  for (std::size_t i = 0; i < frames; ++i) samples[i] = static_cast<float>(i + 1);
  return samples;
}

}  // namespace auspool::testing
