#include "resampler/stages/sdm/transform_matrix.h"

#include <gtest/gtest.h>

#include "resampler/stages/sdm/find_sdm_trmx.h"
#include "resampler/stages/sdm/transform_equations.h"
#include "support/watch.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

using Complex = std::complex<double>;

struct Sizes {
  std::int32_t block, transform;
};

}  // namespace

// Elements are not determined: columns of the equations nearly depend on one another, and the last digits of a sum
// decide. What they do is.
TEST(TransformMatrix, MeetsItsEquations) {
  for (const auto &[block, transform] : {Sizes{32, 32}, {64, 32}, {128, 32}, {256, 32}, {147, 80}, {48, 32}}) {
    const TransformMatrix matrix = compute_transform_matrix(block, transform);
    ASSERT_TRUE(matrix);
    const Residual residual = residual_of(*matrix, block, transform, 777);
    EXPECT_LT(residual.mean, 1e-11) << block << " to " << transform;
    EXPECT_LT(residual.largest, 1.2e-10) << block << " to " << transform;
  }
}

// An odd block has a sample in its very middle.
TEST(TransformMatrix, MeetsItsEquationsForAnOddBlock) {
  const TransformMatrix matrix = compute_transform_matrix(75, 32);
  ASSERT_TRUE(matrix);
  EXPECT_LT(residual_of(*matrix, 75, 32, 300).largest, 1.2e-10);
}

TEST(TransformMatrix, IsNoneForAnOddTransform) {
  EXPECT_FALSE(compute_transform_matrix(32, 31));
  EXPECT_FALSE(compute_transform_matrix(15, 1));
}

TEST(TransformMatrix, IsNoneForMoreThanAHundredThousandEntries) {
  EXPECT_FALSE(compute_transform_matrix(3126, 32));
  EXPECT_FALSE(compute_transform_matrix(2147483647, 2147483646));
  EXPECT_TRUE(compute_transform_matrix(3125, 32));
}

TEST(TransformMatrix, IsNoneForSizesThatAreNoDownsampler) {
  EXPECT_FALSE(compute_transform_matrix(0, 32));
  EXPECT_FALSE(compute_transform_matrix(-32, -32));
  EXPECT_FALSE(compute_transform_matrix(32, 0));
  EXPECT_FALSE(compute_transform_matrix(15, 32)) << "the rate would rise";
  EXPECT_FALSE(compute_transform_matrix(1, 100000));
}

TEST(TransformMatrix, IsNoneWhereMemoryRunsOut) {
  const long before = live_allocations();
  EXPECT_GT(fail_each_allocation([] { return compute_transform_matrix(8, 8) != nullptr; }), 6);
  EXPECT_EQ(live_allocations(), before);
}

TEST(TransformMatrix, IsLaidOutAsLapackWantsIt) {
  const double real[] = {1, 2, 3, 4, 5, 6}, imaginary[] = {7, 8, 9, 10, 11, 12};
  Complex columns[6];
  splitcomplex2lapack({real, imaginary}, columns, 2, 3);
  const Complex expected[] = {{1, 7}, {4, 10}, {2, 8}, {5, 11}, {3, 9}, {6, 12}};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(columns[i], expected[i]);
}

// i x = (1, 2i), and 2 x = (-2i, 4): both say the same.
TEST(TransformMatrix, ComesFromTheSolutionRowByRow) {
  const double a[2][2] = {{0, 2}, {1, 0}}, b[2][4] = {{1, 0, 0, 4}, {0, 2, -2, 0}};
  const TransformMatrix x = lapack_solve({a[0], a[1]}, {b[0], b[1]}, 2, 1, 2);
  ASSERT_TRUE(x);
  EXPECT_NEAR(x->real[0], 0, 1e-15);
  EXPECT_NEAR(x->imaginary[0], -1, 1e-15);
  EXPECT_NEAR(x->real[1], 2, 1e-15);
  EXPECT_NEAR(x->imaginary[1], 0, 1e-15);
}

TEST(FindTransformMatrix, DesignsEachMatrixOnce) {
  const transform_matrix *first = find_sdm_trmx(32, 36);
  ASSERT_TRUE(first);
  EXPECT_LT(residual_of(*first, 36, 32, 100).largest, 1.2e-10);
  const long before = allocation_count();
  EXPECT_EQ(find_sdm_trmx(32, 36), first);
  EXPECT_EQ(allocation_count(), before);
  EXPECT_NE(find_sdm_trmx(32, 37), first);
  EXPECT_NE(find_sdm_trmx(30, 36), first);
  EXPECT_EQ(find_sdm_trmx(32, 36), first) << "stays where it is";
}

TEST(FindTransformMatrix, DoesNotKeepAFailure) {
  EXPECT_FALSE(find_sdm_trmx(31, 36));
  bool failed = true;
  for (int nth = 1; failed; ++nth) {
    const long before = live_allocations();
    const AllocationFailer failer(nth);
    const transform_matrix *found = find_sdm_trmx(32, 100 + nth);
    failed = failer.failed();
    EXPECT_EQ(found == nullptr, failed) << nth;
    ASSERT_TRUE(!failed || live_allocations() == before) << nth;
  }
  EXPECT_TRUE(find_sdm_trmx(32, 101));
}
