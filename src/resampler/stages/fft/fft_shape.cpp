#include "resampler/stages/fft/fft_shape.h"

#include <algorithm>
#include <stdexcept>

#include "platform/fft.h"
#include "resampler/stages/direct_filter.h"
#include "resampler/stages/stage.h"

namespace auspool {

bool is_fft_filter(const stage_spec &spec) {
  return is_filter(spec) && (spec.up == 1 || spec.down == 1);
}

std::int32_t fft_branch_taps(const stage_spec &spec) {
  const std::int32_t phases = std::max(spec.up, spec.down);
  return (spec.length - 1) / phases + 1;
}

fft_shape make_fft_shape(std::int32_t sample_size, const stage_spec &spec, std::int32_t log2_size, std::int32_t valid) {
  constexpr std::int64_t kMostSamples = 1 << 30;
  const std::int32_t phases = std::max(spec.up, spec.down);
  if (log2_size < 1 || log2_size > RealFft<double>::kMaxLog2 || (std::int64_t{phases} << log2_size) > kMostSamples) {
    throw std::length_error("a transform beyond what can be counted");
  }
  return {sample_size, spec.up, spec.down, phases, fft_branch_taps(spec), 1 << log2_size, log2_size, valid};
}

std::int32_t fft_output_samples(const fft_shape &shape, std::int32_t fill, std::int32_t input_count,
                                std::int32_t upper_bound) {
  const std::int64_t held = std::int64_t{upper_bound ? shape.line_length() : fill} + input_count;
  if (held < shape.fft_size) return 0;
  const std::int64_t blocks = (held - shape.line_length()) / shape.hop() + 1;
  return to_count(shape.block_outputs() * blocks);
}

std::int32_t fft_input_samples(const fft_shape &shape, std::int32_t fill, std::int32_t output_count) {
  const std::int64_t blocks = output_count / shape.block_outputs() + 1;
  return to_count(std::max<std::int64_t>(blocks * shape.hop() + shape.keep() - fill, 0));
}

}  // namespace auspool
