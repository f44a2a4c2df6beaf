#include "auspool/auproc.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace auspool {
namespace {

constexpr double kSilentBelow = 0.005;
constexpr double kNoiseAbove = 0.01;

bool is_silent(float gain) {
  return static_cast<double>(gain) < kSilentBelow;
}
bool is_unity(float gain) {
  return static_cast<double>(gain) > 0.995 && static_cast<double>(gain) < 1.005;
}

bool usable(const au_channel_pair *pair) {
  return pair && pair->left && pair->right;
}

// Calls op(source sample, target sample) for each sample of both channels and stores the result in the target. Plain
// forward loops: the compiler makes vectors of them and checks itself that the buffers do not overlap.
template <typename Operation>
void for_each(const au_channel_pair &source, const au_channel_pair &target, std::int32_t frames, const Operation &op) {
  const auto run = [&](const float *from, float *to) {
    for (std::int32_t i = 0; i < frames; ++i) to[i] = op(from[i], to[i]);
  };
  run(source.left, target.left);
  run(source.right, target.right);
}

std::atomic<std::uint32_t> noise_state = 0x89465214;

}  // namespace
}  // namespace auspool

using namespace auspool;

void auproc_deinterleave(const au_channel_pair *pair, const float *interleaved, int32_t frames, int32_t channels) {
  if (!usable(pair) || !interleaved || channels < 1) return;
  const std::size_t right = channels == 1 ? 0 : 1;
  for (std::int32_t i = 0; i < frames; ++i) {
    const float *frame = interleaved + static_cast<std::size_t>(i) * static_cast<std::size_t>(channels);
    pair->left[i] = frame[0];
    pair->right[i] = frame[right];
  }
}

void auproc_interleave(float *interleaved, const au_channel_pair *pair, int32_t frames, int32_t channels) {
  if (!usable(pair) || !interleaved || channels < 1) return;
  for (std::int32_t i = 0; i < frames; ++i) {
    float *frame = interleaved + static_cast<std::size_t>(i) * static_cast<std::size_t>(channels);
    frame[0] = pair->left[i];
    if (channels > 1) frame[1] = pair->right[i];
  }
}

void auproc_copy_buffer(const au_channel_pair *source, const au_channel_pair *target, int32_t frames) {
  if (!usable(source) || !usable(target)) return;
  for_each(*source, *target, frames, [](float s, float) { return s; });
}

void auproc_zero_buffer(const au_channel_pair *pair, int32_t frames) {
  if (!usable(pair) || frames < 1) return;
  std::fill_n(pair->left, frames, 0.0f);
  std::fill_n(pair->right, frames, 0.0f);
}

void auproc_apply_gain(const au_channel_pair *source, const au_channel_pair *target, int32_t frames, float gain) {
  if (!usable(source) || !usable(target)) return;
  if (is_silent(gain)) return auproc_zero_buffer(target, frames);
  if (is_unity(gain)) return auproc_copy_buffer(source, target, frames);
  for_each(*source, *target, frames, [gain](float s, float) { return s * gain; });
}

void auproc_mix_gain2(const au_channel_pair *source, const au_channel_pair *target, int32_t frames, float source_gain,
                      float target_gain) {
  if (!usable(source) || !usable(target)) return;
  const auto mix = [&](const auto &op) { for_each(*source, *target, frames, op); };
  if (is_silent(source_gain) && is_silent(target_gain)) return auproc_zero_buffer(target, frames);
  if (is_unity(source_gain) && is_silent(target_gain)) return auproc_copy_buffer(source, target, frames);
  if (is_unity(source_gain) && is_unity(target_gain)) return mix([](float s, float t) { return t + s; });
  if (is_unity(source_gain)) return mix([=](float s, float t) { return t * target_gain + s; });
  if (is_unity(target_gain)) return mix([=](float s, float t) { return t + s * source_gain; });
  mix([=](float s, float t) { return s * source_gain + t * target_gain; });
}

void auproc_apply_noise(const au_channel_pair *source, const au_channel_pair *target, int32_t frames, float amount) {
  if (!source || !target || frames < 1) return;
  if (static_cast<double>(amount) <= kNoiseAbove) return auproc_copy_buffer(source, target, frames);
  std::uint32_t state = noise_state.load(std::memory_order_relaxed);
  for (std::int32_t i = 0; i < frames; ++i) {
    state = state * 1664525u + 1013904223u;
    const float noise = (static_cast<float>(state) * 0x1p-31f - 1.0f) * amount;
    target->left[i] = source->left[i] + noise;
    target->right[i] = source->right[i] + noise;
  }
  noise_state.store(state, std::memory_order_relaxed);
}

void auproc_gains_for_xfade(float *first, float *second, float position) {
  if (!first || !second) return;
  if (position == 0.0f || position == 1.0f) {
    *first = position;
    *second = 1.0f - position;
    return;
  }
  const auto gain = [](double value) {
    const auto narrowed = static_cast<float>(value);
    return static_cast<double>(narrowed) < kSilentBelow ? 0.0f : narrowed;
  };
  const double angle = position * std::numbers::pi / 2;
  *first = gain(std::sin(angle));
  *second = gain(std::cos(angle));
}
