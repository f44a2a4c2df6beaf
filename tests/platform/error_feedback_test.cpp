#include "platform/error_feedback.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "platform/error_feedback/reference.h"
#include "platform/vector_targets.h"
#include "support/signals.h"

namespace auspool {
namespace {

constexpr std::size_t kFrames = 700;

// Everything that one channel quantises with.
template <typename Real>
struct Channel {
  std::vector<Real> noise, samples, sums;
  Real last_error = 0;

  Channel(std::size_t order, std::uint32_t seed) : sums(order + kFeedbackBlock) {
    for (const float x : testing::noise(kFrames, seed, 1.0)) noise.push_back(static_cast<Real>(x));
    for (const float x : testing::noise(kFrames, seed + 1, 40000.0)) samples.push_back(static_cast<Real>(x));
    samples[100] = std::numeric_limits<Real>::infinity();
    samples[101] = -std::numeric_limits<Real>::infinity();
    samples[200] = std::numeric_limits<Real>::quiet_NaN();
  }

  FeedbackRow<Real> row(std::size_t from) {
    return {noise.data() + from, samples.data() + from, sums.data(), &last_error};
  }
};

template <typename Real>
void expect_same(const Channel<Real> &result, const Channel<Real> &expected) {
  for (std::size_t i = 0; i < kFrames; ++i) {
    if (std::isnan(expected.samples[i])) {
      ASSERT_TRUE(std::isnan(result.samples[i])) << i;
    } else {
      ASSERT_EQ(result.samples[i], expected.samples[i]) << i;
    }
  }
  EXPECT_EQ(result.sums, expected.sums);
  EXPECT_EQ(result.last_error, expected.last_error);
}

// Calls of lengths that cut the blocks which the kernel works in.
template <typename Work>
void in_pieces(const Work &work) {
  constexpr std::size_t kPieces[] = {1, 3, 8, 17, 0, 64, 300, 7, 300};
  std::size_t from = 0;
  for (const std::size_t count : kPieces) {
    work(from, count);
    from += count;
  }
  ASSERT_EQ(from, kFrames);
}

template <typename Real>
void expect_reference(const FeedbackFilter<Real> &filter) {
  Channel<Real> left(filter.order, 1), right(filter.order, 7), alone(filter.order, 1);
  Channel<Real> left_expected = left, right_expected = right;
  in_pieces([&](std::size_t from, std::size_t count) {
    error_feedback::reference(filter, left_expected.row(from), count);
    error_feedback::reference(filter, right_expected.row(from), count);
    quantize<Real, 1>(filter, {alone.row(from)}, count);
    quantize<Real, 2>(filter, {left.row(from), right.row(from)}, count);
  });
  expect_same(alone, left_expected);
  expect_same(left, left_expected);
  expect_same(right, right_expected);
}

template <typename Real>
void expect_reference_of_all_filters() {
  for (const std::size_t order : {1u, 2u, 5u, 7u, 8u, 9u, 24u, 40u}) {
    SCOPED_TRACE(order);
    std::vector<Real> taps;
    for (std::size_t i = 0; i < order; ++i) {
      const auto along = static_cast<double>(i);
      taps.push_back(static_cast<Real>(1.2 * std::cos(0.9 * along) * std::pow(0.8, along)));
    }
    taps.resize(order + kFeedbackBlock);
    expect_reference<Real>({taps.data(), nullptr, order, 32767, -32768});
  }
  const Real taps[2 + kFeedbackBlock] = {Real{1.0625}, Real{0.5}}, poles[2] = {Real{1.75}, Real{0.8125}};
  expect_reference<Real>({taps, poles, 2, 32767, -32768});
}

TEST(ErrorFeedback, OfOneOrTwoChannelsIsTheReferenceBitForBit) {
  for (const vector::Target &target : vector::targets()) {
    const vector::OnlyTarget only(target);
    SCOPED_TRACE(target.name);
    expect_reference_of_all_filters<float>();
    expect_reference_of_all_filters<double>();
  }
}

TEST(ErrorFeedback, HoldsWhatClipsAndItsError) {
  const double taps[1 + kFeedbackBlock] = {0.5};
  double sums[1 + kFeedbackBlock] = {}, last_error = 0;
  const double noise[3] = {};
  double samples[3] = {9.0, -20.0, 3.25};
  quantize<double, 1>({taps, nullptr, 1, 7, -8}, {{{noise, samples, sums, &last_error}}}, 3);
  EXPECT_EQ(samples[0], 8);   // the error is held at -1
  EXPECT_EQ(samples[1], -8);  // -20 + 0.5, at 1
  EXPECT_EQ(samples[2], 3);   // 3.25 - 0.5
  EXPECT_EQ(last_error, 0.25);
  EXPECT_EQ(sums[0], 0.125);
}

}  // namespace
}  // namespace auspool
