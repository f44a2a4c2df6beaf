#include "resampler/stages/fft/up_fft_polyphase.h"

#include <gtest/gtest.h>

#include "auspool/filter_design.h"
#include "support/fft_stage.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

std::int32_t block_of(std::int32_t latency_samples) {
  const Stage stage(fft_spec(1, 1, 500), 8, 1, latency_samples);
  EXPECT_EQ(partitioned_state(stage).shape.fft_size, 2 * partitioned_state(stage).shape.valid);
  return partitioned_state(stage).shape.valid;
}

}  // namespace

TEST(UpFftPolyphase, ABlockIsAPowerOfTwoWithinTheLatencyAndSixtyFourAtLeast) {
  EXPECT_EQ(block_of(1), 64);
  EXPECT_EQ(block_of(64), 64);
  EXPECT_EQ(block_of(127), 64);
  EXPECT_EQ(block_of(128), 128);
  EXPECT_EQ(block_of(1000), 512);
}

TEST(UpFftPolyphase, AFilterAsLongAsABlockIsOnePartition) {
  EXPECT_EQ(partitioned_state(Stage(fft_spec(1, 1, 64), 8, 1, 64)).partitions, 1);
  EXPECT_EQ(partitioned_state(Stage(fft_spec(1, 1, 65), 8, 1, 64)).partitions, 2);
  EXPECT_EQ(partitioned_state(Stage(fft_spec(3, 1, 3 * 128), 8, 1, 128)).partitions, 1);
  EXPECT_EQ(partitioned_state(Stage(fft_spec(1, 3, 3 * 128 + 1), 8, 1, 128)).partitions, 2);
}

// The delay that is taken out: half the window and half a line, at most a line.
TEST(UpFftPolyphase, MoreThanALineOfDelayStaysIn) {
  EXPECT_EQ(partitioned_state(Stage(fft_spec(1, 1, 21), 8, 1, 64)).fill, 128 - (21 + 128 - 1) / 2);
  EXPECT_EQ(partitioned_state(Stage(fft_spec(1, 2, 42), 8, 1, 64)).fill, 256 - (42 + 256 - 1) / 2);
  EXPECT_EQ(partitioned_state(Stage(fft_spec(1, 1, 129), 8, 1, 64)).fill, 0);
  Stage late(fft_spec(1, 1, 1001), 8, 1, 64);
  EXPECT_EQ(partitioned_state(late).fill, 0);
  EXPECT_EQ(500 - first_of(late), (1001 - 1) / 2 - 64) << "the rest of the filter's delay";
}

TEST(UpFftPolyphase, AMinimumPhaseDelayCountsInBranches) {
  for (const auto &[up, down] : {std::pair{12, 1}, {1, 12}, {1, 1}}) {
    stage_spec spec = fft_spec(up, down, 1202);
    spec.minimum_phase = 1;
    std::int32_t peak = 0;
    std::free(create_lp_filter(spec.length, AU_WINDOW_KAISER, 1, &peak, spec.gain, spec.cutoff, spec.kaiser_beta));
    ASSERT_GE(peak, up * down > 1 ? 12 : 0);
    const Stage stage(spec, 8, 1, 64);
    EXPECT_EQ(partitioned_state(stage).fill, down * 128 - (peak / std::max(up, down) + down * 64));
  }
}

// A filter of many partitions needs input from before the first block: the first outputs are exact.
TEST(UpFftPolyphase, TheFirstSamplesAreExact) {
  for (const auto &[up, down] : {std::pair{1, 1}, {3, 1}, {1, 2}}) {
    const stage_spec spec = fft_spec(up, down, 1500 * std::max(up, down));
    Stage stage(spec, 8, 1, 88);
    const auto in = random_samples<double>(4000, 1);
    const auto plain = plain_filter(spec, in, first_of(stage));
    std::vector<double> out;
    stage.process<double>(in, out);
    const auto first = static_cast<std::size_t>(partitioned_state(stage).partitions * 64 * up);
    ASSERT_GT(out.size(), first / 2);
    for (std::size_t i = 0; i < std::min(first, out.size()); ++i) ASSERT_NEAR(out[i], plain[i], 1e-13) << i;
  }
}

// Each block's spectrum moves on to the next older partition, and the oldest place takes the next one.
TEST(UpFftPolyphase, TheOldestPlaceBecomesTheNewest) {
  Stage stage(fft_spec(1, 2, 2 * 64 * 4), 8, 1, 64);
  const up_fft_polyphase &state = partitioned_state(stage);
  ASSERT_EQ(state.partitions, 4);
  const std::vector<double *> before(state.spectrum_index.get(), state.spectrum_index.get() + 8);
  std::vector<double> out;
  stage.process<double>(std::vector<double>(static_cast<std::size_t>(stage.inputs(1))), out);
  ASSERT_EQ(out.size(), 64u);
  for (std::size_t branch = 0; branch < 2; ++branch) {
    for (std::size_t k = 0; k < 4; ++k) {
      EXPECT_EQ(state.spectrum_index[4 * branch + (k + 1) % 4], before[4 * branch + k]);
    }
  }
}

TEST(UpFftPolyphase, ProductsOfPartitionsAddUpWithTheTwoRealBinsApart) {
  const RealFft<double> fft(6);
  std::vector<double> filter = random_samples<double>(3 * 64, 1), spectra = random_samples<double>(3 * 64, 2);
  double *slots[] = {spectra.data() + 128, spectra.data(), spectra.data() + 64};
  std::vector<double> sum(64), expected(64), product(64);
  up_fft_madd(fft, filter.data(), slots, 3, true, sum.data());
  for (std::size_t i = 0; i < 3; ++i) {
    fft.multiply(slots[i], filter.data() + 64 * i, product.data());
    for (std::size_t k = 0; k < 64; ++k) expected[k] += product[k];
  }
  EXPECT_LT(greatest_difference(sum, expected), 1e-14);
  up_fft_madd(fft, filter.data(), slots, 3, false, sum.data());
  for (double &value : expected) value *= 2;
  EXPECT_LT(greatest_difference(sum, expected), 1e-14);
}
