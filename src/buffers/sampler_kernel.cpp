#include "buffers/sampler_kernel.h"

#include <algorithm>
#include <cmath>

namespace auspool {
namespace {

constexpr float kSixth = 1.0f / 6.0f;

// `t` is the distance from b, in frames.
inline float lagrange(float a, float b, float c, float d, float t) {
  const float t2 = t * t;
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

// The steady run: all four frames of output frames `from` to `to` are source frames.
void interpolate_steady(const SamplerPosition &position, Strided<const float> source, Strided<float> destination,
                        std::uint32_t from, std::uint32_t to) {
  for (std::uint32_t k = from; k < to; ++k) {
    const double at = position.in_source(k);
    const auto last = static_cast<std::size_t>(at);
    const auto t = static_cast<float>(at - static_cast<double>(last));
    destination[k] = lagrange(source[last - 3], source[last - 2], source[last - 1], source[last], t);
  }
}

}  // namespace

void sampler_interpolate(const SamplerPosition &position, const float *history, Strided<const float> source,
                         std::uint32_t frames_in, Strided<float> destination, std::uint32_t frames_out) {
  const Sequence sequence = {history, source};
  const auto one_frame = [&](std::uint32_t k, Place place) {
    const std::size_t i = place.index;
    destination[k] = lagrange(sequence[i], sequence[i + 1], sequence[i + 2], sequence[i + 3], place.t);
  };
  std::uint32_t k = 0;
  for (; k < frames_out && in_history(position.in_sequence(k)); ++k) {
    one_frame(k, within_history(position.in_sequence(k), frames_in));
  }
  for (; k < frames_out && !(position.step > 0.0 && position.in_source(k) >= 3.0); ++k) {
    one_frame(k, within_source(position.in_source(k), frames_in));
  }
  std::uint32_t steady_end = frames_out;
  while (steady_end > k && !(position.in_source(steady_end - 1.0) < frames_in)) --steady_end;
  interpolate_steady(position, source, destination, k, steady_end);
  for (k = steady_end; k < frames_out; ++k) one_frame(k, within_source(position.in_source(k), frames_in));
}

}  // namespace auspool
