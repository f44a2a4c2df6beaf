#include "tags/id3/frames.h"

#include "base/byte_order.h"
#include "tags/id3/syncsafe.h"

namespace auspool::tags {
namespace {

std::uint32_t load_24(const std::uint8_t *from) {
  return std::uint32_t{from[0]} << 16 | load_be<std::uint16_t>(from + 1);
}

// A frame's header:
//
//   offset  size  from ID3v2.3 on                                            offset  size  ID3v2.2
//   0       4     id                                                         0       3     id
//   4       4     size of the data: plain in 2.3, syncsafe from 2.4 on       3       3     size
//   8       2     flags
struct FrameHeader {
  std::uint32_t id;
  std::uint32_t size;
};

FrameHeader frame_header(const std::uint8_t *from, int major) {
  if (major <= 2) return {load_24(from), load_24(from + 3)};
  return {load_be<std::uint32_t>(from), major == 3 ? load_be<std::uint32_t>(from + 4) : decode_syncsafe_size(from + 4)};
}

}  // namespace

std::optional<Frame> FrameWalk::next() {
  const std::size_t header_size = frh_size(major_);
  if (rest_.size() < header_size) return std::nullopt;
  const auto [id, size] = frame_header(rest_.data(), major_);
  rest_ = rest_.subspan(header_size);
  if (id == 0 || size == 0 || size > rest_.size()) {
    rest_ = {};
    return std::nullopt;
  }
  const Frame frame = {id, rest_.first(size)};
  rest_ = rest_.subspan(size);
  return frame;
}

}  // namespace auspool::tags
