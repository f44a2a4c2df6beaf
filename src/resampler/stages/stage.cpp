#include "resampler/stages/stage.h"

#include "resampler/delay_line.h"

namespace auspool {

std::int32_t stage_window(const stage_spec &spec) {
  constexpr std::int32_t kNeverSkips = std::numeric_limits<std::int32_t>::max();
  switch (spec.type) {
  case RAESAMPLER_STAGE_DECIMATOR:
  case RAESAMPLER_STAGE_FILTER:
  case RAESAMPLER_STAGE_SINC:
    return spec.length;
  case RAESAMPLER_STAGE_RATIONAL:
  case RAESAMPLER_STAGE_INTERPOLATOR:
    return spec.up == spec.down ? kNeverSkips : (spec.length - 1) / spec.up + 1;
  default:
    return kNeverSkips;
  }
}

bool takes_complex(const stage_spec &spec) {
  return spec.type == RAESAMPLER_STAGE_COMPLEX_TO_REAL || (spec.type == RAESAMPLER_STAGE_SDM && spec.complex_input);
}

std::int32_t run_stage(const raesampler_stage &stage, const StageRun &how, const void *in, std::int32_t in_stride,
                       void *out, std::int32_t out_stride, std::int32_t count) {
  void *state = stage.states[how.channel];
  const std::int32_t waiting = stage.input_samples(state, 1) - how.window;
  if (waiting > 0) {
    const std::int32_t skipped = std::min(waiting, count);
    stage.process(state, stage.shared, how.work, in, in_stride, out, out_stride, skipped, how.threads);
    in = sample_at(how.sample_size, in, std::ptrdiff_t{skipped} * in_stride);
    count -= skipped;
  }
  if (count < 1) return 0;
  return stage.process(state, stage.shared, how.work, in, in_stride, out, out_stride, count, how.threads);
}

void destroy_stage(const raesampler_stage &stage, std::int32_t channels) {
  if (stage.shared && stage.free_shared) stage.free_shared(stage.shared);
  if (stage.work && stage.free_workbuffer) stage.free_workbuffer(stage.work);
  for (std::int32_t channel = 0; stage.states && channel < channels; ++channel) {
    if (stage.states[channel]) stage.destroy(stage.states[channel]);
  }
  std::free(stage.states);
}

StageInProgress::StageInProgress(const raesampler_stage &operations, std::int32_t channels)
    : stage_(operations), channels_(channels) {
  stage_.states = make_block<void *>(static_cast<std::size_t>(channels)).release();
}

}  // namespace auspool
