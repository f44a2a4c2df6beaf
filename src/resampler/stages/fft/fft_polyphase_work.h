// The work memory of fft_polyphase, and the threads that share long blocks.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "resampler/block_thread.h"
#include "resampler/stages/fft/fft_blocks.h"
#include "resampler/stages/fft/fft_static_data.h"

namespace auspool {

// Transforms one full line and writes its output samples, which it counts.
using fft_block_function = std::int32_t (*)(const fft_shape &shape, const fft_static_data &shared, const double *line,
                                            double *work_area, void *out, std::int32_t out_stride);

// A run over a stretch of input with a line of its own.
struct fft_polyphase_run {
  fft_shape width_and_shape;
  fft_block_function block_function;
  const fft_static_data *shared;
  double *work_area;
  double *line;
  std::int32_t fill;
  fft_stretch stretch;
};
void fft_polyphase_process_loop(fft_polyphase_run &run);

// A thread that runs sections.
class FftSection {
public:
  FftSection() : thread_([this] { fft_p_section_thread_run(); }) {}

  void start(const fft_polyphase_run &run) {
    thread_.start([&] { run_ = run; });
  }
  bool is_done() { return thread_.is_done(); }
  std::int32_t fill() const { return run_.fill; }

private:
  void fft_p_section_thread_run() { fft_polyphase_process_loop(run_); }

  fft_polyphase_run run_ = {};
  BlockThread thread_;  // the last member: it ends before what it uses
};

struct fft_polyphase_work {
  double *work_area(std::int32_t section) const { return buffer.get() + std::ptrdiff_t{section} * work_size; }

  std::int32_t thread_count = 1;
  std::int32_t work_size = 0;  // doubles for each thread
  Block<double> buffer;
  std::vector<std::unique_ptr<FftSection>> sections;  // for each thread but the caller's
};

// Throws std::bad_alloc. Threads that cannot be had are no failure: the work is for one thread then.
std::unique_ptr<fft_polyphase_work> fft_polyphase_create_workbuffer(std::int32_t work_size, std::int32_t threads);
void fft_polyphase_dealloc_workbuffer(void *work);

// Waits for the first `count` sections.
void fft_p_section_thread_wait_all(const fft_polyphase_work &work, std::int32_t count);

}  // namespace auspool
