// What chains and builders do with a raesampler_stage besides running it.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "auspool/raesampler_stages.h"
#include "resampler/memory.h"

namespace auspool {

// Counts are worked out in 64 bits or in double, and end as 32: what does not fit becomes the largest count.
constexpr std::int32_t to_count(std::int64_t count) {
  constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(count, -kMost, kMost));
}
inline std::int32_t to_count(double count) {
  constexpr double kMost = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::min(count > -kMost ? count : -kMost, kMost));
}

// No call of process writes more than this for `count` samples. The sinc stage, the one whose ratio can be set, adds up
// its positions in double, and where a sum falls just under a whole number it gives a sample more than it foresaw.
inline std::int32_t stage_bound(const raesampler_stage &stage, std::int32_t count) {
  const std::int64_t bound = stage.output_samples(stage.states[0], count, 1);
  return to_count(bound + (stage.set_drift_ratio ? 1 : 0));
}

// The input samples that an output of this stage is made from, where the stage can skip input between two outputs, and
// otherwise a number that none exceeds.
std::int32_t stage_window(const stage_spec &spec);

// Whether the stage's input is runs of complex samples.
bool takes_complex(const stage_spec &spec);

// A run of `process`. Samples that the stage waits to skip are fed by themselves, as `process` wants it.
struct StageRun {
  std::int32_t sample_size;
  std::int32_t window;  // stage_window
  std::int32_t threads;
  std::size_t channel;
  void *work;
};
std::int32_t run_stage(const raesampler_stage &stage, const StageRun &how, const void *in, std::int32_t in_stride,
                       void *out, std::int32_t out_stride, std::int32_t count);

// Releases all that a stage holds, half-built ones included.
void destroy_stage(const raesampler_stage &stage, std::int32_t channels);

// A stage while it is being built: released again unless it is handed over.
class StageInProgress {
public:
  StageInProgress(const raesampler_stage &operations, std::int32_t channels);
  ~StageInProgress() { destroy_stage(stage_, channels_); }
  StageInProgress(const StageInProgress &) = delete;
  StageInProgress &operator=(const StageInProgress &) = delete;

  // Take what the stage's free_shared and free_workbuffer release.
  template <typename Owner>
  void share(Owner shared) {
    stage_.shared = shared.release();
  }
  // What the stage does not release.
  void lend(const void *shared) { stage_.shared = const_cast<void *>(shared); }
  template <typename Owner>
  void use_work(Owner work) {
    stage_.work = work.release();
  }

  // `make()` returns a unique_ptr to a state, once for each channel.
  template <typename Make>
  void add_states(Make make) {
    for (std::int32_t channel = 0; channel < channels_; ++channel) stage_.states[channel] = make().release();
  }

  void hand_over(raesampler_stage *stage) {
    *stage = stage_;
    stage_ = {};
  }

private:
  raesampler_stage stage_;
  std::int32_t channels_;
};

}  // namespace auspool
