// The low-pass biquad that the capture path uses against images and aliases, in single precision.
//
// The design is the bilinear second-order low-pass (R. Bristow-Johnson, "Cookbook formulae for
// audio EQ biquad filter coefficients") with alpha = sin(w) / (2 Q), Q = 0.8.
#pragma once

#include <cmath>
#include <cstddef>
#include <numbers>

namespace auspool {

struct BiquadCoefficients {
  float b0 = 0, b1 = 0, b2 = 0, a1 = 0, a2 = 0;
};

// `cutoff` is a fraction of the sample rate: 0.5 is the Nyquist frequency.
inline BiquadCoefficients low_pass_biquad(float cutoff) {
  const double w = std::numbers::pi * static_cast<double>(cutoff + cutoff);
  const double alpha = std::sin(w) / 1.6;
  const double a0 = 1.0 + alpha;
  const double cosine = std::cos(w);
  BiquadCoefficients c;
  c.b0 = c.b2 = static_cast<float>((1.0 - cosine) * 0.5 / a0);
  c.b1 = static_cast<float>((1.0 - cosine) / a0);
  c.a1 = static_cast<float>(-2.0 * cosine / a0);
  c.a2 = static_cast<float>((1.0 - alpha) / a0);
  return c;
}

// The last two inputs and outputs of one channel: 1 is the newer.
struct BiquadState {
  float x2 = 0, x1 = 0, y1 = 0, y2 = 0;
};

// Filters `count` samples in place, `stride` floats apart. A NaN or an infinity would go round for ever: the state
// starts afresh after the block that held one.
inline void filter_in_place(const BiquadCoefficients &c, BiquadState &state, float *samples, std::size_t count,
                            std::size_t stride) {
  BiquadState s = state;
  for (std::size_t i = 0; i < count; ++i) {
    const float x = samples[i * stride];
    const float y = c.b0 * (x + s.x2) + c.b1 * s.x1 - c.a1 * s.y1 - c.a2 * s.y2;
    s.x2 = s.x1;
    s.x1 = x;
    s.y2 = s.y1;
    s.y1 = y;
    samples[i * stride] = y;
  }
  state = std::isfinite(s.y1) ? s : BiquadState{};
}

}  // namespace auspool
