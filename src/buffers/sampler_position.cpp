#include "buffers/sampler_position.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace auspool {
namespace {

// Whether output frame k has left the history behind, so that its four frames are all source frames.
bool past_history(const SamplerPosition &position, double k) {
  return std::floor(position.in_sequence(k)) >= 4.0;
}

// The largest count in (low, high) that `fits`, where `fits` holds up to some count and no further; low if none does.
template <typename Fits>
std::uint32_t last_that_fits(std::uint32_t low, std::uint32_t high, const Fits &fits) {
  while (high - low > 1) {
    const std::uint32_t middle = low + (high - low) / 2;
    (fits(middle) ? low : high) = middle;
  }
  return low;
}

}  // namespace

SamplerPosition sampler_position(double fraction, double rate_in, double rate_out) {
  const double step = rate_in / rate_out;
  return {step, step * (1.0 - fraction) + 1.0};
}

std::uint32_t frames_from(double count) {
  constexpr auto kMost = std::numeric_limits<std::uint32_t>::max();
  if (!(count > 0.0)) return 0;
  return count < kMost ? static_cast<std::uint32_t>(count) : kMost;
}

std::uint32_t sampler_frames_needed(const SamplerPosition &position, std::uint32_t frames_out) {
  const double k = static_cast<double>(frames_out) - 1.0;
  // Positions rise or fall throughout: if any frame is past the history, the first or the last is.
  if (!past_history(position, 0.0) && !past_history(position, k)) {
    return frames_from(std::floor(position.in_sequence(k)) + 1.0);
  }
  return frames_from(std::max(std::floor(position.in_source(k)), 0.0) + 1.0);
}

std::uint32_t sampler_frames_possible(const SamplerPosition &position, std::uint32_t wanted, std::uint32_t frames_in) {
  const auto fits = [&](std::uint32_t n) { return sampler_frames_needed(position, n) <= frames_in; };
  constexpr int kUsual = 4;  // the first guess is at most a few frames off, unless the rates have just changed much
  for (int tries = 0; tries < kUsual && wanted > 0; ++tries, --wanted) {
    if (fits(wanted)) return wanted;
  }
  if (wanted == 0 || !(position.step > 0.0)) return 0;
  // The need rises with the count, but for one place where it may fall by one through rounding: where the history
  // ends. So search on each side of that place.
  const std::uint32_t within =
      last_that_fits(0, wanted + 1, [&](std::uint32_t n) { return !past_history(position, n - 1.0); });
  const std::uint32_t beyond = last_that_fits(within, wanted + 1, fits);
  if (beyond > within) return beyond;
  return last_that_fits(0, within + 1, fits);
}

}  // namespace auspool
