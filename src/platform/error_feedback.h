// A quantiser with error feedback: the errors of earlier samples, filtered, are taken off each sample before it is
// rounded. The noise of rounding then has the shape of 1 - taps[0] z^-1 - taps[1] z^-2 ...
//
// All values are in units of one code. Nothing here allocates, locks or makes a system call, and results do not depend
// on the processor.
#pragma once

#include <cstddef>

namespace auspool {

// How many samples are quantised between two updates of the sums that reach beyond them.
inline constexpr std::size_t kFeedbackBlock = 8;

template <typename Real>
struct ErrorFeedback {
  const Real *taps;   // `order`, and kFeedbackBlock zeros behind them
  const Real *poles;  // `order`, or null
  std::size_t order;
  Real highest, lowest;  // the extreme codes
  Real *sums;            // the filtered errors for the samples to come: `order`, and kFeedbackBlock zeros behind them
  Real last_error;
};

// Quantises `samples` in place, `noise` being added ahead of the rounding. A sample that rounds to above `highest`
// becomes -lowest, one below `lowest` becomes `lowest`; their error is held to one code. NaN stays, without error.
template <typename Real>
void quantize(ErrorFeedback<Real> &feedback, const Real *noise, Real *samples, std::size_t count);

}  // namespace auspool
