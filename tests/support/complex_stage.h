// Stages of block transforms and complex signals.
#pragma once

#include <complex>
#include <cstddef>
#include <vector>

#include "auspool/filter_design.h"
#include "support/chains.h"

namespace auspool::testing {

inline stage_spec transform_spec(std::int32_t block_size, std::int32_t transform_size, bool complex_input = false) {
  stage_spec spec = {};
  spec.type = RAESAMPLER_STAGE_SDM;
  spec.length = 1;
  spec.block_size = block_size;
  spec.transform_size = transform_size;
  spec.complex_input = complex_input ? 1 : 0;
  spec.up = transform_size;
  spec.down = (complex_input ? 2 : 1) * block_size;
  spec.ratio = transform_size / (2.0 * block_size);
  return spec;
}

inline stage_spec converter_spec(std::int32_t length = 10001, double beta = 21.0) {
  stage_spec spec = {};
  spec.type = RAESAMPLER_STAGE_COMPLEX_TO_REAL;
  spec.length = length;
  spec.up = 1;
  spec.down = 2;
  spec.ratio = 1.0;
  spec.window = AU_WINDOW_KAISER;
  spec.kaiser_beta = beta;
  return spec;
}

// A complex signal as one run: its real parts, then its imaginary ones.
template <typename Sample>
std::vector<Sample> run_of(const std::vector<std::complex<double>> &signal, std::size_t from, std::size_t count) {
  std::vector<Sample> run(2 * count);
  for (std::size_t i = 0; i < count; ++i) {
    run[i] = static_cast<Sample>(signal[from + i].real());
    run[count + i] = static_cast<Sample>(signal[from + i].imag());
  }
  return run;
}

// Appends the samples of a run.
template <typename Sample>
void append_run(const std::vector<Sample> &run, std::vector<std::complex<double>> &signal) {
  const std::size_t count = run.size() / 2;
  for (std::size_t i = 0; i < count; ++i) {
    signal.emplace_back(static_cast<double>(run[i]), static_cast<double>(run[count + i]));
  }
}

inline std::vector<std::complex<double>> random_signal(std::size_t count, std::uint32_t seed) {
  std::vector<std::complex<double>> signal;
  append_run(random_samples<double>(2 * count, seed), signal);
  return signal;
}

}  // namespace auspool::testing
