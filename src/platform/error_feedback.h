// A quantiser with error feedback: the errors of earlier samples, filtered, are taken off each sample before it is
// rounded. The noise of rounding then has the shape of 1 - taps[0] z^-1 - taps[1] z^-2 ..., over 1 + poles[0] z^-1 +
// poles[1] z^-2 where there are poles; the taps are then less the poles.
//
// All values are in units of one code. Nothing here allocates, locks or makes a system call, and results do not depend
// on the processor.
#pragma once

#include <array>
#include <cstddef>

namespace auspool {

// How many samples are quantised between two updates of the sums that reach beyond them.
inline constexpr std::size_t kFeedbackBlock = 8;

template <typename Real>
struct FeedbackFilter {
  const Real *taps;   // `order`, and kFeedbackBlock zeros behind them
  const Real *poles;  // two, where `order` is 2, or null
  std::size_t order;
  Real highest, lowest;  // the extreme codes
};

// A row of samples of one channel, quantised in place, with what the channel keeps from row to row.
template <typename Real>
struct FeedbackRow {
  const Real *noise;  // added ahead of the rounding
  Real *samples;
  Real
      *sums;  // the filtered errors of the samples to come: `order` of the filter, and kFeedbackBlock zeros behind them
  Real *last_error;
};

// Quantises `count` samples of one channel, or of two at once: in one channel each sample waits for the one before it;
// two use each other's wait and take little longer than one. A sample that rounds to above `highest` becomes -lowest,
// one below `lowest` becomes `lowest`; their error is held to one code. NaN stays, without error.
template <typename Real, std::size_t kChannels>
void quantize(const FeedbackFilter<Real> &filter, const std::array<FeedbackRow<Real>, kChannels> &rows,
              std::size_t count);

}  // namespace auspool
