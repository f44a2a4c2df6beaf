#include "resampler/stages/direct/sinc_table.h"

#include <cmath>
#include <numbers>

#include "auspool/filter_design.h"

namespace auspool {
namespace {

void apply_window(double *function, std::int32_t length, const stage_spec &spec) {
  switch (spec.window) {
  case AU_WINDOW_BLACKMAN:
    return apply_blackman_window_with_gain(function, length, 1.0);
  case AU_WINDOW_HAMMING:
    return apply_hamming_window_with_gain(function, length, 1.0);
  default:
    return apply_kaiser_window_with_gain(function, length, spec.kaiser_beta, 1.0);
  }
}

// The windowed function: 1024 steps for each tap, and a sample's worth and the middle besides.
Block<double> windowed_sinc(const stage_spec &spec) {
  const std::int32_t length = spec.length * kSincResolution + kSincResolution + 1;
  const std::int32_t half = length / 2;
  auto function = make_block<double>(static_cast<std::size_t>(length));
  double *middle = function.get() + half;
  *middle = 1.0;
  for (std::int32_t i = 1; i <= half; ++i) {
    const double x = i * std::numbers::pi / kSincResolution;
    middle[i] = middle[-i] = std::sin(x) / x;
  }
  apply_window(function.get(), length, spec);
  return function;
}

}  // namespace

template <typename Sample>
Block<std::byte> make_sinc_table(const stage_spec &spec) {
  const std::int32_t taps = spec.length;
  const std::int32_t steps = taps * kSincResolution;
  const Block<double> function = windowed_sinc(spec);
  const std::size_t size = sinc_table_size(taps);
  auto memory = make_block<std::byte>(sizeof(sinc_table<Sample>) + 2 * size * sizeof(Sample));
  auto *values = reinterpret_cast<Sample *>(memory.get() + sizeof(sinc_table<Sample>));
  Sample *deltas = values + size;

  const double *step = function.get() + kSincResolution;
  for (std::int32_t s = 0; s < steps; ++s) {
    const std::int32_t index = s / kSincResolution + s % kSincResolution * taps;
    values[index] = static_cast<Sample>(step[s]);
    deltas[index] = static_cast<Sample>(step[s + 1] - step[s]);
  }
  values[steps] = static_cast<Sample>(step[steps]);
  deltas[steps] = static_cast<Sample>(-step[steps]);  // the function falls to zero at its end
  new (memory.get()) sinc_table<Sample>{kSincResolution, (taps - 1) * kSincResolution / 2, taps, values, deltas};
  return memory;
}

template Block<std::byte> make_sinc_table<float>(const stage_spec &);
template Block<std::byte> make_sinc_table<double>(const stage_spec &);

}  // namespace auspool
