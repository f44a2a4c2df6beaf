// Where two channels of a device lie in its buffers. Players write there, lines read there.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/audio_device.h"

namespace auspool {

// One channel: sample i is data[i * stride].
struct ChannelDescriptor {
  float *data;
  std::uint32_t stride;
};

// Finds the channels numbered `left` and `right`, from 1 through all buffers; both 0 lets the list decide. Returns the
// frames that both have, with the descriptors, left first; 0 if there is nothing to be found, also in a null list. A
// number beyond the last, or a buffer without data, leaves its side to the other.
std::uint32_t figure_out_buffer_info(std::uint32_t left, std::uint32_t right, const platform::BufferList *list,
                                     ChannelDescriptor (&channels)[2]);

// The last mapping, so that a pass in which nothing changed compares bytes and does no more.
struct buffer_info_cache {
  static constexpr std::size_t kMostBytes = 512;  // of a list: 31 buffers

  std::uint32_t valid = 0;
  std::uint32_t left_channel = 0;
  std::uint32_t right_channel = 0;
  std::uint32_t frames = 0;
  ChannelDescriptor channels[2] = {};
  alignas(8) std::byte list[kMostBytes] = {};
};

// figure_out_buffer_info through the cache. Safe on the real-time thread.
std::uint32_t check_buffer_info_cache(std::uint32_t left, std::uint32_t right, const platform::BufferList *list,
                                      ChannelDescriptor (&channels)[2], buffer_info_cache &cache);

}  // namespace auspool
