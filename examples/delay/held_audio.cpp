#include "delay/held_audio.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <stdexcept>
#include <thread>

namespace delay {
namespace {

// The delay's worker takes what was written a millisecond later, or when the disk lets it.
template <typename Done>
bool wait_until(const Done &done) {
  constexpr std::chrono::microseconds kLook{200};
  constexpr std::chrono::seconds kPatience{5};
  const auto begun = std::chrono::steady_clock::now();
  while (!done()) {
    if (std::chrono::steady_clock::now() - begun > kPatience) return false;
    std::this_thread::sleep_for(kLook);
  }
  return true;
}

}  // namespace

HeldAudio::HeldAudio(int seconds, double first, float rate)
    : delay_(audiskdelay2_create(seconds, nullptr, rate), audiskdelay2_destroy),
      rate_(static_cast<double>(rate)),
      silence_(std::llround(first * rate_)) {
  if (!delay_) throw std::runtime_error("there is no memory, or no room for a temporary file");
}

double HeldAudio::real_delay() const {
  float real = 0;
  audiskdelay2_info(delay_.get(), nullptr, &real);
  return static_cast<double>(real);
}

// What waits to be read, without what the worker has not yet taken. Seconds of single precision may stand for a few
// frames too many or too few; this is never more than there are.
std::int64_t HeldAudio::stored() const {
  const double frames = delay() * rate_;
  return std::max<std::int64_t>(std::llround(frames - frames * 0x1p-22), 0);
}

bool HeldAudio::all_is_stored() const {
  const auto held = static_cast<double>(held_);
  return stored() >= std::llround(held - held * 0x1p-20);
}

void HeldAudio::pass(const float *left, const float *right, int frames) {
  interleaved_.resize(static_cast<std::size_t>(2 * frames));
  for (std::size_t i = 0; i < static_cast<std::size_t>(frames); ++i) {
    interleaved_[2 * i] = left[i];
    interleaved_[2 * i + 1] = right[i];
  }
  held_ += audiskdelay2_write(delay_.get(), interleaved_.data(), frames);
  const auto silent = static_cast<int>(std::min<std::int64_t>(silence_, frames));
  silence_ -= silent;
  give(silent, frames);
}

int HeldAudio::drain(int frames) {
  if (silence_ + held_ == 0) held_ = stored();  // the few more
  const auto count = static_cast<int>(std::min<std::int64_t>(frames, silence_ + held_));
  const auto silent = static_cast<int>(std::min<std::int64_t>(silence_, count));
  silence_ -= silent;
  give(silent, count);
  return count;
}

void HeldAudio::settle() {
  (void)wait_until([this] { return all_is_stored(); });
}

void HeldAudio::move(double seconds) {
  settle();
  set(delay() + seconds);
}

void HeldAudio::set(double seconds) {
  silence_ = 0;
  settle();
  audiskdelay2_set_delay(delay_.get(), static_cast<float>(seconds));
  held_ = stored();
}

// Adds up to so many frames to the output, and returns how many there were.
int HeldAudio::read(int frames) {
  interleaved_.resize(static_cast<std::size_t>(2 * frames));
  const int count = audiskdelay2_read(delay_.get(), interleaved_.data(), frames);
  for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
    left_.push_back(interleaved_[2 * i]);
    right_.push_back(interleaved_[2 * i + 1]);
  }
  held_ -= count;
  return count;
}

void HeldAudio::give(int silent, int frames) {
  left_.assign(static_cast<std::size_t>(silent), 0.0f);
  right_ = left_;
  auto wanted = static_cast<int>(std::min<std::int64_t>(frames - silent, held_));
  const bool complete = wait_until([&] { return wanted == 0 || (wanted -= read(wanted)) == 0; });
  if (!complete) held_ = stored();  // the disk lost some
  left_.resize(static_cast<std::size_t>(frames));
  right_.resize(static_cast<std::size_t>(frames));
}

}  // namespace delay
