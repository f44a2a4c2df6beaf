// Whether raesampler_single_shot runs its channels side by side. Threads cost synchronisation, which short blocks do
// not earn back, so both ways are measured while the stream runs: ten blocks each, at the start, when the blocks'
// length changes, and now and then.
#pragma once

#include <cstdint>

namespace auspool {

class ParallelTuning {
public:
  // `possible`: whether there is anything to run side by side.
  explicit ParallelTuning(bool possible) : possible_(possible) {}

  // Before a block of `samples`: whether it runs in parallel.
  bool begin_block(std::int32_t samples);

  // After it: how many samples came out, and how long it took.
  void end_block(std::int32_t outputs, double microseconds);

private:
  bool is_measurement_due();
  void start_rounds(std::int32_t *rounds_left, double *time);
  void end_sequential_rounds();
  void end_parallel_rounds();

  static constexpr std::int32_t kRounds = 10;                  // blocks of a measurement, each way
  static constexpr std::int32_t kWindow = 10;                  // blocks of a mean
  static constexpr double kAlwaysParallel = 65536;             // mean samples from which on there is no question
  static constexpr std::int64_t kShortestInterval = 0x100000;  // samples between two measurements
  static constexpr std::int64_t kLongestInterval = 0x40000000;

  const bool possible_;
  bool use_parallel_ = false;
  double mean_read_ = 0;       // samples of a block, over the last window
  double measured_block_ = 0;  // the same, when it was last measured

  std::int32_t window_left_ = 0;
  std::int32_t window_blocks_ = 0;
  std::int64_t window_sum_ = 0;

  std::int64_t since_check_ = 0;
  std::int64_t check_interval_ = kShortestInterval;

  std::int32_t single_rounds_ = 0;  // blocks still to be measured one after the other
  std::int32_t parallel_rounds_ = 0;
  double time_single_ = 0;  // microseconds, then microseconds a sample
  double time_parallel_ = 0;
  std::int32_t rounds_ = 0;
  std::int64_t samples_ = 0;

  std::int32_t block_samples_ = 0;  // of the block under way
  bool block_parallel_ = false;
};

}  // namespace auspool
