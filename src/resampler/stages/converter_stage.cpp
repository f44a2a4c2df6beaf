#include <cstdint>

#include "auspool/raesampler_stages.h"

std::int32_t create_converter_stage(std::int32_t sample_size, raesampler_stage *stage, const stage_spec *spec,
                                    std::int32_t channels, std::int32_t threads, std::int32_t low_latency_block) {
  switch (spec->type) {
  case RAESAMPLER_STAGE_DECIMATOR:
  case RAESAMPLER_STAGE_FILTER:
    return create_polyphase_decimator_stage(sample_size, stage, spec, channels);
  case RAESAMPLER_STAGE_RATIONAL:
  case RAESAMPLER_STAGE_INTERPOLATOR:
    return create_polyphase_resampler_stage(sample_size, stage, spec, channels);
  case RAESAMPLER_STAGE_SINC:
    return create_sinc_resampler_stage(sample_size, stage, spec, channels);
  case RAESAMPLER_STAGE_FFT_DECIMATOR:
  case RAESAMPLER_STAGE_FFT_FILTER:
  case RAESAMPLER_STAGE_FFT_INTERPOLATOR:
    return low_latency_block != 0 ? create_up_fft_polyphase_stage(sample_size, stage, spec, channels, low_latency_block)
                                  : create_fft_polyphase_stage(sample_size, stage, spec, channels, threads);
  case RAESAMPLER_STAGE_SDM:
    return create_sdm_downsampler_stage(sample_size, stage, spec, channels);
  case RAESAMPLER_STAGE_COMPLEX_TO_REAL:
    return create_c2r_fft_converter_stage(sample_size, stage, spec, channels);
  default:
    return -1;
  }
}
