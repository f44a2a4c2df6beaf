#include "meter/history.h"

#include <algorithm>

namespace meter {
namespace {

void raise(std::vector<float> &all, const std::vector<float> &levels) {
  std::transform(all.begin(), all.end(), levels.begin(), all.begin(), [](float a, float b) { return std::max(a, b); });
}

// `all` becomes the highest of itself and a later moment.
void raise(Moment &all, const Moment &later) {
  all.seconds = later.seconds;
  for (std::size_t i = 0; i < 2; ++i) {
    all.peak[i] = std::max(all.peak[i], later.peak[i]);
    all.rms[i] = std::max(all.rms[i], later.rms[i]);
    all.clip[i] = all.clip[i] || later.clip[i];
  }
  raise(all.spectrum, later.spectrum);
}

}  // namespace

void History::add(const Moment &moment) {
  if (moments_ == 0)
    highest_ = moment;
  else
    raise(highest_, moment);
  if (moments_++ % moments_per_column_ != 0) return raise(columns_.back(), moment);
  columns_.push_back(moment);
  if (columns_.size() <= kMostColumns) return;
  // Two columns become one each. The last, which has just begun, stays by itself.
  for (std::size_t i = 0; i < kMostColumns / 2; ++i) {
    columns_[i] = columns_[2 * i];
    raise(columns_[i], columns_[2 * i + 1]);
  }
  columns_[kMostColumns / 2] = moment;
  columns_.resize(kMostColumns / 2 + 1);
  moments_per_column_ *= 2;
}

}  // namespace meter
