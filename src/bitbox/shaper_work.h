// What the shaped quantiser computes with: taps and the state of one or two channels in the width of its loop, made
// with the dither so that a call allocates nothing, however many taps there are.
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
    order_ = static_cast<std::size_t>(filter.order);
    taps_.resize(order_ + kFeedbackBlock);
    std::copy_n(filter.zeros.get(), order_, taps_.begin());
    if (filter.poles) poles_.assign(filter.poles.get(), filter.poles.get() + order_);
    for (Channel &channel : channels_) channel.sums.resize(order_ + kFeedbackBlock);
  }

  FeedbackFilter<Real> filter(double highest, double lowest) const {
    return {taps_.data(), poles_.empty() ? nullptr : poles_.data(), order_, static_cast<Real>(highest),
            static_cast<Real>(lowest)};
  }

  // To and from the state that a channel keeps. That is told in samples, the loop counts codes: a power of two between
  // them.
  void load(int which, const float *state, double codes_per_unit) {
    auto &[sums, last_error] = channels_[which];
    const auto scale = static_cast<Real>(codes_per_unit);
    for (std::size_t i = 0; i < order_; ++i) sums[i] = static_cast<Real>(state[i]) * scale;
    last_error = static_cast<Real>(state[order_]) * scale;
  }
  void store(int which, float *state, double units_per_code) const {
    const auto &[sums, last_error] = channels_[which];
    const auto scale = static_cast<Real>(units_per_code);
    for (std::size_t i = 0; i < order_; ++i) state[i] = static_cast<float>(sums[i] * scale);
    state[order_] = static_cast<float>(last_error * scale);
  }

  FeedbackRow<Real> row(int which, const Real *noise, Real *samples) {
    return {noise, samples, channels_[which].sums.data(), &channels_[which].last_error};
  }

private:
  struct Channel {
    std::vector<Real> sums;
    Real last_error = 0;
  };

  std::size_t order_ = 0;
  std::vector<Real> taps_, poles_;
  Channel channels_[2];
};

}  // namespace auspool
