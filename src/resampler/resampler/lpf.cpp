#include "resampler/resampler/lpf.h"

#include <cmath>

namespace auspool {
namespace {

// One channel of one section: 1 is the newer.
struct State {
  float x2, x1, y1, y2;
};

// The terms are added in this order.
inline float step(const BiquadCoefficients &c, State &s, float x) {
  const float y = c.b1 * s.x1 + (s.x2 + x) * c.b0 - c.a2 * s.y2 - c.a1 * s.y1;
  s = {s.x1, x, y, s.y1};
  return y;
}

// A NaN or an infinity would go round for ever: a state that holds one starts afresh.
void store(const State &state, float *input, float *output) {
  const State s = std::isfinite(state.y1) ? state : State{};
  input[0] = s.x2;
  input[1] = s.x1;
  output[0] = s.y1;
  output[1] = s.y2;
}

void process(resampler &context, int section, float *left, float *right, std::size_t count, std::size_t stride,
             float cutoff) {
  if (cutoff != context.filter_cutoff) {
    context.filter_cutoff = cutoff;
    context.coefficients = low_pass_biquad(cutoff);
  }
  const BiquadCoefficients c = context.coefficients;
  float *input = context.filter_input[section];
  float *output = context.filter_output[section];
  State l = {input[0], input[1], output[0], output[1]};
  State r = {input[2], input[3], output[2], output[3]};
  for (std::size_t i = 0; i < count; ++i) {  // both at once: neither waits for the other
    left[i * stride] = step(c, l, left[i * stride]);
    right[i * stride] = step(c, r, right[i * stride]);
  }
  store(l, input, output);
  store(r, input + 2, output + 2);
}

}  // namespace

void lpf_process_i2ch(resampler &context, int section, float *frames, std::size_t count, float cutoff) {
  process(context, section, frames, frames + 1, count, 2, cutoff);
}

void lpf_process_ni2ch(resampler &context, int section, float *left, float *right, std::size_t count, float cutoff) {
  process(context, section, left, right, count, 1, cutoff);
}

}  // namespace auspool
