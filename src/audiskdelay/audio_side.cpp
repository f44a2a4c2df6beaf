#include "audiskdelay/audio_side.h"

#include <unistd.h>

#include <algorithm>

#include "audiskdelay/pcm16.h"

namespace auspool::audiskdelay {
namespace {

constexpr std::int32_t kPcm16FrameBytes = 4;

void write_all(rbuffer &ring, const void *data, std::int32_t bytes) {
  constexpr useconds_t kWait = 1000;
  for (const auto *from = static_cast<const char *>(data); bytes > 0;) {
    const std::int32_t written = rbuffer_write(&ring, from, bytes);
    from += written;
    bytes -= written;
    if (written == 0) usleep(kWait);
  }
}

}  // namespace

std::int32_t write_frames(rbuffer &write_ring, std::int32_t frame_bytes, const float *interleaved,
                          std::int32_t frames) {
  constexpr std::int32_t kAtOnce = 1024;
  std::int16_t block[2 * kAtOnce];
  for (std::int32_t done = 0, count; done < frames; done += count, interleaved += 2 * count) {
    count = std::min(kAtOnce, frames - done);
    if (frame_bytes == kPcm16FrameBytes) std::transform(interleaved, interleaved + 2 * count, block, to_pcm16);
    write_all(write_ring, frame_bytes == kPcm16FrameBytes ? static_cast<const void *>(block) : interleaved,
              count * frame_bytes);
  }
  return frames;
}

std::int32_t read_frames(rbuffer &read_ring, std::int32_t frame_bytes, float *interleaved, std::int32_t frames) {
  const std::int32_t waiting = rbuffer_used_space(&read_ring) / frame_bytes;
  const std::int32_t bytes = rbuffer_read(&read_ring, interleaved, std::min(waiting, frames) * frame_bytes);
  const std::int32_t count = bytes / frame_bytes;
  if (frame_bytes == kPcm16FrameBytes) expand_pcm16(interleaved, static_cast<std::size_t>(2 * count));
  return count;
}

std::int32_t discard_frames(rbuffer &read_ring, float *interleaved, std::int32_t frames) {
  if (frames > 0) std::fill_n(interleaved, 2, 0.0f);
  rbuffer_read(&read_ring, nullptr, rbuffer_used_space(&read_ring));
  return frames;
}

}  // namespace auspool::audiskdelay
