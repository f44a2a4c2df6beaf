#include "resampler/resampler/interpolation.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace auspool {
namespace {

constexpr double kMostFrames = std::numeric_limits<std::int32_t>::max();

// The input frame at a position, counted in single precision: it may be rounded up to the next one.
double frame_at(double t) {
  return std::floor(static_cast<float>(t));
}

}  // namespace

ResamplerPlace resampler_place(const ResamplerPosition &position, double i, std::uint32_t used) {
  const double t = position.at(i);
  const double last = used > 0 ? used - 1.0 : 0.0;
  const double frame = std::min(std::max(0.0, frame_at(t)), last);
  return {frame, static_cast<float>(t - frame)};
}

ResamplerRun find_run(const ResamplerPosition &position, std::uint32_t used, std::uint32_t frames_out) {
  if (!(position.ratio > 0.0) || used > kMostFrames) return {frames_out, frames_out};
  std::uint32_t begin = 0, end = frames_out;
  while (begin < end && !(frame_at(position.at(begin)) >= 3.0)) ++begin;
  while (begin < end && !(frame_at(position.at(end - 1.0)) < used)) --end;
  return {begin, end};
}

void find_places(const ResamplerPosition &position, std::uint32_t first, std::uint32_t end, FourPointPlaces &places) {
  places.count = std::min(end - first, FourPointPlaces::kMost);
  for (std::uint32_t i = 0; i < places.count; ++i) {
    const double t = position.at(static_cast<double>(first) + static_cast<std::int32_t>(i));
    const auto frame = static_cast<std::int32_t>(static_cast<float>(t));  // of what is not negative: its floor
    places.offset[i] = frame - 3;
    places.t[i] = static_cast<float>(t - frame);
  }
}

float interpolate_at_edge(const ResamplerPlace &place, const float *history, Strided<const float> input,
                          std::uint32_t used) {
  const auto sample = [&](std::size_t i) {  // frame -3 + i of the input
    if (i < 3) return history[i];
    return used > 0 ? input[i - 3] : history[2];
  };
  const auto i = static_cast<std::size_t>(place.frame);
  return ResamplerPolynomial()(sample(i), sample(i + 1), sample(i + 2), sample(i + 3), place.distance);
}

}  // namespace auspool
