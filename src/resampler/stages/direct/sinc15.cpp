// sinc15_data and diff15_data, worked out by the compiler: they are there when the library is loaded, and no thread
// ever waits for them.
#include <numbers>

#include "resampler/stages/direct/sinc_table.h"

namespace auspool {
namespace {

constexpr std::int32_t kTaps = 15;
constexpr double kBeta = 5.0;
constexpr std::int32_t kMiddle = (kTaps + 1) * kSincResolution / 2;

// The Taylor series of sin(x) / x in x * x, good to double precision for x up to pi / 2.
constexpr double sine_over_x(double xx) {
  return 1 + xx * (-1.0 / 6 +
                   xx * (1.0 / 120 + xx * (-1.0 / 5040 +
                                           xx * (1.0 / 362880 + xx * (-1.0 / 39916800 +
                                                                      xx * (1.0 / 6227020800 +
                                                                            xx * (-1.0 / 1307674368e3 +
                                                                                  xx * (1.0 / 355687428096e3 -
                                                                                        xx / 121645100408832e3))))))));
}

// sin(pi * step / 1024)
constexpr double sine_of_step(std::int32_t step) {
  const std::int32_t turn = step % (2 * kSincResolution);
  const std::int32_t within = turn % kSincResolution;
  const std::int32_t mirrored = within > kSincResolution / 2 ? kSincResolution - within : within;
  const double x = mirrored * std::numbers::pi / kSincResolution;
  return (turn < kSincResolution ? x : -x) * sine_over_x(x * x);
}

// The modified Bessel function of order zero as a series in q = (x / 2)^2, good to double precision for q up to 6.25.
constexpr double bessel_i0(double q) {
  double sum = 1;
  for (int k = 17; k > 0; --k) sum = 1 + sum * q / (k * k);
  return sum;
}

// The windowed function from its middle on.
constexpr std::array<double, kMiddle + 1> windowed_sinc() {
  constexpr double kTop = kBeta * kBeta / 4;
  constexpr double kScale = 1 / bessel_i0(kTop);
  std::array<double, kMiddle + 1> function = {1.0};
  for (std::int32_t step = 1; step <= kMiddle; ++step) {
    const double across = static_cast<double>(step) / kMiddle;
    const double x = step * std::numbers::pi / kSincResolution;
    function[static_cast<std::size_t>(step)] =
        sine_of_step(step) / x * bessel_i0(kTop * (1 - across * across)) * kScale;
  }
  return function;
}

struct Tables {
  std::array<float, sinc_table_size(kTaps)> values;
  std::array<float, sinc_table_size(kTaps)> deltas;
};

constexpr Tables make_tables() {
  constexpr std::int32_t kSteps = kTaps * kSincResolution;
  constexpr auto kFunction = windowed_sinc();
  const auto at = [&](std::int32_t step) {
    const std::int32_t from_middle = step + kSincResolution - kMiddle;
    return kFunction[static_cast<std::size_t>(from_middle < 0 ? -from_middle : from_middle)];
  };
  Tables tables = {};
  for (std::int32_t s = 0; s < kSteps; ++s) {
    const auto index = static_cast<std::size_t>(s / kSincResolution + s % kSincResolution * kTaps);
    tables.values[index] = static_cast<float>(at(s));
    tables.deltas[index] = static_cast<float>(at(s + 1) - at(s));
  }
  tables.values[kSteps] = static_cast<float>(at(kSteps));
  tables.deltas[kSteps] = -tables.values[kSteps];
  return tables;
}

constexpr Tables kTables = make_tables();

}  // namespace

constinit const std::array<float, sinc_table_size(15)> sinc15_data = kTables.values;
constinit const std::array<float, sinc_table_size(15)> diff15_data = kTables.deltas;

}  // namespace auspool
