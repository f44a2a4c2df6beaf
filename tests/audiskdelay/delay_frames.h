// Frames that tell which they are, and that come through 16 bits unchanged.
#pragma once

#include <cstdint>
#include <vector>

namespace auspool::testing {

// Numbered from 1 on, so that none is silence: 24 bits in two samples.
inline void put_frame(float *to, std::uint64_t number) {
  to[0] = static_cast<float>(static_cast<std::int64_t>(number % 4096) + 1) / 32768.0f;
  to[1] = static_cast<float>(static_cast<std::int64_t>(number / 4096 % 4096) + 1) / 32768.0f;
}

// 0 is silence, and -1 no frame of ours.
inline std::int64_t number_of(const float *frame) {
  if (frame[0] == 0.0f && frame[1] == 0.0f) return 0;
  const float low = frame[0] * 32768.0f - 1, high = frame[1] * 32768.0f - 1;
  if (!(low >= 0 && low < 4096 && high >= 0 && high < 4096)) return -1;
  const auto number = static_cast<std::int64_t>(high) * 4096 + static_cast<std::int64_t>(low);
  float again[2];
  put_frame(again, static_cast<std::uint64_t>(number));
  return again[0] == frame[0] && again[1] == frame[1] ? number : -1;
}

// Runs of frames, `first` and those that follow it; of silence, 0 all along.
struct Span {
  std::int64_t first;
  std::size_t frames;
  bool operator==(const Span &) const = default;
};

inline void add_frame(std::vector<Span> &spans, std::int64_t number) {
  if (!spans.empty()) {
    Span &last = spans.back();
    const auto follows = last.first > 0 ? last.first + static_cast<std::int64_t>(last.frames) : last.first;
    if (number == follows) return void(++last.frames);
  }
  spans.push_back({number, 1});
}

}  // namespace auspool::testing
