// The low-pass sections of `resampler`. All sections of a context have one set of coefficients.
#pragma once

#include <cstddef>

#include "resampler/resampler/context.h"

namespace auspool {

// Runs section number `section` over `count` stereo frames in place. `cutoff` is a fraction of the sample rate.
void lpf_process_i2ch(resampler &context, int section, float *frames, std::size_t count, float cutoff);
void lpf_process_ni2ch(resampler &context, int section, float *left, float *right, std::size_t count, float cutoff);

}  // namespace auspool
