#include "resampler/stages/fft/fft_polyphase.h"

#include <gtest/gtest.h>

#include "auspool/filter_design.h"
#include "support/fft_stage.h"

using namespace auspool;
using namespace auspool::testing;

TEST(FftPolyphase, TheTransformIsSizedByTheTapsOfABranch) {
  const Stage stage(fft_spec(3, 1, 561), 4);
  const fft_shape &shape = plain_state(stage).shape;
  EXPECT_EQ(shape.taps, 187);
  EXPECT_EQ(shape.fft_size, 512);
  EXPECT_EQ(shape.log2_size, 9);
  EXPECT_EQ(shape.valid, 512 - 187 + 1);
  EXPECT_EQ(shape.line_length(), 512);
  const Stage down(fft_spec(1, 2, 345), 4);
  EXPECT_EQ(plain_state(down).shape.taps, 173);
  EXPECT_EQ(plain_state(down).shape.line_length(), 1024);
  EXPECT_EQ(plain_state(down).line_stride, 1024);
}

// Half a window of silence comes before the first sample, in whole samples, rounded down.
TEST(FftPolyphase, ALineBeginsWithHalfAWindow) {
  EXPECT_EQ(plain_state(Stage(fft_spec(3, 1, 561), 4)).fill, 93);
  EXPECT_EQ(plain_state(Stage(fft_spec(1, 2, 345), 4)).fill, (346 - 1) / 2);
  EXPECT_EQ(plain_state(Stage(fft_spec(1, 1, 1), 4)).fill, 0);
}

// With minimum phase what comes before the first sample is what lies before the filter's peak, in whole input samples.
TEST(FftPolyphase, AMinimumPhaseLineBeginsBeforeThePeak) {
  for (const auto &[up, down] : {std::pair{12, 1}, {1, 12}, {1, 1}}) {
    stage_spec spec = fft_spec(up, down, 1202);
    spec.minimum_phase = 1;
    std::int32_t peak = 0;
    std::free(create_lp_filter(spec.length, AU_WINDOW_KAISER, 1, &peak, spec.gain, spec.cutoff, spec.kaiser_beta));
    ASSERT_GE(peak, up * down > 1 ? 12 : 0);
    const Stage stage(spec, 8);
    EXPECT_EQ(plain_state(stage).fill, down * plain_state(stage).shape.taps - 1 - peak / up);
  }
}

// A whole line has fewer samples than one transform for each branch has; the count looks at one transform's.
TEST(FftPolyphase, ADecimatorTellsABlockEarly) {
  Stage stage(fft_spec(1, 4, 400), 8);
  const fft_shape &shape = plain_state(stage).shape;
  const std::int32_t count = shape.line_length() - plain_state(stage).fill - 1;
  EXPECT_EQ(stage.outputs(count), shape.block_outputs());
  std::vector<double> out;
  EXPECT_EQ(stage.process<double>(std::vector<double>(static_cast<std::size_t>(count)), out), 0);
  EXPECT_EQ(stage.process<double>(std::vector<double>(1), out), shape.block_outputs());
}

TEST(FftPolyphase, InputSamplesAreThoseOfWholeBlocks) {
  const Stage stage(fft_spec(3, 1, 561), 4);
  const fft_shape &shape = plain_state(stage).shape;
  const std::int32_t fill = plain_state(stage).fill;
  EXPECT_EQ(stage.inputs(1), 512 - fill);
  EXPECT_EQ(stage.inputs(3 * shape.valid - 1), 512 - fill);
  EXPECT_EQ(stage.inputs(3 * shape.valid), 512 + shape.valid - fill) << "a whole block counts as one more";
}

// The longest filter that plans reach.
TEST(FftPolyphase, AMillionTapsAreAStage) {
  const stage_spec spec = fft_spec(1, 1, 1369093);
  Stage stage(spec, 8);
  EXPECT_EQ(plain_state(stage).shape.log2_size, 21);
  std::vector<double> in(static_cast<std::size_t>(stage.inputs(1))), out;
  in[0] = 1.0;
  stage.process<double>(in, out);
  double *prototype =
      create_lp_filter(spec.length, AU_WINDOW_KAISER, 0, nullptr, spec.gain, spec.cutoff, spec.kaiser_beta);
  double greatest = 0;
  for (std::size_t i = 0; i < 600000; ++i) {
    greatest = std::max(greatest, std::abs(out[i] - prototype[spec.length / 2 + static_cast<std::ptrdiff_t>(i)]));
  }
  std::free(prototype);
  EXPECT_LT(greatest, 1e-15);
}
