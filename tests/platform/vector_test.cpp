#include "platform/vector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <vector>

#include "platform/vector/reference.h"
#include "platform/vector_targets.h"
#include "support/signals.h"
#include "support/watch.h"

namespace auspool::vector {
namespace {

// Lengths around the widths of vectors and of groups of four of them, and those of filters.
const std::vector<std::size_t> kCounts = {0,  1,  2,  3,  4,  5,  7,  8,  9,  15,  16,  17,  31,  32,  33,  47,  48, 49,
                                          53, 63, 64, 65, 66, 79, 80, 81, 99, 127, 128, 129, 255, 256, 257, 447, 513};

// Samples in memory of just their number, so that the address sanitizer sees whatever is read beyond them.
template <typename T>
std::vector<T> samples(std::size_t count, std::uint32_t seed) {
  const auto noise = testing::noise(count, seed, 1.0);
  return {noise.begin(), noise.end()};
}

// Products are of the order of 1, and roundings of their sums partly cancel.
template <typename T>
T tolerance(std::size_t count) {
  return std::numeric_limits<T>::epsilon() * static_cast<T>(2 + count / 4);
}

// Runs a test once for each processor target.
template <class Test>
void on_every_target(const Test &test) {
  for (const Target &target : targets()) {
    const OnlyTarget only(target);
    SCOPED_TRACE(target.name);
    test();
  }
}

template <typename T>
class VectorOf : public ::testing::Test {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(VectorOf, Types);

TEST(VectorTargets, TheFallbackIsAmongThem) {
  const auto all = targets();
  ASSERT_FALSE(all.empty());
  EXPECT_TRUE(all.back().name == "SCALAR" || all.back().name == "EMU128" || all.size() == 1) << all.back().name;
}

TYPED_TEST(VectorOf, DotIsTheSumOfProductsAtEveryLengthAndPlace) {
  on_every_target([] {
    for (const std::size_t count : kCounts) {
      for (const std::size_t offset : {0U, 1U, 3U}) {
        const auto a = samples<TypeParam>(count + offset, 1);
        const auto b = samples<TypeParam>(count + 1, 2);
        const TypeParam got = dot(a.data() + offset, b.data() + 1, count);
        EXPECT_NEAR(got, reference::dot(a.data() + offset, b.data() + 1, count), tolerance<TypeParam>(count)) << count;
      }
    }
  });
}

TYPED_TEST(VectorOf, AStridedDotHasTheBitsOfTheContiguousOne) {
  on_every_target([] {
    for (const std::size_t count : kCounts) {
      const auto b = samples<TypeParam>(count, 2);
      for (const std::ptrdiff_t stride : {1, 2, 3, 6, 64, -1, -2, -5}) {
        const std::size_t span = count == 0 ? 0 : (count - 1) * static_cast<std::size_t>(std::abs(stride)) + 1;
        const auto a = samples<TypeParam>(span, 3);
        const TypeParam *first = a.data() + (stride < 0 && span > 0 ? span - 1 : 0);
        std::vector<TypeParam> gathered(count);
        reference::copy(first, stride, gathered.data(), 1, count);
        EXPECT_EQ(dot_strided(first, stride, b.data(), count), dot(gathered.data(), b.data(), count))
            << count << " by " << stride;
      }
    }
  });
}

TYPED_TEST(VectorOf, ABlendedDotIsTheDotWithTheBlendedRow) {
  on_every_target([] {
    for (const std::size_t count : kCounts) {
      const auto a = samples<TypeParam>(2 * count, 1);
      const auto values = samples<TypeParam>(count, 2);
      const auto deltas = samples<TypeParam>(count, 3);
      std::vector<TypeParam> row(count);
      multiply_add(deltas.data(), TypeParam(0.3), values.data(), row.data(), count);
      const Blend<TypeParam> blend{values.data(), deltas.data(), TypeParam(0.3)};
      for (const std::ptrdiff_t stride : {1, 2, -1}) {
        const TypeParam *first = stride < 0 && count > 0 ? a.data() + count - 1 : a.data();
        EXPECT_EQ(dot_blended(first, stride, blend, count), dot_strided(first, stride, row.data(), count))
            << count << " by " << stride;
        EXPECT_NEAR(dot_blended(first, stride, blend, count), reference::dot_blended(first, stride, blend, count),
                    2 * tolerance<TypeParam>(count));
      }
    }
  });
}

struct Hops {
  std::ptrdiff_t a, b;
};

TYPED_TEST(VectorOf, ManyDotsHaveTheBitsOfEachAlone) {
  on_every_target([] {
    for (const std::size_t count : kCounts) {
      for (const Hops hops : {Hops{1, 0}, {3, 0}, {0, 65}, {7, 5}, {-2, 0}, {0, 0}}) {
        for (const std::size_t outputs : {0U, 1U, 2U, 3U, 4U, 5U, 9U}) {
          const auto a = samples<TypeParam>(count + 8 * static_cast<std::size_t>(std::abs(hops.a)), 4);
          const auto b = samples<TypeParam>(count + 8 * static_cast<std::size_t>(hops.b), 5);
          const TypeParam *first = hops.a < 0 ? a.data() - 8 * hops.a : a.data();
          std::vector<TypeParam> out(3 * 9, 7);
          dot_many<TypeParam>({first, hops.a, b.data(), hops.b, count, out.data(), 3, outputs});
          for (std::size_t k = 0; k < outputs; ++k) {
            const auto row = static_cast<std::ptrdiff_t>(k);
            EXPECT_EQ(out[3 * k], dot(first + row * hops.a, b.data() + row * hops.b, count))
                << count << " terms, output " << k << " of " << outputs << ", hops " << hops.a << ' ' << hops.b;
            out[3 * k] = 7;
          }
          EXPECT_EQ(std::count(out.begin(), out.end(), TypeParam(7)), 27) << "wrote between its outputs";
        }
      }
    }
  });
}

TYPED_TEST(VectorOf, PolyphaseOutputsHaveTheBitsOfEachDot) {
  on_every_target([] {
    struct Factors {
      std::size_t up, down;
    };
    for (const std::size_t count : {1U, 7U, 8U, 53U, 99U}) {
      for (const Factors f : {Factors{1, 1}, {1, 3}, {2, 1}, {5, 3}, {3, 7}, {4, 6}, {40, 43}}) {
        for (const std::size_t outputs : {0U, 1U, 3U, 11U, 30U}) {
          const std::size_t phase = f.up / 2;
          const auto window = samples<TypeParam>(count + (phase + outputs * f.down) / f.up, 4);
          const auto rows = samples<TypeParam>(count * f.up, 5);
          std::vector<TypeParam> out(2 * 30 + 1, 7);
          dot_polyphase<TypeParam>({window.data(), rows.data(), count, f.up, f.down, phase, out.data(), 2, outputs});
          for (std::size_t k = 0; k < outputs; ++k) {
            const std::size_t place = phase + k * f.down;
            EXPECT_EQ(out[2 * k], dot(window.data() + place / f.up, rows.data() + place % f.up * count, count))
                << count << " terms, output " << k << " of " << outputs << ", " << f.up << '/' << f.down;
            out[2 * k] = 7;
          }
          EXPECT_EQ(std::count(out.begin(), out.end(), TypeParam(7)), 61) << "wrote between its outputs";
        }
      }
    }
  });
}

TYPED_TEST(VectorOf, RowsAreComputedElementByElement) {
  using T = TypeParam;
  on_every_target([] {
    for (const std::size_t count : kCounts) {
      const auto a = samples<T>(count, 1);
      const auto b = samples<T>(count, 2);
      std::vector<T> got(count);
      std::vector<T> expected(count);
      const auto expect_near = [&](const char *what) {
        for (std::size_t i = 0; i < count; ++i) {
          EXPECT_NEAR(got[i], expected[i], 2 * std::numeric_limits<T>::epsilon())
              << what << ' ' << i << " of " << count;
        }
      };
      multiply_add(a.data(), T(0.7), b.data(), got.data(), count);
      reference::multiply_add(a.data(), T(0.7), b.data(), expected.data(), count);
      expect_near("multiply_add");
      scale(a.data(), T(0.7), got.data(), count);
      reference::scale(a.data(), T(0.7), expected.data(), count);
      expect_near("scale");
      add(a.data(), b.data(), got.data(), count);
      reference::add(a.data(), b.data(), expected.data(), count);
      expect_near("add");
      subtract(a.data(), b.data(), got.data(), count);
      reference::subtract(a.data(), b.data(), expected.data(), count);
      expect_near("subtract");
      got = a;
      subtract(got.data(), b.data(), got.data(), count);
      expect_near("subtract in place");
    }
  });
}

TYPED_TEST(VectorOf, AnElementsResultDoesNotDependOnItsPlace) {
  using T = TypeParam;
  on_every_target([] {
    const auto a = samples<T>(70, 1);
    const auto b = samples<T>(70, 2);
    std::vector<T> whole(70);
    multiply_add(a.data(), T(0.7), b.data(), whole.data(), 70);
    for (std::size_t from = 0; from < 70; ++from) {
      std::vector<T> part(70 - from);
      multiply_add(a.data() + from, T(0.7), b.data() + from, part.data(), part.size());
      EXPECT_TRUE(std::equal(part.begin(), part.end(), whole.begin() + static_cast<std::ptrdiff_t>(from))) << from;
    }
  });
}

template <typename To>
void expect_interleaves() {
  on_every_target([] {
    for (std::size_t rows = 1; rows <= 9; ++rows) {
      for (const std::size_t count : kCounts) {
        const std::size_t stride = count + 3;
        const auto in = samples<double>(rows * stride, 1);
        std::vector<To> got(rows * count, To(7)), expected(rows * count);
        for (std::size_t i = 0; i < expected.size(); ++i) {
          expected[i] = static_cast<To>(in[i % rows * stride + i / rows]);
        }
        interleave(in.data(), static_cast<std::ptrdiff_t>(stride), rows, got.data(), count);
        ASSERT_EQ(got, expected) << rows << " rows of " << count;
      }
    }
  });
}

TEST(Interleave, LaysRowsSideBySide) {
  expect_interleaves<float>();
  expect_interleaves<double>();
}

template <typename From, typename To, class Copy>
void expect_copies(const Copy &copy) {
  on_every_target([&] {
    for (const std::size_t count : kCounts) {
      for (const std::ptrdiff_t in_stride : {1, 2, 3, 8, -1, -2, 0}) {
        for (const std::ptrdiff_t out_stride : {1, 2, 5, -1}) {
          const std::size_t in_span = count == 0 ? 0 : (count - 1) * std::size_t(std::abs(in_stride)) + 1;
          const std::size_t out_span = count == 0 ? 0 : (count - 1) * std::size_t(std::abs(out_stride)) + 1;
          const auto in = samples<From>(in_span, 1);
          std::vector<To> got(out_span, 7);
          std::vector<To> expected(out_span, 7);
          const std::size_t in_first = in_stride < 0 && count > 0 ? in_span - 1 : 0;
          const std::size_t out_first = out_stride < 0 && count > 0 ? out_span - 1 : 0;
          copy(in.data() + in_first, in_stride, got.data() + out_first, out_stride, count);
          reference::copy(in.data() + in_first, in_stride, expected.data() + out_first, out_stride, count);
          EXPECT_EQ(got, expected) << count << " from stride " << in_stride << " to " << out_stride;
        }
      }
    }
  });
}

TYPED_TEST(VectorOf, CopiesHonourBothStridesAndLeaveWhatIsBetween) {
  expect_copies<TypeParam, TypeParam>(copy<TypeParam>);
}
TEST(Vector, WidensAtEveryStride) {
  expect_copies<float, double>(widen);
}
TEST(Vector, NarrowsToTheNearestAtEveryStride) {
  expect_copies<double, float>(narrow);
}

// Two complex rows of random numbers and a result to add to.
template <typename T>
struct Complex {
  explicit Complex(std::size_t count)
      : parts(samples<T>(count, 1), samples<T>(count, 2)),
        others(samples<T>(count, 3), samples<T>(count, 4)),
        sums(samples<T>(count, 5), samples<T>(count, 6)) {}

