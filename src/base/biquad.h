// The low-pass biquad of the light rate converters, against images and aliases, in single precision.
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

inline constexpr auto sum_terms = [](const BiquadCoefficients &c, const BiquadState &s, float x) {
  return c.b0 * (x + s.x2) + c.b1 * s.x1 - c.a1 * s.y1 - c.a2 * s.y2;
};

template <typename Sum = decltype(sum_terms)>
float filter_one(const BiquadCoefficients &c, BiquadState &s, float x, const Sum &sum = sum_terms) {
  const float y = sum(c, s, x);
  s.x2 = s.x1;
  s.x1 = x;
  s.y2 = s.y1;
  s.y1 = y;
  return y;
}

// A NaN or an infinity would go round for ever: a state that holds one starts afresh.
inline BiquadState without_infinity(const BiquadState &s) {
  return std::isfinite(s.y1) ? s : BiquadState{};
}

// Filters `count` samples in place, `stride` floats apart.
inline void filter_in_place(const BiquadCoefficients &coefficients, BiquadState &state, float *samples,
                            std::size_t count, std::size_t stride) {
  const BiquadCoefficients c = coefficients;
  BiquadState s = state;
  for (std::size_t i = 0; i < count; ++i) samples[i * stride] = filter_one(c, s, samples[i * stride]);
  state = without_infinity(s);
}

// The same for two channels at once, in little more time than one takes: each output waits for the one before, and the
// channels do not wait for each other. `sum` is the order in which a sample's terms are added.
template <typename Sum = decltype(sum_terms)>
void filter_pair_in_place(const BiquadCoefficients &coefficients, BiquadState &left_state, BiquadState &right_state,
                          float *left, float *right, std::size_t count, std::size_t stride,
                          const Sum &sum = sum_terms) {
  const BiquadCoefficients c = coefficients;
  BiquadState l = left_state, r = right_state;
  for (std::size_t i = 0; i < count; ++i) {
    left[i * stride] = filter_one(c, l, left[i * stride], sum);
    right[i * stride] = filter_one(c, r, right[i * stride], sum);
  }
  left_state = without_infinity(l);
  right_state = without_infinity(r);
}

}  // namespace auspool
