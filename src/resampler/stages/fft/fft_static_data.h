// What the channels of a stage by fast convolution share: the transform and the spectra of the filter.
#pragma once

#include <memory>

#include "platform/fft.h"
#include "resampler/memory.h"
#include "resampler/stages/fft/fft_shape.h"

namespace auspool {

// The taps of each branch of the filter, cut into partitions. A spectrum is unordered (platform/fft.h) and scaled such
// that its product with a forward transform, taken back, is the convolution itself.
struct fft_static_data {
  explicit fft_static_data(int log2_size) : fft_setup(log2_size) {}

  const double *spectrum(std::int32_t branch, std::int32_t partition = 0) const {
    const std::int64_t index = std::int64_t{branch} * partitions + partition;
    return spectra.get() + index * static_cast<std::int64_t>(fft_setup.size());
  }

  RealFft<double> fft_setup;
  std::int32_t partitions = 1;
  std::int32_t peak = 0;  // of a minimum-phase filter, in taps of the whole
  Block<double> spectra;  // those of branch 0, then of branch 1 ...
};

// Designs the filter of `spec`. Throws std::bad_alloc.
std::unique_ptr<fft_static_data> make_fft_static_data(const stage_spec &spec, const fft_shape &shape,
                                                      std::int32_t partition_taps);
void fft_free_static_data(void *shared);

}  // namespace auspool
