// Interpolation between four neighbouring frames, at many places at a time: what the light rate converters share. The
// polynomial is theirs.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/float4.h"

namespace auspool {

// Samples of one channel, `stride` floats apart.
template <typename Sample>
struct Strided {
  Sample *data;
  std::size_t stride;

  Sample &operator[](std::size_t i) const { return data[i * stride]; }
  Strided from(std::size_t i) const { return {data + i * stride, stride}; }
};

// Where a run of output frames lies between the source frames. Found once, it serves all channels.
struct FourPointPlaces {
  static constexpr std::uint32_t kMost = 128;

  std::uint32_t count = 0;
  std::size_t base = 0;        // the source frame from which offsets count
  std::int32_t offset[kMost];  // of the first of the four frames
  float t[kMost];              // the place itself: what the polynomial is evaluated at
};

// One channel. polynomial(a, b, c, d, t) takes floats or Float4s.
template <typename Polynomial>
void interpolate_channel(const FourPointPlaces &places, Strided<const float> source, Strided<float> destination,
                         const Polynomial &polynomial) {
  const Strided<const float> run = source.from(places.base);
  const auto frames_at = [&](std::uint32_t k) { return run.from(static_cast<std::size_t>(places.offset[k])); };
  std::uint32_t k = 0;
  for (; k + 4 <= places.count; k += 4) {
    const auto row = [&](std::uint32_t i) {
      const Strided<const float> s = frames_at(k + i);
      return source.stride == 1 ? load4(s.data) : Float4{s[0], s[1], s[2], s[3]};
    };
    Float4 a = row(0), b = row(1), c = row(2), d = row(3);
    transpose4(a, b, c, d);
    const Float4 y = polynomial(a, b, c, d, load4(places.t + k));
    for (std::uint32_t i = 0; i < 4; ++i) destination[k + i] = y[i];
  }
  for (; k < places.count; ++k) {
    const Strided<const float> s = frames_at(k);
    destination[k] = polynomial(s[0], s[1], s[2], s[3], places.t[k]);
  }
}

// Two channels that lie side by side in source and destination, two frames at a time: left and right of the first,
// left and right of the second.
template <typename Polynomial>
void interpolate_pair(const FourPointPlaces &places, Strided<const float> source, Strided<float> destination,
                      const Polynomial &polynomial) {
  const Strided<const float> run = source.from(places.base);
  for (std::uint32_t k = 0; k < places.count; k += 2) {
    const std::uint32_t next = k + 1 < places.count ? k + 1 : k;
    const Strided<const float> s = run.from(static_cast<std::size_t>(places.offset[k]));
    const Strided<const float> n = run.from(static_cast<std::size_t>(places.offset[next]));
    const auto frames = [&](std::size_t i) { return load_pairs(&s[i], &n[i]); };
    const float t = places.t[k], u = places.t[next];
    store_pairs(&destination[k], &destination[next],
                polynomial(frames(0), frames(1), frames(2), frames(3), Float4{t, t, u, u}));
  }
}

}  // namespace auspool
