#include "meters/log_spectrum.h"

#include <cmath>
#include <cstdio>

#include "meters/auspecmeter_record.h"

namespace auspool {
namespace {

constexpr std::uint32_t kWidest = 2048;

constexpr char kLimitedName[] = "auspecmeter_get_log_spectrum_limited";

// Whether the meter can give it. If not, the host is told.
bool can_give(double limit, std::uint32_t out_width, double upper) {
  if (!(upper >= 0.0 && upper <= 1.0)) {
    std::fprintf(stderr, "%s: upper limit coeff %f is not in 0.0..1.0 range\n", kLimitedName, upper);
    return false;
  }
  if (limit < out_width) {
    std::fprintf(stderr, "%s: width of %u exceeds meter width of %f\n", kLimitedName, out_width, limit);
    return false;
  }
  return true;
}

// Band k from bin `limit` to the power k / out_width to that of the next. They overlap by a bin.
void fold(const float *decibels, double limit, float *out, std::uint32_t out_width) {
  const double base = std::pow(10.0, std::log10(limit) / out_width);
  const std::uint32_t last = static_cast<std::uint32_t>(limit) - 1;
  const auto bin = [&](std::uint32_t k) { return std::min(static_cast<std::uint32_t>(std::pow(base, k)), last); };
  out[0] = decibels[0];
  for (std::uint32_t k = 1; k < out_width; ++k) out[k] = compute_average(decibels, bin(k), bin(k + 1));
}

}  // namespace

float compute_average(const float *values, std::uint32_t first, std::uint32_t last) {
  if (last <= first) return values[first];
  float sum = 0;
  for (std::uint32_t i = first; i <= last; ++i) sum += values[i];
  return sum / static_cast<float>(last - first + 1);
}

}  // namespace auspool

using namespace auspool;

void auspecmeter_get_spectrum_metered(auspecmeter *meter, float *out) {
  auspecmeter_get_spectrum_decibels(meter, out);
  std::transform(out, out + meter->half(), out, to_meter_units);
}

void auspecmeter_get_log_spectrum(auspecmeter *meter, float *out, uint32_t out_width) {
  auspecmeter_get_log_spectrum_limited(meter, out, out_width, 1.0);
}

void auspecmeter_get_log_spectrum_limited(auspecmeter *meter, float *out, uint32_t out_width, double upper) {
  if (!meter || meter->fft_size < 2) return;
  const double limit = meter->fft_size / 2 * upper;
  if (!can_give(limit, out_width, upper) || out_width == 0) return;
  float decibels[kWidest];
  auspecmeter_get_spectrum_decibels(meter, decibels);
  fold(decibels, limit, out, out_width);
  std::transform(out, out + out_width, out, to_meter_units);
}
