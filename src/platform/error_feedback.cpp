#include "platform/error_feedback.h"

#include "platform/vector/targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/error_feedback.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.
#include <hwy/highway.h>

#include <algorithm>
#include <cmath>

HWY_BEFORE_NAMESPACE();
namespace auspool::HWY_NAMESPACE {

// The code for `wanted`, which is the sample less the filtered errors, and the error that is made.
template <typename Real>
struct Quantized {
  Real code, error;
};

template <typename Real>
HWY_INLINE Quantized<Real> quantize_one(const ErrorFeedback<Real> &feedback, Real wanted, Real noise) {
  const Real code = std::rint(noise + wanted);
  if (code <= feedback.highest && code >= feedback.lowest) [[likely]]
    return {code, code - wanted};
  if (std::isnan(code)) return {code, 0};
  const Real clipped = code > 0 ? -feedback.lowest : feedback.lowest;
  return {clipped, std::clamp(clipped - wanted, Real{-1}, Real{1})};
}

// One sample after another waits for the error of the one before, through a chain of six operations. Only the newest
// error is in that chain; what older ones add is ready before. Each sum is formed from the oldest error to the newest,
// in whatever blocks the samples come.
template <typename Real, std::size_t kCount>
HWY_INLINE void quantize_block(ErrorFeedback<Real> &feedback, const Real *HWY_RESTRICT noise,
                               Real *HWY_RESTRICT samples) {
  const Real *HWY_RESTRICT taps = feedback.taps;
  Real *sums = feedback.sums;
  Real errors[kCount];
#pragma GCC unroll 8
  for (std::size_t i = 0; i < kCount; ++i) {
    Real filtered = sums[i];
#pragma GCC unroll 8
    for (std::size_t k = 0; k < i; ++k) filtered += taps[i - 1 - k] * errors[k];
    const Quantized<Real> result = quantize_one(feedback, samples[i] - filtered, noise[i]);
    samples[i] = result.code;
    errors[i] = result.error;
  }
  for (std::size_t i = 0; i < feedback.order; ++i) {
    Real sum = sums[i + kCount];
#pragma GCC unroll 8
    for (std::size_t k = 0; k < kCount; ++k) sum += taps[i + kCount - 1 - k] * errors[k];
    sums[i] = sum;
  }
  feedback.last_error = errors[kCount - 1];
}

template <typename Real>
void quantize_with_poles(ErrorFeedback<Real> &feedback, const Real *noise, Real *samples, std::size_t count) {
  Real *sums = feedback.sums;
  for (std::size_t i = 0; i < count; ++i) {
    const Real filtered = sums[0];
    const Quantized<Real> result = quantize_one(feedback, samples[i] - filtered, noise[i]);
    samples[i] = result.code;
    feedback.last_error = result.error;
    for (std::size_t k = 0; k < feedback.order; ++k) {  // the sum behind the last is zero
      sums[k] = feedback.taps[k] * result.error + sums[k + 1] - feedback.poles[k] * filtered;
    }
  }
}

template <typename Real>
HWY_INLINE void quantize_row(ErrorFeedback<Real> &feedback, const Real *noise, Real *samples, std::size_t count) {
  if (feedback.poles) return quantize_with_poles(feedback, noise, samples, count);
  std::size_t i = 0;
  for (; i + kFeedbackBlock <= count; i += kFeedbackBlock) {
    quantize_block<Real, kFeedbackBlock>(feedback, noise + i, samples + i);
  }
  for (; i < count; ++i) quantize_block<Real, 1>(feedback, noise + i, samples + i);
}

void quantize_float(ErrorFeedback<float> &feedback, const float *noise, float *samples, std::size_t count) {
  quantize_row(feedback, noise, samples, count);
}
void quantize_double(ErrorFeedback<double> &feedback, const double *noise, double *samples, std::size_t count) {
  quantize_row(feedback, noise, samples, count);
}

}  // namespace auspool::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace auspool {

HWY_EXPORT(quantize_float);
HWY_EXPORT(quantize_double);

template <>
void quantize(ErrorFeedback<float> &feedback, const float *noise, float *samples, std::size_t count) {
  HWY_DYNAMIC_DISPATCH(quantize_float)(feedback, noise, samples, count);
}
template <>
void quantize(ErrorFeedback<double> &feedback, const double *noise, double *samples, std::size_t count) {
  HWY_DYNAMIC_DISPATCH(quantize_double)(feedback, noise, samples, count);
}

}  // namespace auspool
#endif
