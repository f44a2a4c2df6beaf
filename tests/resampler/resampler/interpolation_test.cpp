// The polynomial to the last bit: in single precision, its terms in one order, at the edges of a block and within.
#include "resampler/resampler/interpolation.h"

#include <gtest/gtest.h>

#include <cmath>

#include "resampler/resampler/fixture.h"

namespace auspool {
namespace {

using testing::Samples;
using ResamplerInterpolation = testing::TwoChannelResampler;

float between(float a, float b, float c, float d, float f) {
  constexpr float kSixth = 0.16666667f;
  const float bc = b - c;
  const float cubic = (bc * 3.0f + d - a) * (f * f * f * kSixth);
  const float square = (a - b - bc) * (f * f * 0.5f);
  const float linear = ((c - bc) * 3.0f - 2.0f * a - d) * (f * kSixth);
  return cubic + square + linear + b;
}

// Ratios without a filter.
TEST_F(ResamplerInterpolation, IsTheSameToTheLastBitEverywhere) {
  const std::uint32_t no_shortcut = 1;
  for (const double out : {44100.0, 44037.0, 45900.0, 40200.0}) {
    context = make();
    resampler_set_options(context.get(), &no_shortcut);
    const double ratio = 44100.0 / out;
    double position = 0;
    Samples heard(3);  // all of the left channel, behind three frames of silence
    std::size_t begin = 3;
    for (const std::uint32_t frames : {50u, 1u, 2u, 333u, 7u, 128u}) {
      const std::uint32_t used = needed(static_cast<std::int32_t>(frames), 44100, out);
      Samples input = testing::noise(2 * used, frames);
      for (std::size_t i = 0; i < used; ++i) heard.push_back(input[2 * i]);
      const Samples output = convert(input, frames, 44100, out);
      for (std::uint32_t i = 0; i < frames; ++i) {
        const double t = position + i * ratio;
        const double frame = std::max(0.0, std::floor(static_cast<double>(static_cast<float>(t))));
        const auto last = begin + static_cast<std::size_t>(std::min(frame, used > 0 ? used - 1.0 : 0.0));
        const float d = used > 0 ? heard[last] : heard.back();
        ASSERT_EQ(output[2 * i],
                  between(heard[last - 3], heard[last - 2], heard[last - 1], d, static_cast<float>(t - frame)))
            << out << " Hz, " << i << " of " << frames;
      }
      begin += used;
      position = (position + frames * ratio) - used;
    }
  }
}

TEST_F(ResamplerInterpolation, OfACubicIsThatCubic) {
  const auto cubic = [](double x) { return ((0.25 * x - 0.5) * x + 0.125) * x + 1; };
  for (float t = -1.0f; t <= 1.0f; t += 0.0625f) {
    // The place is `t` behind the second of the four.
    const float found = ResamplerPolynomial()(static_cast<float>(cubic(-1)), static_cast<float>(cubic(0)),
                                              static_cast<float>(cubic(1)), static_cast<float>(cubic(2)), t);
    EXPECT_NEAR(found, cubic(static_cast<double>(t)), 2e-6) << t;
  }
}

}  // namespace
}  // namespace auspool
