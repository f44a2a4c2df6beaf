// A look into stages by fast convolution.
#pragma once

#include <cstdint>

#include "resampler/stages/fft/fft_polyphase.h"
#include "resampler/stages/fft/up_fft_polyphase.h"
#include "support/chains.h"

namespace auspool::testing {

// A stage of the types 5 to 7.
inline stage_spec fft_spec(std::int32_t up, std::int32_t down, std::int32_t length, double attenuation = 100.0) {
  stage_spec spec = filter_spec(up, down, length, attenuation);
  spec.type = down > 1 ? RAESAMPLER_STAGE_FFT_DECIMATOR
              : up > 1 ? RAESAMPLER_STAGE_FFT_INTERPOLATOR
                       : RAESAMPLER_STAGE_FFT_FILTER;
  return spec;
}

inline const fft_polyphase &plain_state(const Stage &stage) {
  return *static_cast<const fft_polyphase *>(stage.state());
}
inline const up_fft_polyphase &partitioned_state(const Stage &stage) {
  return *static_cast<const up_fft_polyphase *>(stage.state());
}

inline const fft_shape &shape_of(Stage &stage) {
  return stage->process == fft_polyphase_process ? plain_state(stage).shape : partitioned_state(stage).shape;
}
inline std::int32_t fill_of(Stage &stage) {
  return stage->process == fft_polyphase_process ? plain_state(stage).fill : partitioned_state(stage).fill;
}

// The input sample that the first output's window ends with; for stages that have not run.
inline std::int64_t first_of(Stage &stage) {
  const fft_shape &shape = shape_of(stage);
  return std::int64_t{shape.down} * (shape.fft_size - shape.valid + 1) - 1 - fill_of(stage);
}

}  // namespace auspool::testing
