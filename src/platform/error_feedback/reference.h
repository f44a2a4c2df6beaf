// What error_feedback.h promises, one sample after another. The kernels are tested against this. Each sum is formed
// from the oldest error to the newest.
#pragma once

#include <algorithm>
#include <cmath>

#include "platform/error_feedback.h"

namespace auspool::error_feedback {

template <typename Real>
struct Quantized {
  Real code, error;
};

// The code for `wanted`, which is the sample less the filtered errors, and the error that is made.
template <typename Real>
inline Quantized<Real> quantize_one(const FeedbackFilter<Real> &filter, Real wanted, Real noise) {
  const Real code = std::rint(noise + wanted);
  if (code <= filter.highest && code >= filter.lowest) [[likely]]
    return {code, code - wanted};
  if (std::isnan(code)) return {code, 0};
  const Real clipped = code > 0 ? -filter.lowest : filter.lowest;
  return {clipped, std::clamp(clipped - wanted, Real{-1}, Real{1})};
}

template <typename Real>
void reference(const FeedbackFilter<Real> &filter, const FeedbackRow<Real> &row, std::size_t count) {
  Real *sums = row.sums;
  for (std::size_t i = 0; i < count; ++i) {
    const Real filtered = sums[0];
    const Quantized<Real> result = quantize_one(filter, row.samples[i] - filtered, row.noise[i]);
    row.samples[i] = result.code;
    *row.last_error = result.error;
    for (std::size_t k = 0; k < filter.order; ++k) {  // the sum behind the last is zero
      sums[k] = filter.taps[k] * result.error + sums[k + 1];
      if (filter.poles) sums[k] -= filter.poles[k] * filtered;
    }
  }
}

}  // namespace auspool::error_feedback
