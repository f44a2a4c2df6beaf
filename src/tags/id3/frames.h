// Frames one after the other, as they lie in a tag or in another frame.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace auspool::tags {

struct Frame {
  std::uint32_t id;  // of ID3v2.2: three letters, right-aligned
  std::span<const std::uint8_t> data;
};

// The bytes in front of a frame's data: 10 from ID3v2.3 on, 6 before.
constexpr std::size_t frh_size(int major_version) {
  return major_version > 2 ? 10 : 6;
}

class FrameWalk {
public:
  FrameWalk(std::span<const std::uint8_t> frames, int major_version) : rest_(frames), major_(major_version) {}

  // Nothing at the end, which is also where padding starts, or a frame that says it is empty or longer than what is
  // left.
  std::optional<Frame> next();

private:
  std::span<const std::uint8_t> rest_;
  int major_;
};

}  // namespace auspool::tags
