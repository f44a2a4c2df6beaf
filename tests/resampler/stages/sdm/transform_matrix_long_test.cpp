// Designs that compare spectra at 65536 frequencies, in seconds and over a gigabyte, beside those that the library
// makes: both meet their equations, and what comes out of them is the same signal.
#include <gtest/gtest.h>

#include <ostream>

#include "resampler/stages/sdm/find_sdm_trmx.h"
#include "resampler/stages/sdm/transform_equations.h"
#include "support/chains.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

struct Sizes {
  std::int32_t block, transform;
};

std::ostream &operator<<(std::ostream &out, const Sizes &sizes) {
  return out << sizes.block << " to " << sizes.transform;
}

class Designs : public ::testing::TestWithParam<Sizes> {};

// The real signal that overlapping transforms make of `in`, `blocks` of them.
std::vector<double> converted(const transform_matrix &matrix, const Sizes &sizes, const std::vector<double> &in,
                              std::size_t blocks) {
  const auto block = static_cast<std::size_t>(sizes.block), size = static_cast<std::size_t>(sizes.transform);
  const std::size_t count = (blocks + 1) * size / 2;
  std::vector<double> run(2 * count), out;
  for (std::size_t b = 0; b < blocks; ++b) {
    for (std::size_t row = 0; row < size; ++row) {
      for (std::size_t l = 0; l < block; ++l) {
        run[b * size / 2 + row] += matrix.real[row * block + l] * in[b * block + l];
        run[count + b * size / 2 + row] += matrix.imaginary[row * block + l] * in[b * block + l];
      }
    }
  }
  stage_spec spec = {};
  spec.type = RAESAMPLER_STAGE_COMPLEX_TO_REAL;
  spec.length = 10001;
  spec.window = 2;
  spec.kaiser_beta = 21.0;
  Stage(spec, 8).process<double>(run, out);
  return out;
}

}  // namespace

TEST_P(Designs, AtAllFrequenciesAndAtFewMakeTheSameSignal) {
  const Sizes sizes = GetParam();
  const transform_matrix *few = find_sdm_trmx(sizes.transform, sizes.block);
  ASSERT_TRUE(few);
  const TransformMatrix all = compute_transform_matrix(sizes.block, sizes.transform, 65536);
  ASSERT_TRUE(all);
  for (const transform_matrix *matrix : {few, const_cast<const transform_matrix *>(all.get())}) {
    const Residual residual = residual_of(*matrix, sizes.block, sizes.transform, 1500);
    EXPECT_LT(residual.mean, 1e-11);
    EXPECT_LT(residual.largest, 2e-10);
    std::cout << sizes << ": " << residual.mean << " on average, at most " << residual.largest << '\n';
  }
  const std::size_t blocks = 60000 / static_cast<std::size_t>(sizes.transform);
  const auto in = random_samples<double>(blocks * static_cast<std::size_t>(sizes.block), 3);
  const auto a = converted(*few, sizes, in, blocks), b = converted(*all, sizes, in, blocks);
  ASSERT_GT(a.size(), 10000u);
  const double difference = greatest_difference(a, b);
  EXPECT_LT(difference, 1e-10);
  std::cout << "the signals differ by " << difference << '\n';
}

INSTANTIATE_TEST_SUITE_P(Sizes, Designs,
                         ::testing::Values(Sizes{32, 32}, Sizes{64, 32}, Sizes{128, 32}, Sizes{256, 32}, Sizes{147, 80},
                                           Sizes{320, 294}, Sizes{294, 160}));
