// The three layouts of a block for `ausampler`, behind one interface: planes in, planes out. Every buffer is exactly
// as large as the block, so that the address sanitizer sees any sample beyond it; what lies between strided samples is
// checked.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "auspool/ausampler.h"

namespace auspool::testing {

using Planes = std::vector<std::vector<float>>;

enum class Layout { interleaved, noninterleaved, iovec };
enum class Direction { pull, push };

// Passes a block through the member of the family. `frames_out` is what it gives, `asked` what it is called with.
class LayoutCall {
public:
  LayoutCall(Layout layout, Direction direction, ausampler *sampler, double rate_in, double rate_out)
      : layout_(layout), pull_(direction == Direction::pull), sampler_(sampler), in_(rate_in), out_(rate_out) {}

  Planes operator()(const Planes &source, std::size_t frames_out, std::uint32_t asked) const {
    switch (layout_) {
    case Layout::interleaved:
      return interleaved(source, frames_out, asked);
    case Layout::noninterleaved:
      return noninterleaved(source, frames_out, asked);
    case Layout::iovec:
      return iovec(source, frames_out, asked);
    }
    return {};
  }

private:
  static constexpr float kUntouched = 12345.0f;

  using Strided = std::vector<float>;

  static Strided spread(const std::vector<float> &plane, std::size_t stride) {
    Strided strided(plane.empty() ? 0 : (plane.size() - 1) * stride + 1, kUntouched);
    for (std::size_t i = 0; i < plane.size(); ++i) strided[i * stride] = plane[i];
    return strided;
  }

  static std::vector<float> gather(const Strided &strided, std::size_t stride) {
    std::vector<float> plane;
    for (std::size_t i = 0; i < strided.size(); ++i) {
      if (i % stride == 0) {
        plane.push_back(strided[i]);
      } else {
        EXPECT_EQ(strided[i], kUntouched);
      }
    }
    return plane;
  }

  Planes interleaved(const Planes &source, std::size_t frames_out, std::uint32_t asked) const {
    const std::size_t channels = source.size();
    std::vector<float> from(channels * source[0].size()), to(channels * frames_out);
    for (std::size_t i = 0; i < from.size(); ++i) from[i] = source[i % channels][i / channels];
    const auto call = pull_ ? ausampler_read_interleaved : ausampler_write_interleaved;
    EXPECT_EQ(call(sampler_, from.data(), to.data(), asked, in_, out_), asked);
    Planes result(channels, std::vector<float>(frames_out));
    for (std::size_t i = 0; i < to.size(); ++i) result[i % channels][i / channels] = to[i];
    return result;
  }

  Planes noninterleaved(const Planes &source, std::size_t frames_out, std::uint32_t asked) const {
    Planes result(source.size(), std::vector<float>(frames_out));
    std::vector<const float *> from;
    std::vector<float *> to;
    for (const auto &plane : source) from.push_back(plane.data());
    for (auto &plane : result) to.push_back(plane.data());
    const auto call = pull_ ? ausampler_read_noninterleaved : ausampler_write_noninterleaved;
    EXPECT_EQ(call(sampler_, from.data(), to.data(), asked, in_, out_), asked);
    return result;
  }

  // Each channel has strides of its own, another in the source than in the destination.
  Planes iovec(const Planes &source, std::size_t frames_out, std::uint32_t asked) const {
    std::vector<Strided> sources, destinations;
    std::vector<ausampler_iovec> from, to;
    for (std::size_t c = 0; c < source.size(); ++c) {
      sources.push_back(spread(source[c], c % 3 + 1));
      destinations.push_back(spread(std::vector<float>(frames_out), (c + 1) % 3 + 1));
    }
    for (std::size_t c = 0; c < source.size(); ++c) {
      from.push_back({sources[c].data(), static_cast<std::uint32_t>((c % 3 + 1) * sizeof(float))});
      to.push_back({destinations[c].data(), static_cast<std::uint32_t>(((c + 1) % 3 + 1) * sizeof(float))});
    }
    const auto call = pull_ ? ausampler_read_iovec : ausampler_write_iovec;
    EXPECT_EQ(call(sampler_, from.data(), to.data(), asked, in_, out_), asked);
    Planes result;
    for (std::size_t c = 0; c < source.size(); ++c) result.push_back(gather(destinations[c], (c + 1) % 3 + 1));
    return result;
  }

  Layout layout_;
  bool pull_;
  ausampler *sampler_;
  double in_, out_;
};

}  // namespace auspool::testing
