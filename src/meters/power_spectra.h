// The power spectra that a spectrum meter adds up.
#pragma once

#include <cstdint>

#include "platform/fft.h"

namespace auspool {

// What one transform needs: three times as many floats as it has points.
struct SpectrumScratch {
  float *windowed, *spectrum, *work;
};

// Adds the power spectrum of a transform's size of samples, under a window, to half as many powers. The power of each
// bin is held to 1. Bin 0 counts half its amplitude, having no mirror image; the bin at half the sample rate is left
// out.
void fft_power_spectra_summed(const RealFft<float> &setup, const float *window, const float *samples,
                              const SpectrumScratch &scratch, float *accumulator);

}  // namespace auspool
