#include "platform/fft.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <stdexcept>
#include <utility>
#include <vector>

#include "platform/fft_oracle.h"
#include "platform/vector_targets.h"
#include "support/watch.h"

namespace auspool {
namespace {

using testing::FftBuffers;
using testing::noise_of;

template <class Test>
void on_every_target(const Test &test) {
  for (const vector::Target &target : vector::targets()) {
    const vector::OnlyTarget only(target);
    SCOPED_TRACE(target.name);
    test();
  }
}

template <typename T>
class RealFftOf : public ::testing::Test {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(RealFftOf, Types);

// Bin `k` of the mathematical spectrum, real part first, straight from its definition.
template <typename T>
std::pair<double, double> bin(const std::vector<T> &samples, std::size_t k) {
  double real = 0;
  double imaginary = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const auto turns = static_cast<double>(i * k % samples.size()) / static_cast<double>(samples.size());
    real += static_cast<double>(samples[i]) * std::cos(2 * std::numbers::pi * turns);
    imaginary -= static_cast<double>(samples[i]) * std::sin(2 * std::numbers::pi * turns);
  }
  return {real, imaginary};
}

TYPED_TEST(RealFftOf, ForwardGivesTwiceTheSpectrumPacked) {
  on_every_target([] {
    const double tolerance = 400 * double{std::numeric_limits<TypeParam>::epsilon()};
    for (int log2_size = 1; log2_size <= 9; ++log2_size) {
      const RealFft<TypeParam> fft(log2_size);
      const auto samples = noise_of<TypeParam>(fft.size(), 1);
      FftBuffers<TypeParam> b(fft.size());
      fft.forward(samples.data(), b.spectrum.data(), b.work.data());
      const std::size_t half = fft.size() / 2;
      EXPECT_NEAR(b.spectrum[0], 2 * bin(samples, 0).first, tolerance);
      EXPECT_NEAR(b.spectrum[half], 2 * bin(samples, half).first, tolerance);
      for (std::size_t k = 1; k < half; ++k) {
        EXPECT_NEAR(b.spectrum[k], 2 * bin(samples, k).first, tolerance) << fft.size() << " points, bin " << k;
        EXPECT_NEAR(b.spectrum[half + k], 2 * bin(samples, k).second, tolerance) << fft.size() << " points, bin " << k;
      }
    }
  });
}

TYPED_TEST(RealFftOf, AgreesWithTheOracleAtEverySize) {
  on_every_target([] {
    for (int log2_size = 1; log2_size <= 13; ++log2_size) testing::expect_like_oracle<TypeParam>(log2_size);
  });
  for (int log2_size = 14; log2_size <= 17; ++log2_size) testing::expect_like_oracle<TypeParam>(log2_size);
}

TYPED_TEST(RealFftOf, UnorderedSpectraConvolve) {
  on_every_target([] {
    for (int log2_size = 1; log2_size <= 13; ++log2_size) testing::expect_convolves_like_oracle<TypeParam>(log2_size);
  });
}

TYPED_TEST(RealFftOf, ProductsAddUp) {
  for (const int log2_size : {3, 5, 6, 7, 9}) {
    const RealFft<TypeParam> fft(log2_size);
    const auto a = noise_of<TypeParam>(fft.size(), 1);
    const auto b = noise_of<TypeParam>(fft.size(), 2);
    std::vector<TypeParam> once(fft.size());
    fft.multiply(a.data(), b.data(), once.data());
    std::vector<TypeParam> twice(fft.size());
    fft.multiply_add(a.data(), b.data(), twice.data());
    fft.multiply_add(a.data(), b.data(), twice.data());
    for (std::size_t i = 0; i < fft.size(); ++i) EXPECT_NEAR(twice[i], 2 * once[i], 1e-6) << fft.size() << ' ' << i;
  }
}

TYPED_TEST(RealFftOf, UnorderedTransformsMayReuseTheirInput) {
  on_every_target([] {
    for (int log2_size = 1; log2_size <= 12; ++log2_size) {
      const RealFft<TypeParam> fft(log2_size);
      const auto samples = noise_of<TypeParam>(fft.size(), 1);
      FftBuffers<TypeParam> apart(fft.size()), together(fft.size());
      fft.forward_unordered(samples.data(), apart.spectrum.data(), apart.work.data());
      std::copy(samples.begin(), samples.end(), together.work.begin());
      fft.forward_unordered(together.work.data(), together.spectrum.data(), together.work.data());
      ASSERT_EQ(together.spectrum, apart.spectrum) << fft.size();
      fft.inverse_unordered(apart.spectrum.data(), apart.back.data(), apart.work.data());
      fft.inverse_unordered(together.spectrum.data(), together.spectrum.data(), together.work.data());
      ASSERT_EQ(together.spectrum, apart.back) << fft.size();
    }
  });
}

TYPED_TEST(RealFftOf, SumsOfProductsAreThoseOfTheProducts) {
  on_every_target([] {
    for (const int log2_size : {3, 5, 7, 9}) {
      const RealFft<TypeParam> fft(log2_size);
      for (std::size_t count = 1; count <= 10; ++count) {
        const auto a = noise_of<TypeParam>(count * fft.size(), 1);
        const auto b = noise_of<TypeParam>(count * fft.size(), 2);
        std::vector<const TypeParam *> places;
        for (std::size_t k = 0; k < count; ++k) places.push_back(a.data() + (k * 3 % count) * fft.size());
        for (const bool adds : {false, true}) {
          std::vector<TypeParam> sum(fft.size(), 1), expected(fft.size(), adds ? 1 : 0);
          fft.multiply_sum(places.data(), b.data(), count, adds, sum.data());
          for (std::size_t k = 0; k < count; ++k)
            fft.multiply_add(places[k], b.data() + k * fft.size(), expected.data());
          for (std::size_t i = 0; i < sum.size(); ++i) {
            ASSERT_NEAR(sum[i], expected[i], 1e-5) << count << " of " << fft.size() << " points, at " << i;
          }
        }
      }
    }
  });
}

TYPED_TEST(RealFftOf, TheWayBackOfAProductIsThatOfTheProduct) {
  on_every_target([] {
    for (int log2_size = 1; log2_size <= 13; ++log2_size) {
      const RealFft<TypeParam> fft(log2_size);
      const auto a = noise_of<TypeParam>(fft.size(), 1);
      const auto b = noise_of<TypeParam>(fft.size(), 2);
      FftBuffers<TypeParam> apart(fft.size()), together(fft.size());
      fft.multiply(a.data(), b.data(), apart.spectrum.data());
      fft.inverse_unordered(apart.spectrum.data(), apart.back.data(), apart.work.data());
      fft.inverse_product(a.data(), b.data(), together.back.data(), together.work.data());
      ASSERT_EQ(together.back, apart.back) << fft.size();
    }
  });
}

TYPED_TEST(RealFftOf, ArraysNeedNoAlignment) {
  on_every_target([] {
    for (const int log2_size : {4, 6, 8, 11}) {
      const RealFft<TypeParam> fft(log2_size);
      const std::size_t size = fft.size();
      const auto samples = noise_of<TypeParam>(size + 1, 1);
      std::vector<TypeParam> spectrum(size + 1, 7);
      std::vector<TypeParam> back(size + 3, 7);
      std::vector<TypeParam> work(size + 1);
      const auto expect_back = [&] {
        const TypeParam scale = 2 * static_cast<TypeParam>(size);
        for (std::size_t i = 0; i < size; ++i) EXPECT_NEAR(back[i + 3] / scale, samples[i + 1], 1e-6) << i;
        EXPECT_EQ(spectrum[0], 7);
        EXPECT_EQ(back[2], 7);
      };
      fft.forward(&samples[1], &spectrum[1], &work[1]);
      fft.inverse(&spectrum[1], &back[3], &work[1]);
      expect_back();
      fft.forward_unordered(&samples[1], &spectrum[1], &work[1]);
      fft.inverse_unordered(&spectrum[1], &back[3], &work[1]);
      expect_back();
    }
  });
}

TYPED_TEST(RealFftOf, TheTwoRealBinsStandInElementZero) {
  for (const int log2_size : {1, 4, 5, 10}) {
    const RealFft<TypeParam> fft(log2_size);
    std::vector<TypeParam> samples(fft.size(), 1);
    FftBuffers<TypeParam> b(fft.size());
    fft.forward(samples.data(), b.spectrum.data(), b.work.data());
    const auto expect_only = [&](std::size_t where) {
      for (std::size_t k = 0; k < fft.size(); ++k) {
        const std::size_t expected = k == where ? 2 * fft.size() : 0;
        EXPECT_NEAR(b.spectrum[k], static_cast<TypeParam>(expected), 1e-5) << k << " of " << fft.size();
      }
    };
    expect_only(0);

    for (std::size_t i = 1; i < fft.size(); i += 2) samples[i] = -1;
    fft.forward(samples.data(), b.spectrum.data(), b.work.data());
    expect_only(fft.size() / 2);
  }
}

TEST(RealFft, RefusesSizesThatItDoesNotHave) {
  EXPECT_THROW(RealFft<double>(0), std::invalid_argument);
  EXPECT_THROW(RealFft<double>(-1), std::invalid_argument);
  EXPECT_THROW(RealFft<float>(RealFft<float>::kMaxLog2 + 1), std::invalid_argument);
}

TEST(RealFft, TransformsOfOneSizeShareTheirTables) {
  const long before = testing::allocation_count();
  const RealFft<double> first(12);
  const long for_the_first = testing::allocation_count() - before;
  const RealFft<double> second(12);
  EXPECT_GT(for_the_first, 0);
  EXPECT_EQ(testing::allocation_count() - before, for_the_first);
}

TEST(RealFft, LeavesNothingBehind) {
  const long before = testing::live_allocations();
  {
    const RealFft<double> fft(10);
    const RealFft<float> same_size(10);
    const RealFft<double> small(3);
  }
  EXPECT_EQ(testing::live_allocations(), before);
}

TEST(RealFft, AFailedAllocationLeavesNothingBehind) {
  for (const int log2_size : {3, 8}) {
    const long before = testing::live_allocations();
    const int failed = testing::fail_each_allocation([&] {
      try {
        const RealFft<float> fft(log2_size);
        return true;
      } catch (const std::bad_alloc &) {
        return false;
      }
    });
    EXPECT_GT(failed, 0);
    EXPECT_EQ(testing::live_allocations(), before);
  }
}

TEST(RealFft, RunsOnTheAudioThread) {
  const RealFft<double> fft(11);
  const RealFft<float> small(4);
  FftBuffers<double> b(fft.size());
  FftBuffers<float> s(small.size());
  const auto run_all = [&] {
    fft.forward(b.back.data(), b.spectrum.data(), b.work.data());
    fft.inverse(b.spectrum.data(), b.back.data(), b.work.data());
    fft.forward_unordered(b.back.data(), b.spectrum.data(), b.work.data());
    fft.multiply(b.spectrum.data(), b.spectrum.data(), b.spectrum.data());
    fft.inverse_unordered(b.spectrum.data(), b.back.data(), b.work.data());
    fft.inverse_product(b.spectrum.data(), b.spectrum.data(), b.back.data(), b.work.data());
    small.forward(s.back.data(), s.spectrum.data(), s.work.data());
    small.inverse(s.spectrum.data(), s.back.data(), s.work.data());
  };
  {
    const testing::RealtimeGuard guard;
    run_all();
  }
  if (!testing::run_without_system_calls(run_all)) GTEST_SKIP() << "the kernel does not refuse system calls here";
}

}  // namespace
}  // namespace auspool
