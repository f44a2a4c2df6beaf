#include "resampler/resampler/lpf.h"

namespace auspool {
namespace {

// Other low-passes of this library add in another order. Single precision tells the difference.
constexpr auto sum_in_order = [](const BiquadCoefficients &c, const BiquadState &s, float x) {
  return c.b1 * s.x1 + (s.x2 + x) * c.b0 - c.a2 * s.y2 - c.a1 * s.y1;
};

BiquadState load(const float *input, const float *output) {
  return {.x2 = input[0], .x1 = input[1], .y1 = output[0], .y2 = output[1]};
}

void store(const BiquadState &s, float *input, float *output) {
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
  float *input = context.filter_input[section];
  float *output = context.filter_output[section];
  BiquadState l = load(input, output), r = load(input + 2, output + 2);
  filter_pair_in_place(context.coefficients, l, r, left, right, count, stride, sum_in_order);
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
