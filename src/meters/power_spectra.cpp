#include "meters/power_spectra.h"

#include "platform/spectrum_levels.h"

namespace auspool {

void fft_power_spectra_summed(const RealFft<float> &setup, const float *window, const float *samples,
                              const SpectrumScratch &scratch, float *accumulator) {
  const std::size_t half = setup.size() / 2;
  apply_window(samples, window, scratch.windowed, setup.size());
  setup.forward(scratch.windowed, scratch.spectrum, scratch.work);
  float *real = scratch.spectrum;
  float *imaginary = real + half;
  real[0] *= 0.5f;
  imaginary[0] = 0;  // here lies half the sample rate
  add_powers(real, imaginary, 1.0f / static_cast<float>(half), accumulator, half);
}

}  // namespace auspool
