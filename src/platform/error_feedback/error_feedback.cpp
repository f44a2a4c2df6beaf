#include "platform/error_feedback.h"

#include "platform/vector/targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/error_feedback/error_feedback.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.
#include <hwy/highway.h>

#include <cmath>

#include "platform/error_feedback/reference.h"

HWY_BEFORE_NAMESPACE();
namespace auspool::HWY_NAMESPACE {

template <typename Real, std::size_t kChannels>
using Rows = std::array<FeedbackRow<Real>, kChannels>;

// One sample after another waits for the error of the one before, through a chain of six operations. Only the newest
// error is in that chain; what older ones add is ready before. Each sum is formed from the oldest error to the newest,
// in whatever blocks the samples come.
template <std::size_t kCount, typename Real, std::size_t kChannels>
HWY_INLINE void quantize_block(const FeedbackFilter<Real> &filter, const Rows<Real, kChannels> &rows, std::size_t at) {
  const Real *HWY_RESTRICT taps = filter.taps;
  Real errors[kChannels][kCount];
#pragma GCC unroll 8
  for (std::size_t i = 0; i < kCount; ++i) {
#pragma GCC unroll 2
    for (std::size_t c = 0; c < kChannels; ++c) {
      Real filtered = rows[c].sums[i];
#pragma GCC unroll 8
      for (std::size_t k = 0; k < i; ++k) filtered += taps[i - 1 - k] * errors[c][k];
      Real &sample = rows[c].samples[at + i];
      const auto result = error_feedback::quantize_one(filter, sample - filtered, rows[c].noise[at + i]);
      sample = result.code;
      errors[c][i] = result.error;
    }
  }
#pragma GCC unroll 2
  for (std::size_t c = 0; c < kChannels; ++c) {
    Real *sums = rows[c].sums;
    for (std::size_t i = 0; i < filter.order; ++i) {
      Real sum = sums[i + kCount];
#pragma GCC unroll 8
      for (std::size_t k = 0; k < kCount; ++k) sum += taps[i + kCount - 1 - k] * errors[c][k];
      sums[i] = sum;
    }
    *rows[c].last_error = errors[c][kCount - 1];
  }
}

template <typename Real, std::size_t kChannels>
HWY_INLINE void quantize_with_poles(const FeedbackFilter<Real> &filter, const Rows<Real, kChannels> &rows,
                                    std::size_t count) {
  const Real a0 = filter.taps[0], a1 = filter.taps[1], b0 = filter.poles[0], b1 = filter.poles[1];
  Real next[kChannels], after[kChannels], error[kChannels];
  for (std::size_t c = 0; c < kChannels; ++c) {
    next[c] = rows[c].sums[0];
    after[c] = rows[c].sums[1];
  }
  for (std::size_t i = 0; i < count; ++i) {
#pragma GCC unroll 2
    for (std::size_t c = 0; c < kChannels; ++c) {
      const Real filtered = next[c];
      Real &sample = rows[c].samples[i];
      const auto result = error_feedback::quantize_one(filter, sample - filtered, rows[c].noise[i]);
      sample = result.code;
      error[c] = result.error;
      next[c] = a0 * result.error + after[c] - b0 * filtered;
      after[c] = a1 * result.error - b1 * filtered;
    }
  }
  for (std::size_t c = 0; c < kChannels && count > 0; ++c) {
    rows[c].sums[0] = next[c];
    rows[c].sums[1] = after[c];
    *rows[c].last_error = error[c];
  }
}

template <typename Real, std::size_t kChannels>
HWY_INLINE void quantize_rows(const FeedbackFilter<Real> &filter, const Rows<Real, kChannels> &rows,
                              std::size_t count) {
  if (filter.poles) return quantize_with_poles(filter, rows, count);
  std::size_t i = 0;
  for (; i + kFeedbackBlock <= count; i += kFeedbackBlock) quantize_block<kFeedbackBlock>(filter, rows, i);
  for (; i < count; ++i) quantize_block<1>(filter, rows, i);
}

void quantize_float(const FeedbackFilter<float> &filter, const Rows<float, 1> &rows, std::size_t count) {
  quantize_rows(filter, rows, count);
}
void quantize_floats(const FeedbackFilter<float> &filter, const Rows<float, 2> &rows, std::size_t count) {
  quantize_rows(filter, rows, count);
}
void quantize_double(const FeedbackFilter<double> &filter, const Rows<double, 1> &rows, std::size_t count) {
  quantize_rows(filter, rows, count);
}
void quantize_doubles(const FeedbackFilter<double> &filter, const Rows<double, 2> &rows, std::size_t count) {
  quantize_rows(filter, rows, count);
}

}  // namespace auspool::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace auspool {

HWY_EXPORT(quantize_float);
HWY_EXPORT(quantize_floats);
HWY_EXPORT(quantize_double);
HWY_EXPORT(quantize_doubles);

template <>
void quantize(const FeedbackFilter<float> &filter, const std::array<FeedbackRow<float>, 1> &rows, std::size_t count) {
  HWY_DYNAMIC_DISPATCH(quantize_float)(filter, rows, count);
}
template <>
void quantize(const FeedbackFilter<float> &filter, const std::array<FeedbackRow<float>, 2> &rows, std::size_t count) {
  HWY_DYNAMIC_DISPATCH(quantize_floats)(filter, rows, count);
}
template <>
void quantize(const FeedbackFilter<double> &filter, const std::array<FeedbackRow<double>, 1> &rows, std::size_t count) {
  HWY_DYNAMIC_DISPATCH(quantize_double)(filter, rows, count);
}
template <>
void quantize(const FeedbackFilter<double> &filter, const std::array<FeedbackRow<double>, 2> &rows, std::size_t count) {
  HWY_DYNAMIC_DISPATCH(quantize_doubles)(filter, rows, count);
}

}  // namespace auspool
#endif
