#include "resampler/stages/fft/fft_polyphase_work.h"

namespace auspool {
namespace {

using Sections = std::vector<std::unique_ptr<FftSection>>;

void fft_p_section_thread_cleanup(Sections &sections) {
  sections.clear();
}

}  // namespace

void fft_polyphase_process_loop(fft_polyphase_run &run) {
  run_fft_blocks(run.width_and_shape, run.line, &run.fill, run.stretch, [&](void *output) {
    return run.block_function(run.width_and_shape, *run.shared, run.line, run.work_area, output,
                              run.stretch.out_stride);
  });
}

std::unique_ptr<fft_polyphase_work> fft_polyphase_create_workbuffer(std::int32_t work_size, std::int32_t threads) {
  auto work = std::make_unique<fft_polyphase_work>();
  work->work_size = work_size;
  work->buffer = make_aligned_block<double>(static_cast<std::size_t>(work_size) * static_cast<std::size_t>(threads));
  try {
    for (std::int32_t i = 1; i < threads; ++i) work->sections.push_back(std::make_unique<FftSection>());
    fft_p_section_thread_wait_all(*work, threads - 1);
    work->thread_count = threads;
  } catch (...) {
    fft_p_section_thread_cleanup(work->sections);
  }
  return work;
}

void fft_polyphase_dealloc_workbuffer(void *work) {
  delete static_cast<fft_polyphase_work *>(work);
}

void fft_p_section_thread_wait_all(const fft_polyphase_work &work, std::int32_t count) {
  for (std::int32_t i = 0; i < count; ++i) wait_until_done(*work.sections[static_cast<std::size_t>(i)]);
}

}  // namespace auspool
