#include "buffers/sampler_kernel.h"

#include <algorithm>
#include <cmath>

namespace auspool {
namespace {

// The sequence that is read: the history, then the source.
struct Sequence {
  const float *history;
  Strided<const float> source;

  float operator[](std::size_t i) const { return i < 4 ? history[i] : source[i - 4]; }
};

// One output frame: the first of its four frames in the sequence, and the distance from the second.
struct Place {
  std::size_t index;
  float t;
};

// While the position lies in the history, it counts there. Later, and when it lies before the history, it counts in
// the source, from frame 0 on. The index is held where four frames exist; the distance is that to the held index, so
// that the signal stays continuous.
Place within_history(double at, std::uint32_t frames_in) {
  const double index = std::min(std::floor(at), static_cast<double>(frames_in));
  return {static_cast<std::size_t>(index), static_cast<float>(at - index)};
}

Place within_source(double at, std::uint32_t frames_in) {
  const double whole = std::floor(at);
  const double index = std::min(whole > 0.0 ? whole : 0.0, static_cast<double>(frames_in) - 1.0);
  return {static_cast<std::size_t>(index + 1.0), static_cast<float>(at - index)};
}

bool in_history(double at) {
  return at >= 0.0 && at < 4.0;
}

float at_place(const Sequence &s, Place place) {
  const std::size_t i = place.index;
  return Lagrange()(s[i], s[i + 1], s[i + 2], s[i + 3], place.t);
}

}  // namespace

SteadyRun find_steady_run(const SamplerPosition &position, std::uint32_t frames_in, std::uint32_t frames_out) {
  constexpr double kMostStep = 1e6;  // offsets within FourPointPlaces stay far below 2^31
  std::uint32_t begin = 0, end = frames_out;
  if (!(position.step > 0.0 && position.step < kMostStep)) return {frames_out, frames_out};
  while (begin < end && in_history(position.in_sequence(begin))) ++begin;
  while (begin < end && !(position.in_source(begin) >= 3.0)) ++begin;
  while (begin < end && !(position.in_source(end - 1.0) < frames_in)) --end;
  return {begin, end};
}

void interpolate_edges(const SamplerPosition &position, SteadyRun steady, const float *history,
                       Strided<const float> source, std::uint32_t frames_in, Strided<float> destination,
                       std::uint32_t frames_out) {
  const Sequence sequence = {history, source};
  bool past_history = false;
  const auto one = [&](std::uint32_t k) {
    past_history = past_history || !in_history(position.in_sequence(k));
    destination[k] = at_place(sequence, past_history ? within_source(position.in_source(k), frames_in)
                                                     : within_history(position.in_sequence(k), frames_in));
  };
  for (std::uint32_t k = 0; k < steady.begin; ++k) one(k);
  for (std::uint32_t k = steady.end; k < frames_out; ++k) one(k);
}

void find_places(const SamplerPosition &position, std::uint32_t first, std::uint32_t end, FourPointPlaces &places) {
  places.count = std::min(end - first, FourPointPlaces::kMost);
  const double base = std::floor(position.in_source(first));
  places.base = static_cast<std::size_t>(base) - 3;
  for (std::uint32_t i = 0; i < places.count; ++i) {
    const double at = position.in_source(static_cast<double>(first) + static_cast<std::int32_t>(i)) - base;
    places.offset[i] = static_cast<std::int32_t>(at);
    places.t[i] = static_cast<float>(at - places.offset[i]);
  }
}

}  // namespace auspool
