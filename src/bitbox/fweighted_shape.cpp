#include "bitbox/fweighted_shape.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>
#include <numeric>
#include <vector>

#include "bitbox/minimum_phase_impulse.h"
#include "bitbox/shape_tables.h"

namespace auspool {
namespace {

constexpr double kReferenceRate = 44100;
constexpr std::ptrdiff_t kPoints = kMagnitudes;

// A response in decibels at kPoints frequencies from 0 to half the rate.
using Response = std::vector<double>;

// What the filter of 44100 does, at its frequencies in hertz; beyond them its last value.
Response reference_response(double sample_rate) {
  const FweightedShape &reference = fweighted_shape_coeffs[0];
  float coefficients[kResponseCoefficients] = {1};
  std::transform(reference.taps, reference.taps + reference.count, coefficients + 1, [](float tap) { return -tap; });
  const auto wanted = static_cast<std::ptrdiff_t>(std::lrint(kReferenceRate / sample_rate * kPoints));
  const std::ptrdiff_t known = std::max<std::ptrdiff_t>(wanted, 2);  // its two ends, at rates that nothing has
  float magnitudes[kPoints];
  freqz_abs(coefficients, magnitudes, static_cast<std::int32_t>(known));
  Response response(kPoints);
  std::transform(magnitudes, magnitudes + known, response.begin(),
                 [](float magnitude) { return 20 * std::log10(static_cast<double>(magnitude)); });
  std::fill(response.begin() + known, response.end(), response[static_cast<std::size_t>(known - 1)]);
  return response;
}

// The lowest value up to where it stands, from there a parabola up to 0 at 24 kHz, and 0 above.
Response target_response(const Response &response, double sample_rate) {
  const auto lowest = std::min_element(response.begin(), response.end());
  const std::ptrdiff_t from = lowest - response.begin();
  const auto to = std::min(static_cast<std::ptrdiff_t>(std::lrint(98352000 / sample_rate)), kPoints);
  Response target(kPoints, 0.0);
  std::fill(target.begin(), target.begin() + from + 1, *lowest);
  const double curvature = -*lowest / (static_cast<double>(to - from) * static_cast<double>(to - from));
  for (std::ptrdiff_t i = from + 1; i <= std::min(to, kPoints - 1); ++i) {
    target[static_cast<std::size_t>(i)] =
        *lowest + curvature * static_cast<double>(i - from) * static_cast<double>(i - from);
  }
  return target;
}

// A filter that is monic and of minimum phase has a mean of 0 decibels. The response moves to the target until it has
// about that.
void level(Response &response, const Response &target) {
  constexpr double kMost = 0.5;
  constexpr double kOld = 0.9;
  constexpr double kNew = 0x1.9999a0p-4;  // a little above a tenth
  for (int round = 0; round < 8191; ++round) {
    if (std::accumulate(response.begin(), response.end(), 0.0) / kPoints <= kMost) return;
    for (std::size_t i = 0; i < response.size(); ++i) response[i] = kOld * response[i] + kNew * target[i];
  }
}

std::int32_t tap_count(double sample_rate) {
  return sample_rate >= 256000 ? 40 : sample_rate >= 88200 ? 32 : 24;
}

// The taps from an impulse response, under the falling half of a raised cosine.
std::unique_ptr<float[]> taps_from(const float *impulse, std::int32_t count) {
  auto taps = std::make_unique<float[]>(static_cast<std::size_t>(count));
  for (std::int32_t i = 0; i < count; ++i) {
    const double window = 1 - std::cos((i + count + 1) * std::numbers::pi / (count + 1));
    taps[static_cast<std::size_t>(i)] =
        static_cast<float>(static_cast<double>(impulse[i + 1]) * window * (-0.5 / static_cast<double>(impulse[0])));
  }
  return taps;
}

std::unique_ptr<float[]> design(double sample_rate, std::int32_t count) {
  Response response = reference_response(sample_rate);
  level(response, target_response(response, sample_rate));
  const double lowest = *std::max_element(response.begin(), response.end()) - 100;
  std::vector<float> magnitudes;
  for (const double db : response) {
    magnitudes.push_back(static_cast<float>(std::pow(10.0, std::max(db, lowest) * 0.05)));
  }
  minimum_phase_impulse(magnitudes.data(), count + 1);
  return taps_from(magnitudes.data(), count);
}

}  // namespace

std::int32_t create_fweighted_shape_filter(double sample_rate, std::unique_ptr<float[]> &taps) {
  if (!(sample_rate >= kReferenceRate)) return 0;  // NaN is none
  const auto *const row = std::find_if(std::begin(fweighted_shape_coeffs), std::end(fweighted_shape_coeffs),
                                       [&](const FweightedShape &shape) { return shape.rate == sample_rate; });
  if (row == std::end(fweighted_shape_coeffs)) {
    const std::int32_t count = tap_count(sample_rate);
    taps = design(sample_rate, count);
    return count;
  }
  taps = std::make_unique<float[]>(static_cast<std::size_t>(row->count));
  std::copy_n(row->taps, row->count, taps.get());
  return row->count;
}

void freqz_abs(const float *coefficients, float *magnitudes, std::int32_t points) {
  const auto sum = [&](double angle, double (*part)(double)) {
    double total = 0;
    for (int k = 0; k < kResponseCoefficients; ++k) total += static_cast<double>(coefficients[k]) * part(k * angle);
    return total;
  };
  const auto cosine = [](double x) { return std::cos(x); };
  const auto sine = [](double x) { return std::sin(x); };
  magnitudes[0] = static_cast<float>(sum(0, cosine));
  for (std::int32_t i = 1; i < points - 1; ++i) {
    const double angle = std::numbers::pi * i / points;
    magnitudes[i] = static_cast<float>(std::hypot(sum(angle, cosine), sum(angle, sine)));
  }
  magnitudes[points - 1] = static_cast<float>(sum(std::numbers::pi, cosine));
}

}  // namespace auspool
