// A sampler of one channel that pulls from, or is pushed, successive parts of a signal.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "buffers/ausampler.h"
#include "support/signals.h"

namespace auspool::testing {

class MonoSampler : public ::testing::Test {
protected:
  // Starts again, with another signal to take from.
  void restart(Samples signal) {
    signal_ = std::move(signal);
    taken_ = 0;
    ausampler_reset(sampler.get());
  }

  Samples pull(std::uint32_t frames, double rate_in, double rate_out) {
    const Samples source = take(needed(frames, rate_in, rate_out));
    Samples out(frames);
    EXPECT_EQ(ausampler_read_interleaved(sampler.get(), source.data(), out.data(), frames, rate_in, rate_out), frames);
    return out;
  }
  Samples push(std::uint32_t frames, double rate_in, double rate_out) {
    const Samples source = take(frames);
    Samples out(given(frames, rate_in, rate_out));
    EXPECT_EQ(ausampler_write_interleaved(sampler.get(), source.data(), out.data(), frames, rate_in, rate_out), frames);
    return out;
  }

  std::uint32_t needed(std::uint32_t frames, double rate_in, double rate_out) const {
    return ausampler_read_frames_in(sampler.get(), frames, rate_in, rate_out);
  }
  std::uint32_t given(std::uint32_t frames, double rate_in, double rate_out) const {
    return ausampler_write_frames_out(sampler.get(), frames, rate_in, rate_out);
  }

  std::unique_ptr<ausampler, decltype(&ausampler_destroy)> sampler{ausampler_create(1), ausampler_destroy};

private:
  // Silence follows the signal.
  Samples take(std::size_t frames) {
    Samples part(frames);
    for (std::size_t i = 0; i < frames && taken_ + i < signal_.size(); ++i) part[i] = signal_[taken_ + i];
    taken_ += frames;
    return part;
  }

  Samples signal_;
  std::size_t taken_ = 0;
};

// Frame i is i + 1: interpolation finds `position + 1` exactly, if not filtered.
inline Samples ramp(std::size_t frames) {
  Samples samples(frames);
  for (std::size_t i = 0; i < frames; ++i) samples[i] = static_cast<float>(i + 1);
  return samples;
}

}  // namespace auspool::testing
