#include "resampler/resampler/lpf.h"

#include <cmath>
#include <limits>
#include <numbers>

#include "resampler/resampler/fixture.h"

namespace auspool {
namespace {

using testing::Samples;

using ResamplerSections = testing::TwoChannelResampler;

TEST_F(ResamplerSections, ComputeTheirCoefficientsForANewCutoffAlone) {
  float frame[2] = {};
  lpf_process_i2ch(*context, 0, frame, 1, 0.2f);
  EXPECT_EQ(context->filter_cutoff, 0.2f);
  const double w = 2 * std::numbers::pi * static_cast<double>(0.2f);
  const double g = 1 + std::sin(w) / 1.6;
  EXPECT_FLOAT_EQ(context->coefficients.b0, static_cast<float>((1 - std::cos(w)) / 2 / g));
  EXPECT_FLOAT_EQ(context->coefficients.b1, static_cast<float>((1 - std::cos(w)) / g));
  EXPECT_EQ(context->coefficients.b2, context->coefficients.b0);
  EXPECT_FLOAT_EQ(context->coefficients.a1, static_cast<float>(-2 * std::cos(w) / g));
  EXPECT_FLOAT_EQ(context->coefficients.a2, static_cast<float>((1 - std::sin(w) / 1.6) / g));
  context->coefficients.b0 = 7.0f;
  lpf_process_i2ch(*context, 3, frame, 1, 0.2f);
  EXPECT_EQ(context->coefficients.b0, 7.0f);
}

// In this order, without a fused multiply-add: other orders differ in the last bits.
TEST_F(ResamplerSections, AddTheirTermsInAFixedOrder) {
  const Samples input = testing::noise(300, 1);
  Samples left = input, right(300);
  lpf_process_ni2ch(*context, 0, left.data(), right.data(), 300, 0.31f);
  const BiquadCoefficients c = context->coefficients;
  float x1 = 0, x2 = 0, y1 = 0, y2 = 0;
  for (std::size_t i = 0; i < 300; ++i) {
    const float b1x1 = c.b1 * x1;
    const float outer = (x2 + input[i]) * c.b0;
    const float sum = b1x1 + outer;
    const float less = sum - c.a2 * y2;
    const float y = less - c.a1 * y1;
    ASSERT_EQ(left[i], y) << i;
    x2 = std::exchange(x1, input[i]);
    y2 = std::exchange(y1, y);
  }
}

TEST_F(ResamplerSections, KeepTheirStatesApartAndInOrder) {
  Samples left = {1, 2, 3}, right = {5, 6, 7};
  lpf_process_ni2ch(*context, 2, left.data(), right.data(), 3, 0.2f);
  const float *in = context->filter_input[2], *out = context->filter_output[2];
  EXPECT_EQ((Samples{in[0], in[1], in[2], in[3]}), (Samples{2, 3, 6, 7}));
  EXPECT_EQ((Samples{out[0], out[1], out[2], out[3]}), (Samples{left[2], left[1], right[2], right[1]}));
  for (int other : {0, 1, 3, 7}) EXPECT_TRUE(is_zero(context->filter_input[other], 4)) << other;
}

TEST_F(ResamplerSections, OneFrameMovesTheNewerInputToTheOlderPlace) {
  Samples frames = {1, 5, 2, 6};
  lpf_process_i2ch(*context, 0, frames.data(), 2, 0.2f);
  Samples one = {3, 7};
  lpf_process_i2ch(*context, 0, one.data(), 1, 0.2f);
  const float *in = context->filter_input[0], *out = context->filter_output[0];
  EXPECT_EQ((Samples{in[0], in[1], in[2], in[3]}), (Samples{2, 3, 6, 7}));
  EXPECT_EQ((Samples{out[0], out[1], out[2], out[3]}), (Samples{one[0], frames[2], one[1], frames[3]}));
}

TEST_F(ResamplerSections, NoFramesChangeNoState) {
  Samples frames = {1, 5};
  lpf_process_i2ch(*context, 0, frames.data(), 1, 0.2f);
  lpf_process_i2ch(*context, 0, frames.data(), 0, 0.2f);
  EXPECT_EQ(context->filter_input[0][1], 1.0f);
}

TEST_F(ResamplerSections, RecoverFromWhatIsNotANumber) {
  for (float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
    Samples frames = {1, bad, 2, 3};
    lpf_process_i2ch(*context, 0, frames.data(), 2, 0.2f);
    Samples next = testing::noise(20, 1);
    lpf_process_i2ch(*context, 0, next.data(), 10, 0.2f);
    for (float sample : next) EXPECT_TRUE(std::isfinite(sample));
  }
}

}  // namespace
}  // namespace auspool
