#include "buffers/smeter.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <new>
#include <optional>

#include "base/denormal_guard.h"

namespace auspool {
namespace {

// Sums run in so many lanes at a time: the compiler turns them into vectors, and additions need not wait for each
// other.
constexpr std::size_t kLanes = 16;

// Sums of squares by lane, where sample i belongs to lane i % kLanes.
std::array<float, kLanes> sums_of_squares(const float *samples, std::size_t count) {
  std::array<float, kLanes> sums = {};
  std::size_t i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    for (std::size_t lane = 0; lane < kLanes; ++lane) sums[lane] += samples[i + lane] * samples[i + lane];
  }
  for (std::size_t lane = 0; i < count; ++i, ++lane) sums[lane] += samples[i] * samples[i];
  return sums;
}

float sum_every(const std::array<float, kLanes> &sums, std::size_t start, std::size_t step) {
  float total = 0.0f;
  for (std::size_t lane = start; lane < kLanes; lane += step) total += sums[lane];
  return total;
}

struct Sums {
  float left, right;
};

// Squares of denormal numbers may be flushed to zero where the threshold is so far above them that no decision
// changes: with 1e-15, what is lost is less than the rounding of what decides.
constexpr float kDenormalsMatterBelow = 1e-15f;

template <typename Sum>
std::int32_t process(smeter &meter, std::int32_t frames, float sample_rate, const Sum &sum) {
  std::optional<DenormalGuard> guard;
  if (meter.rms_threshold >= kDenormalsMatterBelow) guard.emplace();
  const auto count = static_cast<std::size_t>(frames > 0 ? frames : 0);
  const Sums squares = sum(count);
  const float scale = 1.0f / static_cast<float>(count);  // infinite for 0 frames: 0 times that is not below anything
  const float left = std::sqrt(squares.left * scale);
  const float right = std::sqrt(squares.right * scale);
  if (meter.rms_threshold > left && meter.rms_threshold > right) {
    meter.silence_time += static_cast<float>(count) / sample_rate;
    meter.has_signal = 0;
  } else {
    meter.silence_time = 0.0f;
    meter.has_signal = 1;
  }
  return meter.has_signal;
}

}  // namespace
}  // namespace auspool

smeter *smeter_create(void) {
  return new (std::nothrow) smeter;
}

void smeter_destroy(smeter *meter) {
  delete meter;
}

void smeter_reset(smeter *meter) {
  meter->silence_time = 0.0f;
  meter->has_signal = 0;
}

void smeter_set_rms_threshold(smeter *meter, float db) {
  if (db == meter->rms_threshold_db) return;
  if (db < meter->rms_threshold_db) meter->silence_time = 0.0f;
  meter->rms_threshold_db = db;
  meter->rms_threshold = static_cast<float>(std::pow(10.0, static_cast<double>(db) / 20.0));
}

float smeter_rms_threshold(const smeter *meter) {
  return meter->rms_threshold_db;
}

int32_t smeter_process_i2ch(smeter *meter, const float *interleaved, int32_t frames, float sample_rate) {
  return auspool::process(*meter, frames, sample_rate, [&](std::size_t count) {
    const auto sums = auspool::sums_of_squares(interleaved, 2 * count);
    return auspool::Sums{auspool::sum_every(sums, 0, 2), auspool::sum_every(sums, 1, 2)};
  });
}

int32_t smeter_process_ni2ch(smeter *meter, const float *const channel_pointers[2], int32_t frames, float sample_rate) {
  return auspool::process(*meter, frames, sample_rate, [&](std::size_t count) {
    const auto left = auspool::sums_of_squares(channel_pointers[0], count);
    const auto right = auspool::sums_of_squares(channel_pointers[1], count);
    return auspool::Sums{auspool::sum_every(left, 0, 1), auspool::sum_every(right, 0, 1)};
  });
}

float smeter_silence_time(const smeter *meter) {
  return meter->silence_time;
}

int32_t smeter_has_audio_signal(const smeter *meter) {
  return meter->has_signal;
}
