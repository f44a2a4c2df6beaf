// What a measurement has seen so far, in an amount of memory that does not grow with its length.
#pragma once

#include <cstdint>
#include <vector>

#include "meter/measurement.h"

namespace meter {

class History {
public:
  static constexpr std::size_t kMostColumns = 800;

  void add(const Moment &moment);

  // Moments in order, or the highest of runs of equally many moments.
  const std::vector<Moment> &columns() const { return columns_; }
  // The highest of all; `seconds` is the length.
  const Moment &highest() const { return highest_; }

private:
  std::vector<Moment> columns_;
  std::int64_t moments_ = 0, moments_per_column_ = 1;
  Moment highest_;
};

}  // namespace meter
