#include "buffers/sampler_kernel.h"

#include <algorithm>
#include <cmath>

#include "base/float4.h"

namespace auspool {
namespace {

constexpr float kSixth = 1.0f / 6.0f;

// `t` is the distance from b, in frames. For one sample, or for four at a time.
template <typename V>
inline V lagrange(V a, V b, V c, V d, V t) {
  const V t2 = t * t;
  return b + t * kSixth * (6.0f * c - 3.0f * b - 2.0f * a - d) + t2 * 0.5f * (a - 2.0f * b + c) +
         t2 * t * kSixth * (d + 3.0f * (b - c) - a);
}

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
  return lagrange(s[i], s[i + 1], s[i + 2], s[i + 3], place.t);
}

}  // namespace

SteadyRun find_steady_run(const SamplerPosition &position, std::uint32_t frames_in, std::uint32_t frames_out) {
  constexpr double kMostStep = 1e6;  // offsets within SamplerPlaces stay far below 2^31
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

void find_places(const SamplerPosition &position, std::uint32_t first, std::uint32_t end, SamplerPlaces &places) {
  places.count = std::min(end - first, SamplerPlaces::kMost);
  const double base = std::floor(position.in_source(first));
  places.base = static_cast<std::size_t>(base) - 3;
  for (std::uint32_t i = 0; i < places.count; ++i) {
    const double at = position.in_source(static_cast<double>(first) + static_cast<std::int32_t>(i)) - base;
    places.offset[i] = static_cast<std::int32_t>(at);
    places.t[i] = static_cast<float>(at - places.offset[i]);
  }
}

void interpolate_channel(const SamplerPlaces &places, Strided<const float> source, Strided<float> destination) {
  const Strided<const float> from = source.from(places.base);
  const auto one = [&](std::uint32_t k) {
    const Strided<const float> s = from.from(static_cast<std::size_t>(places.offset[k]));
    destination[k] = lagrange(s[0], s[1], s[2], s[3], places.t[k]);
  };
  std::uint32_t k = 0;
  for (; k + 4 <= places.count; k += 4) {
    const auto row = [&](std::uint32_t i) {
      const Strided<const float> s = from.from(static_cast<std::size_t>(places.offset[k + i]));
      return source.stride == 1 ? load4(s.data) : Float4{s[0], s[1], s[2], s[3]};
    };
    Float4 a = row(0), b = row(1), c = row(2), d = row(3);
    transpose4(a, b, c, d);
    const Float4 y = lagrange(a, b, c, d, load4(places.t + k));
    for (std::uint32_t i = 0; i < 4; ++i) destination[k + i] = y[i];
  }
  for (; k < places.count; ++k) one(k);
}

void interpolate_pair(const SamplerPlaces &places, Strided<const float> source, Strided<float> destination) {
  const Strided<const float> from = source.from(places.base);
  // Two frames at a time: left and right of the first, left and right of the second.
  for (std::uint32_t k = 0; k < places.count; k += 2) {
    const std::uint32_t next = k + 1 < places.count ? k + 1 : k;
    const Strided<const float> s = from.from(static_cast<std::size_t>(places.offset[k]));
    const Strided<const float> n = from.from(static_cast<std::size_t>(places.offset[next]));
    const auto frames = [&](std::size_t i) { return load_pairs(&s[i], &n[i]); };
    const float t = places.t[k], u = places.t[next];
    store_pairs(&destination[k], &destination[next],
                lagrange(frames(0), frames(1), frames(2), frames(3), Float4{t, t, u, u}));
  }
}

}  // namespace auspool
