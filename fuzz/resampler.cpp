// Any sequence of blocks and rates through the two-channel resampler: in buffers of exactly the counts that it gives,
// through both entry points.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "auspool/resampler.h"
#include "resampler/resampler/context.h"
#include "support.h"

namespace {

using auspool::fuzz::require;

constexpr std::int32_t kMostFrames = 5000;  // more only costs speed

double any_rate(FuzzedDataProvider &input) {
  constexpr double kUsual[] = {8000, 11025, 44100, 44101, 48000, 96000, 192000, 384000};
  switch (input.ConsumeIntegralInRange(0, 3)) {
  case 0:
    return input.ConsumeFloatingPoint<double>();
  case 1:
    return input.ConsumeFloatingPointInRange(1.0, 400000.0);
  default:
    return input.PickValueInArray(kUsual);
  }
}

using Floats = std::unique_ptr<float[]>;

Floats floats(std::int32_t count) {
  Floats values(new float[static_cast<std::size_t>(count)]);
  for (std::int32_t i = 0; i < count; ++i) values[static_cast<std::size_t>(i)] = static_cast<float>(i % 7) - 3.0f;
  return values;
}

void convert(resampler *one, resampler *other, std::int32_t used, std::int32_t frames, double in, double out) {
  const Floats from = floats(2 * used), to = floats(2 * frames);
  resampler_resample_i2ch(one, from.get(), to.get(), static_cast<std::uint32_t>(frames), in, out);
  const Floats left = floats(used), right = floats(used), to_left = floats(frames), to_right = floats(frames);
  for (std::int32_t i = 0; i < used; ++i) {
    left[static_cast<std::size_t>(i)] = static_cast<float>(2 * i % 7) - 3.0f;
    right[static_cast<std::size_t>(i)] = static_cast<float>((2 * i + 1) % 7) - 3.0f;
  }
  const au_channel_pair source = {left.get(), right.get()}, target = {to_left.get(), to_right.get()};
  resampler_resample_ni2ch(other, &source, &target, frames, in, out);
  for (std::size_t i = 0; i < static_cast<std::size_t>(frames); ++i) {
    require(std::memcmp(&to[2 * i], &to_left[i], sizeof(float)) == 0);
    require(std::memcmp(&to[2 * i + 1], &to_right[i], sizeof(float)) == 0);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  resampler *one = resampler_create(), *other = resampler_create();
  while (input.remaining_bytes() > 0) {
    const double in = any_rate(input), out = any_rate(input);
    const auto frames = input.ConsumeIntegralInRange<std::int32_t>(-1, input.ConsumeBool() ? 10 : kMostFrames);
    const std::int32_t used = resampler_frames_in(one, frames, in, out);
    const std::int32_t possible = resampler_frames_out(one, frames, in, out);
    require(used >= 0 && possible >= 0);
    require(resampler_frames_in(one, possible, in, out) <= std::max(frames, 0));
    if (frames < 0 || used > kMostFrames) continue;
    convert(one, other, used, frames, in, out);
    require(one->position == other->position && one->position > -1.0 && one->position <= 0.0);
    const std::uint32_t options = input.ConsumeIntegralInRange(0u, 1u);
    resampler_set_options(one, &options);
    resampler_set_options(other, &options);
  }
  resampler_destroy(one);
  resampler_destroy(other);
  return 0;
}