  using Rows = std::pair<std::vector<T>, std::vector<T>>;
  static Split<T> split(Rows &rows) { return {rows.first.data(), rows.second.data()}; }
  Rows parts, others, sums;
};

template <typename T>
void expect_near(const typename Complex<T>::Rows &got, const typename Complex<T>::Rows &expected) {
  for (std::size_t i = 0; i < got.first.size(); ++i) {
    EXPECT_NEAR(got.first[i], expected.first[i], 4 * std::numeric_limits<T>::epsilon()) << i;
    EXPECT_NEAR(got.second[i], expected.second[i], 4 * std::numeric_limits<T>::epsilon()) << i;
  }
}

TYPED_TEST(VectorOf, ComplexProductsAlsoInPlace) {
  using T = TypeParam;
  on_every_target([] {
    for (const std::size_t count : kCounts) {
      Complex<T> c(count);
      auto expected = c.sums;
      reference::complex_multiply<T>(c.split(c.parts), c.split(c.others), c.split(expected), count);
      auto got = c.sums;
      complex_multiply(c.split(c.parts), c.split(c.others), c.split(got), count);
      expect_near<T>(got, expected);
      got = c.parts;
      complex_multiply(c.split(got), c.split(c.others), c.split(got), count);
      expect_near<T>(got, expected);

      expected = c.sums;
      reference::complex_multiply_add<T>(c.split(c.parts), c.split(c.others), c.split(expected), count);
      got = c.sums;
      complex_multiply_add(c.split(c.parts), c.split(c.others), c.split(got), count);
      expect_near<T>(got, expected);
    }
  });
}

TYPED_TEST(VectorOf, ElementZeroOfASpectrumIsTwoRealNumbers) {
  using T = TypeParam;
  on_every_target([] {
    Complex<T> c(33);
    auto product = c.sums;
    complex_multiply(c.split(c.parts), c.split(c.others), c.split(product), 33);
    auto got = c.parts;
    spectrum_multiply(c.split(got), c.split(c.others), c.split(got), 33);
    EXPECT_EQ(got.first[0], c.parts.first[0] * c.others.first[0]);
    EXPECT_EQ(got.second[0], c.parts.second[0] * c.others.second[0]);
    EXPECT_TRUE(std::equal(got.first.begin() + 1, got.first.end(), product.first.begin() + 1));

    got = c.sums;
    spectrum_multiply_add(c.split(c.parts), c.split(c.others), c.split(got), 33);
    const T eps = 4 * std::numeric_limits<T>::epsilon();
    EXPECT_NEAR(got.first[0], c.sums.first[0] + c.parts.first[0] * c.others.first[0], eps);
    EXPECT_NEAR(got.second[0], c.sums.second[0] + c.parts.second[0] * c.others.second[0], eps);
    EXPECT_NEAR(got.first[32], c.sums.first[32] + product.first[32], eps);
    EXPECT_NEAR(got.second[32], c.sums.second[32] + product.second[32], eps);
  });
}

// Each test is a process of its own, so what runs here is the first use, which finds the kernels of this processor.
TEST(Vector, TheFirstUseIsForTheAudioThread) {
  std::vector<double> a(100, 1.0);
  std::vector<float> b(100, 1.0F);
  double sum = 0;
  const auto use_all = [&] {
    sum = dot(a.data(), a.data(), a.size()) + dot_strided(b.data(), 2, b.data(), 50);
    dot_many<double>({a.data(), 1, a.data(), 0, 10, a.data() + 50, 1, 10});
    widen(b.data(), 2, a.data(), 1, 50);
    narrow(a.data(), 1, b.data(), 1, 100);
    scale(a.data(), 0.5, a.data(), 100);
  };
  if (!testing::run_without_system_calls(use_all)) GTEST_SKIP() << "the kernel does not refuse system calls here";
  EXPECT_EQ(sum, 150.0);
}

TEST(Vector, TheFirstUseNeitherAllocatesNorLocks) {
  std::vector<double> a(100, 1.0);
  const testing::RealtimeGuard guard;
  scale(a.data(), dot_strided(a.data(), 1, a.data(), 100), a.data(), 100);
}

}  // namespace
}  // namespace auspool::vector
