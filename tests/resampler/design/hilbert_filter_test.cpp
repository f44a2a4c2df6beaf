#include <auspool/filter_design.h>
#include <gtest/gtest.h>

#include <complex>
#include <numbers>

#include "support/responses.h"
#include "support/watch.h"

using namespace auspool::testing;

namespace {

std::vector<double> designed(std::int32_t length, std::int32_t window, double beta) {
  return taken(create_hilbert_filter(length, window, beta), static_cast<std::size_t>(length));
}

// The response about the middle tap; `frequency` is a fraction of Nyquist.
std::complex<double> response(const std::vector<double> &taps, double frequency) {
  std::complex<double> sum = 0;
  const double middle = static_cast<double>(taps.size() - 1) / 2;
  for (std::size_t i = 0; i < taps.size(); ++i) {
    sum += taps[i] * std::polar(1.0, -std::numbers::pi * frequency * (static_cast<double>(i) - middle));
  }
  return sum;
}

}  // namespace

TEST(HilbertFilter, HasEveryOtherTapOfAnOddRow) {
  const auto taps = designed(15, 3, 0);  // a window that does not exist
  for (int i = 0; i < 15; ++i) {
    const int k = i - 7;
    EXPECT_DOUBLE_EQ(taps[static_cast<std::size_t>(i)], k % 2 == 0 ? 0 : 2 / (k * std::numbers::pi)) << i;
  }
}

TEST(HilbertFilter, TurnsFrequenciesByAQuarter) {
  for (const std::int32_t window : {AU_WINDOW_HAMMING, AU_WINDOW_BLACKMAN, AU_WINDOW_KAISER}) {
    const auto taps = designed(1001, window, 10);
    for (const double frequency : {0.02, 0.3, 0.5, 0.98}) {
      const auto found = response(taps, frequency);
      EXPECT_NEAR(found.real(), 0, 1e-12);
      EXPECT_NEAR(found.imag(), -1, window == AU_WINDOW_HAMMING ? 3e-3 : 2e-4) << window << ' ' << frequency;
    }
    EXPECT_NEAR(std::abs(response(taps, 0)), 0, 1e-12);
    EXPECT_NEAR(std::abs(response(taps, 1)), 0, 1e-12);
  }
}

TEST(HilbertFilter, IsNoneForAnEvenLengthAndForOneTap) {
  for (const std::int32_t length : {-3, -2, 0, 1, 2, 10000}) {
    EXPECT_FALSE(create_hilbert_filter(length, AU_WINDOW_KAISER, 21)) << length;
  }
}

TEST(HilbertFilter, IsNoneWhereMemoryRunsOut) {
  EXPECT_EQ(fail_each_allocation([] {
              double *taps = create_hilbert_filter(101, AU_WINDOW_KAISER, 21);
              std::free(taps);
              return taps != nullptr;
            }),
            1);
}
