// The host's side of the ring, and what a host asks.
#include <unistd.h>

#include <algorithm>

#include "auplayer/player.h"

namespace auspool {
namespace {

constexpr useconds_t kLook = 1000;             // microseconds between two looks at the ring
constexpr std::int32_t kMostLeftBytes = 1024;  // of the old rate when the new one begins

}  // namespace

// A moment within a resize may show less than nothing.
std::int32_t Player::used_bytes() const {
  return std::max(rbuffer2_used_space(ring.get()), 0);
}

bool Player::is_playing() const {
  return active && (!play_done || used_bytes() != 0);
}

float Player::buffer_length() const {
  return static_cast<float>(used_bytes() >> 2) / source_rate;
}

float Player::now_playing() const {
  if (!active) return 0.0f;
  const double waiting = static_cast<double>(used_bytes() >> 2) / static_cast<double>(source_rate);
  const double position = play_position.load(std::memory_order_relaxed) - waiting;
  return static_cast<float>(std::max(position - static_cast<double>(latency), 0.0));
}

void Player::move_position(std::uint32_t frames, float rate) {
  play_position.fetch_add(frames / static_cast<double>(rate), std::memory_order_relaxed);
}

void Player::play(const au_channel_pair &channels, std::int32_t stride, std::uint32_t frames, float rate) {
  if (current_device == platform::kNoDevice) return move_position(frames, rate);
  const std::unique_lock hold(lock, std::try_to_lock);
  if (!hold) return;
  if (rate != source_rate) {  // true for what is no number, too
    rbuffer2_flush_w(ring.get());
    source_rate_changes();
    source_rate = rate;
  }
  write_to_ring(channels, stride, frames);
  move_position(frames, rate);
}

void Player::write_to_ring(const au_channel_pair &channels, std::int32_t stride, std::uint32_t frames) {
  constexpr std::size_t kBlock = 256;
  float left[kBlock], right[kBlock];
  for (std::size_t done = 0; done < frames;) {
    if (stride == 1) {
      const std::size_t count = std::min<std::size_t>(frames - done, INT32_MAX / 8);
      rbuffer2_write(ring.get(), channels.left + done, channels.right + done, static_cast<std::int32_t>(4 * count));
      done += count;
      continue;
    }
    const std::size_t count = std::min(frames - done, kBlock);
    for (std::size_t i = 0; i < count; ++i) {
      const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(done + i) * stride;
      left[i] = channels.left[at];
      right[i] = channels.right[at];
    }
    rbuffer2_write(ring.get(), left, right, static_cast<std::int32_t>(4 * count));
    done += count;
  }
}

void Player::play_wait(const au_channel_pair &channels, std::int32_t stride, std::uint32_t frames, float rate) {
  if (current_device == platform::kNoDevice) return move_position(frames, rate);
  if (rate != source_rate) {
    while (used_bytes() > kMostLeftBytes && active && !play_done) usleep(kLook);
  }
  while (rbuffer2_free_space(ring.get()) < std::int64_t{4} * frames && active && !play_done) usleep(kLook);
  if (!play_done) play(channels, stride, frames, rate);
}

}  // namespace auspool
