// What the shaped quantiser computes with: taps and the state of one channel in the width of its loop, made with the
// dither so that a call allocates nothing, however many taps there are.
#pragma once

#include <algorithm>
#include <vector>

#include "bitbox/shape_filter.h"
#include "platform/error_feedback.h"

namespace auspool {

template <typename Real>
class ShaperWork {
public:
  explicit ShaperWork(const ShapeFilter &filter) {
    if (filter.order == 0) return;
    const auto order = static_cast<std::size_t>(filter.order);
    taps_.resize(order + kFeedbackBlock);
    std::copy_n(filter.zeros.get(), order, taps_.begin());
    if (filter.poles) poles_.assign(filter.poles.get(), filter.poles.get() + order);
    sums_.resize(order + kFeedbackBlock);
  }

  // The loop at the state of a channel. The state is told in samples, the loop counts codes: a power of two between
  // them.
  ErrorFeedback<Real> load(const float *state, Real codes_per_unit, Real highest, Real lowest) {
    const std::size_t order = sums_.size() - kFeedbackBlock;
    for (std::size_t i = 0; i < order; ++i) sums_[i] = static_cast<Real>(state[i]) * codes_per_unit;
    return {taps_.data(), poles_.empty() ? nullptr : poles_.data(),        order, highest, lowest,
            sums_.data(), static_cast<Real>(state[order]) * codes_per_unit};
  }

  static void store(const ErrorFeedback<Real> &feedback, float *state, Real units_per_code) {
    for (std::size_t i = 0; i < feedback.order; ++i) state[i] = static_cast<float>(feedback.sums[i] * units_per_code);
    state[feedback.order] = static_cast<float>(feedback.last_error * units_per_code);
  }

private:
  std::vector<Real> taps_, poles_, sums_;
};

}  // namespace auspool
