#include <algorithm>
#include <cmath>
#include <new>

#include "base/denormal_guard.h"
#include "meters/aumeter_context.h"
#include "meters/meter_clock.h"
#include "platform/level.h"

namespace auspool {
namespace {

constexpr float kSmallestLevel = 1e-6f;  // -120 decibels

// Levels at a moment: what is left of each, by decibels, since the end of the last block.
class Fall {
public:
  explicit Fall(const aumeter &meter)
      : factor_(std::pow(10.0, -0.05 * meter.falloff * meter_seconds_since(meter.last_time))) {}

  float operator()(float level) const {
    return level < kSmallestLevel ? 0.0f : static_cast<float>(static_cast<double>(level) * factor_);
  }

private:
  double factor_;
};

void decay(aumeter &meter, const Fall &fallen) {
  for (LevelPair *levels : {&meter.peak, &meter.rms, &meter.clip}) {
    for (auto &level : *levels) level = fallen(level);
  }
}

// Written so that NaN never becomes a level, where it would stay.
float risen(float level, float measured) {
  return measured > level ? measured : level;
}

// Stores each level once: a display that reads meanwhile never sees one that is half way.
void take_channel(aumeter &meter, std::size_t channel, const Fall &fallen, const Level &level, double frames) {
  const float peak = std::sqrt(level.largest_square);
  const auto rms = static_cast<float>(std::sqrt(static_cast<double>(level.sum_of_squares) * (1.0 / frames)));
  const bool clips = peak > 1.0f;
  meter.peak[channel] = clips ? 1.0f : risen(fallen(meter.peak[channel]), peak);
  meter.clip[channel] = clips ? 1.0f : fallen(meter.clip[channel]);
  meter.rms[channel] = std::min(risen(fallen(meter.rms[channel]), rms), 1.0f);
}

// A read: `value_of` a level after the time since the last block. The first after a block only looks, further ones keep
// what they find.
template <typename ValueOf>
void read(LevelPair &levels, Relaxed<std::uint32_t> &read_count, std::uint32_t process_count, const ValueOf &value_of,
          float *left, float *right) {
  *left = value_of(levels[0]);
  *right = value_of(levels[1]);
  if (read_count == process_count) {
    levels[0] = *left;
    levels[1] = *right;
  } else {
    read_count = process_count;
  }
}

void read_decibels(aumeter &meter, LevelPair &levels, Relaxed<std::uint32_t> &read_count, float *left, float *right) {
  const Fall fallen(meter);
  const auto floored = [&](float level) { return std::max(fallen(level), kSmallestLevel); };
  read(levels, read_count, meter.process_count, floored, left, right);
  for (float *result : {left, right}) *result = static_cast<float>(20 * std::log10(static_cast<double>(*result)));
}

void to_metered(float *left, float *right) {
  for (float *result : {left, right}) *result = db2metered_levels(*result);
}

}  // namespace
}  // namespace auspool

using namespace auspool;

aumeter *aumeter_create(void) {
  return new (std::nothrow) aumeter;
}

void aumeter_destroy(aumeter *meter) {
  delete meter;
}

void aumeter_reset(aumeter *meter) {
  for (LevelPair *levels : {&meter->peak, &meter->rms, &meter->clip}) {
    for (auto &level : *levels) level = 0.0f;
  }
  meter->last_time = 0.0;
}

void aumeter_set_falloff(aumeter *meter, float decibels_per_second) {
  if (meter && std::isfinite(decibels_per_second)) meter->falloff = static_cast<double>(decibels_per_second);
}

void aumeter_process_ni2ch(aumeter *meter, const au_channel_pair *block, int32_t frames) {
  const DenormalGuard guard;
  const Fall fallen(*meter);
  if (frames <= 0) return decay(*meter, fallen);
  const float *const channels[] = {block->left, block->right};
  for (std::size_t i = 0; i < 2; ++i) {
    take_channel(*meter, i, fallen, measure_level(channels[i], static_cast<std::size_t>(frames)), frames);
  }
  meter->last_time = meter_seconds();
  meter->process_count = meter->process_count + 1;
}

void aumeter_get_peak_decibels(aumeter *meter, float *left, float *right) {
  read_decibels(*meter, meter->peak, meter->peak_read_count, left, right);
}

void aumeter_get_rms_decibels(aumeter *meter, float *left, float *right) {
  read_decibels(*meter, meter->rms, meter->rms_read_count, left, right);
}

void aumeter_get_peak_metered(aumeter *meter, float *left, float *right) {
  aumeter_get_peak_decibels(meter, left, right);
  to_metered(left, right);
}

void aumeter_get_rms_metered(aumeter *meter, float *left, float *right) {
  aumeter_get_rms_decibels(meter, left, right);
  to_metered(left, right);
}

void aumeter_get_clip(aumeter *meter, float *left, float *right) {
  const double seconds = meter_seconds_since(meter->last_time);
  const auto fallen = [&](float clip) { return static_cast<float>(static_cast<double>(clip) - seconds * 0.5); };
  read(meter->clip, meter->clip_read_count, meter->process_count, fallen, left, right);
}

float db2metered_levels(float decibels) {
  const double deflection =
      std::exp(static_cast<double>(decibels) * 0.04477564857835981) * 1.007570579766528 - 0.014587645157888678;
  return std::max(0.0f, static_cast<float>(deflection));
}
