#include "auplayer/buffer_info.h"

#include <algorithm>
#include <cstring>
#include <span>

namespace auspool {
namespace {

using platform::BufferList;
using platform::DeviceBuffer;

std::span<const DeviceBuffer> buffers_of(const BufferList &list) {
  return {list.buffers(), list.count};
}

bool is_usable(const DeviceBuffer &buffer) {
  return buffer.data && buffer.bytes != 0 && buffer.channels != 0;
}

std::uint32_t frames_of(const DeviceBuffer &buffer) {
  return static_cast<std::uint32_t>(buffer.bytes / (std::uint64_t{buffer.channels} * sizeof(float)));
}

ChannelDescriptor channel_in(const DeviceBuffer &buffer, std::uint32_t channel) {
  return {static_cast<float *>(buffer.data) + channel, buffer.channels};
}

std::uint32_t take_buffer(const DeviceBuffer &buffer, ChannelDescriptor (&channels)[2]) {
  channels[0] = channel_in(buffer, 0);
  channels[1] = channel_in(buffer, buffer.channels == 1 ? 0 : 1);
  return frames_of(buffer);
}

// The first usable buffer of several channels, unless two of one channel come first.
std::uint32_t choose_automatically(const BufferList &list, ChannelDescriptor (&channels)[2]) {
  const DeviceBuffer *mono = nullptr;
  for (const DeviceBuffer &buffer : buffers_of(list)) {
    if (!is_usable(buffer)) continue;
    if (buffer.channels > 1) return take_buffer(buffer, channels);
    if (mono) {
      channels[0] = channel_in(*mono, 0);
      channels[1] = channel_in(buffer, 0);
      return std::min(mono->bytes, buffer.bytes) >> 2;
    }
    mono = &buffer;
  }
  return mono ? take_buffer(*mono, channels) : 0;
}

// Channel `number`, from 1, and its frames; 0 frames if it is not there.
std::uint32_t find_channel(const BufferList &list, std::uint32_t number, ChannelDescriptor &channel) {
  std::uint64_t before = 0;
  for (const DeviceBuffer &buffer : buffers_of(list)) {
    if (number <= before + buffer.channels) {
      if (!is_usable(buffer)) return 0;
      channel = channel_in(buffer, static_cast<std::uint32_t>(number - 1 - before));
      return frames_of(buffer);
    }
    before += buffer.channels;
  }
  return 0;
}

std::size_t compared_bytes(const BufferList &list) {
  return sizeof(BufferList) + list.count * sizeof(DeviceBuffer);
}

}  // namespace

std::uint32_t figure_out_buffer_info(std::uint32_t left, std::uint32_t right, const BufferList *list,
                                     ChannelDescriptor (&channels)[2]) {
  if (!list) return 0;
  if (left == 0 && right == 0) return choose_automatically(*list, channels);
  const std::uint32_t left_frames = find_channel(*list, left != 0 ? left : right, channels[0]);
  const std::uint32_t right_frames = find_channel(*list, right != 0 ? right : left, channels[1]);
  if (left_frames == 0) channels[0] = channels[1];
  if (right_frames == 0) channels[1] = channels[0];
  if (left_frames == 0 || right_frames == 0) return std::max(left_frames, right_frames);
  return std::min(left_frames, right_frames);
}

std::uint32_t check_buffer_info_cache(std::uint32_t left, std::uint32_t right, const BufferList *list,
                                      ChannelDescriptor (&channels)[2], buffer_info_cache &cache) {
  const bool was_valid = cache.valid != 0;
  cache.valid = 0;
  if (!list) return 0;
  const std::size_t bytes = compared_bytes(*list);
  const bool fits = bytes <= buffer_info_cache::kMostBytes;
  if (was_valid && fits && cache.left_channel == left && cache.right_channel == right &&
      std::memcmp(cache.list, list, bytes) == 0) {
    cache.valid = 1;
    std::ranges::copy(cache.channels, channels);
    return cache.frames;
  }
  const std::uint32_t frames = figure_out_buffer_info(left, right, list, channels);
  if (!fits) return frames;
  cache.left_channel = left;
  cache.right_channel = right;
  cache.frames = frames;
  std::ranges::copy(channels, cache.channels);
  std::memcpy(cache.list, list, bytes);
  cache.valid = 1;
  return frames;
}

}  // namespace auspool
