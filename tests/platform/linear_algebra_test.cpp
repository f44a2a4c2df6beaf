#include "platform/linear_algebra.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <complex>
#include <random>
#include <vector>

#include "platform/linear_algebra/reference.h"
#include "platform/vector_targets.h"
#include "support/watch.h"

namespace auspool::linear_algebra {
namespace {

using testing::RealtimeGuard;

// A matrix, blocks that overlap in memory and a place for the products, all random.
template <typename T>
struct Case {
  Case(std::size_t row_count, std::size_t column_count, std::size_t block_count, bool complex_blocks)
      : rows(row_count), columns(column_count), blocks(block_count), is_complex(complex_blocks) {
    std::mt19937 random(1);
    std::uniform_real_distribution<T> values(-1, 1);
    const auto fill = [&](std::vector<T> &samples, std::size_t count) {
      samples.resize(count);
      std::generate(samples.begin(), samples.end(), [&] { return values(random); });
    };
    fill(matrix, 2 * rows * columns);
    fill(in, 2 * blocks * columns);
    fill(out, 2 * (blocks + 2) * rows);
  }

  MatrixPass<T> pass() {
    return {.matrix = {matrix.data(), matrix.data() + rows * columns},
            .rows = rows,
            .columns = columns,
            .in = {in.data(), is_complex ? in.data() + blocks * columns : nullptr},
            .in_hop = columns,
            .blocks = blocks,
            .out = {out.data(), out.data() + out.size() / 2},
            .out_hop = out_hop};
  }

  std::size_t rows, columns, blocks;
  bool is_complex;
  std::size_t out_hop = rows;
  std::vector<T> matrix, in, out;
};

template <typename T, typename Run>
void for_each_case(const Run &run) {
  constexpr std::size_t kRows[] = {1, 2, 3, 4, 5, 8, 32}, kBlocks[] = {1, 2, 3, 4, 5, 9};
  constexpr std::size_t kColumns[] = {1, 2, 3, 4, 7, 8, 9, 15, 16, 17, 31, 33, 64, 147};
  for (const std::size_t rows : kRows) {
    for (const std::size_t columns : kColumns) {
      for (const std::size_t blocks : kBlocks) {
        for (const bool is_complex : {false, true}) run(Case<T>(rows, columns, blocks, is_complex));
      }
    }
  }
}

template <typename T>
class Products : public ::testing::Test {
protected:
  static constexpr T kTolerance = sizeof(T) == 4 ? T(3e-5) : T(5e-14);

  static void expect_near(const std::vector<T> &found, const std::vector<T> &expected) {
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < found.size(); ++i) ASSERT_NEAR(found[i], expected[i], kTolerance) << i;
  }
};
using Widths = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Products, Widths);

TYPED_TEST(Products, AreThePlainSumsOnEveryTarget) {
  for (const vector::Target &target : vector::targets()) {
    SCOPED_TRACE(target.name);
    const vector::OnlyTarget only(target);
    for_each_case<TypeParam>([](Case<TypeParam> c) {
      Case<TypeParam> plain = c;
      multiply(c.pass());
      reference::multiply<false>(plain.pass());
      TestFixture::expect_near(c.out, plain.out);
    });
  }
}

// Neighbouring blocks add to the same places where the hop is less than the rows.
TYPED_TEST(Products, AddToWhatIsThere) {
  for (const vector::Target &target : vector::targets()) {
    SCOPED_TRACE(target.name);
    const vector::OnlyTarget only(target);
    for_each_case<TypeParam>([](Case<TypeParam> c) {
      c.out_hop = c.rows / 2;
      Case<TypeParam> plain = c;
      multiply_add(c.pass());
      reference::multiply<true>(plain.pass());
      TestFixture::expect_near(c.out, plain.out);
    });
  }
}

TYPED_TEST(Products, OfABlockDoNotDependOnTheBlocksBesideIt) {
  for_each_case<TypeParam>([](Case<TypeParam> c) {
    Case<TypeParam> alone = c;
    multiply(c.pass());
    MatrixPass<TypeParam> one = alone.pass();
    one.blocks = 1;
    for (std::size_t block = 0; block < c.blocks; ++block) {
      multiply(one);
      one.in.real += c.columns;
      if (one.in.imaginary) one.in.imaginary += c.columns;
      one.out = {one.out.real + c.rows, one.out.imaginary + c.rows};
    }
    ASSERT_EQ(c.out, alone.out);
  });
}

TYPED_TEST(Products, AreForTheAudioThread) {
  Case<TypeParam> c(32, 64, 5, true);
  const RealtimeGuard guard;
  multiply(c.pass());
  multiply_add(c.pass());
}

using Complex = std::complex<double>;

// Columns behind one another.
TEST(LeastSquares, SolvesWhatHasASolution) {
  const Complex i(0, 1);
  std::vector<Complex> a = {1, i, 2, 0.5, 3.0 * i, -1};               // 3 x 2
  const std::vector<Complex> x = {{2, 1}, {-1, 3}, {0, 0}, {4, -2}};  // 2 x 2
  std::vector<Complex> b(6);
  for (std::size_t side = 0; side < 2; ++side) {
    for (std::size_t row = 0; row < 3; ++row) b[3 * side + row] = a[row] * x[2 * side] + a[3 + row] * x[2 * side + 1];
  }
  ASSERT_TRUE(solve_least_squares({3, 2, 2, a.data(), b.data(), 1e-10}));
  for (std::size_t side = 0; side < 2; ++side) {
    for (std::size_t row = 0; row < 2; ++row) EXPECT_LT(std::abs(b[3 * side + row] - x[2 * side + row]), 1e-14);
  }
}

// The mean of three numbers is nearest to them all.
TEST(LeastSquares, ComesNearestToWhatHasNone) {
  std::vector<Complex> a(3, 1.0), b = {1.0, {2.0, 3.0}, 6.0};
  ASSERT_TRUE(solve_least_squares({3, 1, 1, a.data(), b.data(), 1e-10}));
  EXPECT_LT(std::abs(b[0] - Complex(3, 1)), 1e-14);
}

// Of all solutions of x + y = 2 this is the shortest, also where the columns differ by less than the precision.
TEST(LeastSquares, IsTheShortestOfManySolutions) {
  std::vector<Complex> a(6, 1.0), b(3, 2.0);
  a[0] += 1e-12;
  ASSERT_TRUE(solve_least_squares({3, 2, 1, a.data(), b.data(), 1e-10}));
  EXPECT_LT(std::abs(b[0] - 1.0), 1e-9);
  EXPECT_LT(std::abs(b[1] - 1.0), 1e-9);
}

TEST(LeastSquares, ThrowsWhereMemoryRunsOut) {
  const int failed = testing::fail_each_allocation([] {
    Complex a[3] = {1.0, 1.0, 1.0}, b[3] = {1.0, 1.0, 1.0};
    try {
      return solve_least_squares({3, 1, 1, a, b, 1e-10});
    } catch (const std::bad_alloc &) {
      return false;
    }
  });
  EXPECT_EQ(failed, 3);
}

}  // namespace
}  // namespace auspool::linear_algebra
