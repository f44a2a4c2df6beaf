#include "resampler/single_shot/parallel_tuning.h"

#include <algorithm>

namespace auspool {

bool ParallelTuning::begin_block(std::int32_t samples) {
  if (!possible_) return false;
  if (mean_read_ >= kAlwaysParallel) {
    use_parallel_ = true;
  } else if (single_rounds_ == 0 && parallel_rounds_ == 0 && is_measurement_due()) {
    start_rounds(&single_rounds_, &time_single_);
  }
  since_check_ += samples;
  if (window_left_ < 1) {
    window_left_ = kWindow;
    window_blocks_ = 0;
    window_sum_ = samples;
  } else {
    ++window_blocks_;
    window_sum_ += samples;
  }
  block_samples_ = samples;
  block_parallel_ = single_rounds_ == 0 && (parallel_rounds_ != 0 || use_parallel_);
  return block_parallel_;
}

bool ParallelTuning::is_measurement_due() {
  if (measured_block_ == 0) return true;
  if (use_parallel_ ? mean_read_ < measured_block_ * 0.75 : mean_read_ > measured_block_ * 1.25) return true;
  if (since_check_ <= check_interval_) return false;
  since_check_ = 0;
  return true;
}

void ParallelTuning::start_rounds(std::int32_t *rounds_left, double *time) {
  *rounds_left = kRounds;
  *time = 0;
  rounds_ = 0;
  samples_ = 0;
}

void ParallelTuning::end_block(std::int32_t outputs, double microseconds) {
  std::int32_t &rounds_left = block_parallel_ ? parallel_rounds_ : single_rounds_;
  if (rounds_left > 0) {
    (block_parallel_ ? time_parallel_ : time_single_) += microseconds;
    ++rounds_;
    samples_ += block_samples_;
    if (outputs > 0 && --rounds_left == 0) block_parallel_ ? end_parallel_rounds() : end_sequential_rounds();
  }
  if (window_left_ > 0 && outputs > 0 && --window_left_ == 0) {
    mean_read_ = static_cast<double>(window_sum_) / window_blocks_;
  }
}

void ParallelTuning::end_sequential_rounds() {
  time_single_ /= static_cast<double>(samples_);
  start_rounds(&parallel_rounds_, &time_parallel_);
}

void ParallelTuning::end_parallel_rounds() {
  measured_block_ = static_cast<double>(samples_) / rounds_;
  time_parallel_ /= static_cast<double>(samples_);
  const bool faster = time_parallel_ < time_single_;
  if (faster == use_parallel_) {
    check_interval_ = std::min(check_interval_ * 2, kLongestInterval);
  } else {
    check_interval_ = std::max(check_interval_ / 2, kShortestInterval);
  }
  use_parallel_ = faster;
}

}  // namespace auspool
