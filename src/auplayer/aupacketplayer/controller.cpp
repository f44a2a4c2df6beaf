#include "auplayer/aupacketplayer/controller.h"

#include <algorithm>
#include <cmath>

#include "auplayer/aupacketplayer/context.h"

namespace auspool {
namespace {

constexpr double kMostErrorSum = 50000.0;
constexpr double kHalfLife = 2.0;  // seconds of audio

void take_step(aupacketplayer &ctx) {
  const double error = ctx.offset / kMostOffset;
  double derivative = 0.0;
  if (!ctx.skip_derivative) {
    ctx.error_sum = std::clamp(ctx.error_sum + error, -kMostErrorSum, kMostErrorSum);
    derivative = (error - ctx.previous_error) * 3.0;
  }
  ctx.previous_error = error;
  ctx.rate_correction = ctx.rate_correction * 0.9 + (0.01 * error + 1e-6 * ctx.error_sum + derivative) * 0.1;
  ctx.skip_derivative = 0;
}

}  // namespace

float next_output_rate(aupacketplayer &ctx, float rate) {
  if (!ctx.resample_continuously) return rate;
  take_step(ctx);
  const auto corrected = static_cast<float>((1.0 + ctx.rate_correction) * static_cast<double>(rate));
  // In this order a correction that is no number, after times that were none, gives a rate all the same.
  return std::min(44100.0f * rate / 42000.0f, std::max(rate * 42000.0f / 44100.0f, corrected));
}

// A latency that was no number must not stay in the average for good.
void smooth_offset(aupacketplayer &ctx, double delta, std::uint32_t remaining) {
  if (!std::isfinite(delta)) return;
  const double keep = std::exp2(-static_cast<double>(remaining) / (kHalfLife * static_cast<double>(ctx.sample_rate)));
  ctx.offset = keep * ctx.offset + (1.0 - keep) * delta;
}

}  // namespace auspool
