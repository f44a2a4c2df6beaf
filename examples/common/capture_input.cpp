#include "common/capture_input.h"

#include <chrono>
#include <thread>

#include "common/device.h"

namespace example {
namespace {

constexpr int kFrameBytes = 2 * sizeof(float);
constexpr int kRingFrames = 1 << 16;  // more than a second at usual rates

}  // namespace

CaptureInput::CaptureInput()
    : ring_(rbuffer_create(kRingFrames * kFrameBytes, 0), rbuffer_destroy), line_(auline_create(), auline_destroy) {
  if (!ring_ || !line_) throw std::bad_alloc();
  const std::int32_t status = auline_start(line_.get(), hear, this);
  if (status != 0) throw std::runtime_error("the input device does not start" + status_text(status));
  (void)wait_for(kFrameBytes);
}

// On the device's thread. What finds no room is lost, and so is a meter's worth of it at most.
void CaptureInput::hear(void *self, const au_channel_pair *channels, int32_t frames, float rate) {
  auto &input = *static_cast<CaptureInput *>(self);
  constexpr int kAtOnce = 256;
  float block[2 * kAtOnce];
  input.rate_.store(rate, std::memory_order_relaxed);
  for (int32_t done = 0; done < frames;) {
    const int32_t count = std::min<int32_t>(kAtOnce, frames - done);
    for (int32_t i = 0; i < count; ++i) {
      block[2 * i] = channels->left[done + i];
      block[2 * i + 1] = channels->right[done + i];
    }
    (void)rbuffer_write(input.ring_.get(), block, count * kFrameBytes);
    done += count;
  }
}

bool CaptureInput::wait_for(int bytes) const {
  constexpr std::chrono::milliseconds kLook{5};
  constexpr std::chrono::seconds kPatience{5};
  const auto begun = std::chrono::steady_clock::now();
  while (rbuffer_used_space(ring_.get()) < bytes) {
    if (interrupted()) return false;
    if (std::chrono::steady_clock::now() - begun > kPatience) throw std::runtime_error("the device brings no audio");
    std::this_thread::sleep_for(kLook);
  }
  return true;
}

int CaptureInput::read(int frames) {
  const auto count = static_cast<std::size_t>(frames);
  if (!wait_for(frames * kFrameBytes)) return 0;
  interleaved_.resize(2 * count);
  rbuffer_read(ring_.get(), interleaved_.data(), frames * kFrameBytes);
  left_.resize(count);
  right_.resize(count);
  for (std::size_t i = 0; i < count; ++i) {
    left_[i] = interleaved_[2 * i];
    right_[i] = interleaved_[2 * i + 1];
  }
  return frames;
}

}  // namespace example
