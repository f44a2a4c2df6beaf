// Blocks that threads share: the same output and the same state as one thread leaves.
#include <gtest/gtest.h>

#include <algorithm>

#include "resampler/stages/stage.h"
#include "support/fft_stage.h"
#include "support/host_stream.h"
#include "support/watch.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

// Feeds a signal in blocks of these lengths.
std::vector<float> run(Stage &stage, const std::vector<float> &in, std::int32_t block, std::int32_t threads) {
  std::vector<float> out(static_cast<std::size_t>(stage.bound(static_cast<std::int32_t>(in.size()))) + in.size());
  std::size_t made = 0;
  for (std::size_t at = 0; at < in.size(); at += static_cast<std::size_t>(block)) {
    const auto count = std::min<std::size_t>(static_cast<std::size_t>(block), in.size() - at);
    made += static_cast<std::size_t>(stage->process(stage.state(), stage->shared, stage->work, in.data() + at, 1,
                                                    out.data() + made, 1, static_cast<std::int32_t>(count), threads));
  }
  out.resize(made);
  return out;
}

std::vector<double> line_of(const Stage &stage) {
  const fft_polyphase &state = plain_state(stage);
  return {state.line.get(), state.line.get() + state.fill};
}

// How many sections of the stage have had audio in their lines.
int sections_run(const Stage &stage) {
  const fft_polyphase &state = plain_state(stage);
  int run = 0;
  for (std::int32_t i = 0; i < state.threads; ++i) {
    const double *const line = state.line.get() + std::ptrdiff_t{i} * state.line_stride;
    run += std::any_of(line, line + state.shape.line_length(), [](double sample) { return sample != 0; });
  }
  return run;
}

}  // namespace

TEST(FftSections, SplitAndWholeRunsAreTheSame) {
  for (const stage_spec &spec : {fft_spec(1, 1, 99), fft_spec(3, 1, 561), fft_spec(1, 2, 345), fft_spec(1, 5, 64)}) {
    const auto in = random_samples<float>(60000, 1);
    for (const std::int32_t threads : {2, 3, 4}) {
      for (const std::int32_t block : {60000, 17011, 5000, 100}) {
        Stage alone(spec, 4), together(spec, 4, 1, 0, threads);
        ASSERT_EQ(static_cast<fft_polyphase_work *>(together->work)->thread_count, threads);
        ASSERT_EQ(run(together, in, block, threads), run(alone, in, block, 1)) << threads << ' ' << block;
        ASSERT_EQ(line_of(together), line_of(alone)) << threads << ' ' << block;
      }
    }
  }
}

TEST(FftSections, NoMoreThreadsRunThanAreAskedFor) {
  const stage_spec spec = fft_spec(3, 1, 561);
  const auto in = random_samples<float>(60000, 2);
  Stage alone(spec, 4);
  const auto expected = run(alone, in, 60000, 1);
  for (const std::int32_t threads : {1, 2, 3, 4}) {
    Stage together(spec, 4, 1, 0, 4);
    EXPECT_EQ(run(together, in, 60000, threads), expected);
    EXPECT_EQ(sections_run(together), threads);
  }
  for (const std::int32_t threads : {-1, 0}) {
    Stage together(spec, 4, 1, 0, 4);
    EXPECT_EQ(run(together, in, 60000, threads), expected);
    EXPECT_EQ(sections_run(together), 1);
  }
}

// A section that gets less than two lines costs more than it gains.
TEST(FftSections, ShortBlocksStayWhole) {
  const stage_spec spec = fft_spec(3, 1, 561);
  for (const std::int32_t threads : {2, 3}) {
    for (const std::int32_t less : {0, 1}) {
      Stage stage(spec, 4, 1, 0, threads);
      const fft_polyphase &state = plain_state(stage);
      const std::int32_t least = threads * (2 * state.shape.line_length() - state.shape.keep()) - state.fill;
      const auto in = random_samples<float>(static_cast<std::size_t>(least - less), 4);
      run(stage, in, least - less, threads);
      EXPECT_EQ(sections_run(stage), less == 0 ? threads : 1) << threads;
    }
  }
}

TEST(FftSections, WorkOfAStageHasItsThreads) {
  for (const std::int32_t threads : {-5, 0, 1, 3, 1000}) {
    Stage stage(fft_spec(3, 1, 99), 4, 1, 0, threads);
    const std::int32_t expected = std::clamp(threads, 1, plain_state(stage).threads);
    EXPECT_EQ(static_cast<fft_polyphase_work *>(stage->work)->thread_count, expected) << threads;
    EXPECT_LE(expected, 64);
    EXPECT_TRUE(threads > 3 || expected == std::max(threads, 1)) << threads;
  }
}

// Sections begin where their strides say.
TEST(FftSections, InterleavedAudioIsSplitTheSame) {
  const stage_spec spec = fft_spec(3, 1, 561);
  const auto in = random_samples<double>(2 * 30000, 5);
  const auto convert = [&](std::int32_t threads) {
    Stage stage(spec, 8, 1, 0, threads);
    std::vector<double> out(2 * 4 * in.size());
    const std::int32_t made =
        stage->process(stage.state(), stage->shared, stage->work, in.data(), 2, out.data(), 2, 30000, threads);
    out.resize(2 * static_cast<std::size_t>(made));
    return out;
  };
  const auto alone = convert(1);
  EXPECT_GT(alone.size(), 2u * 80000);
  EXPECT_EQ(convert(3), alone);
}

// A thread that cannot be had is no failure.
TEST(FftSections, WithoutThreadsTheStageRunsOnOne) {
  const stage_spec spec = fft_spec(3, 1, 561);
  const CallFailer failer("pthread_create", 2);
  Stage stage(spec, 4, 1, 0, 4), alone(spec, 4);
  EXPECT_EQ(failer.failures(), 1);
  EXPECT_EQ(static_cast<fft_polyphase_work *>(stage->work)->thread_count, 1);
  const auto in = random_samples<float>(20000, 3);
  EXPECT_EQ(run(stage, in, 20000, 4), run(alone, in, 20000, 1));
}

// Without memory for sections the stage still stands, on one thread; without memory for itself it does not.
TEST(FftSections, FailedAllocationsLeaveNothingBehind) {
  const stage_spec spec = fft_spec(3, 1, 99);
  const long before = live_allocations();
  int stood = 0;
  for (int nth = 1;; ++nth) {
    const AllocationFailer failer(nth);
    raesampler_stage stage = {};
    const bool made = create_fft_polyphase_stage(4, &stage, &spec, 1, 3) == 0;
    if (made) {
      stood += static_cast<fft_polyphase_work *>(stage.work)->thread_count == 1;
      destroy_stage(stage, 1);
    }
    ASSERT_EQ(live_allocations(), before) << nth;
    if (!failer.failed()) break;
  }
  EXPECT_GE(stood, 2);
}

// A mono stream, whose sections are all that can run side by side.
TEST(FftSections, AMonoStreamIsTheSameForAnyNumberOfThreads) {
  const precomputed_structure chain = precomputed_chain_of({fft_spec(3, 1, 561), filter_spec(1, 2, 99)});
  HostStream<float> alone(1, 700000);
  ASSERT_EQ(alone.convert(&chain, 2.0, 3.0, RaesamplerQualityNormal, 1), 0);
  for (const std::int32_t threads : {2, 3}) {
    HostStream<float> together(1, 700000);
    ASSERT_EQ(together.convert(&chain, 2.0, 3.0, RaesamplerQualityNormal, threads), 0);
    EXPECT_EQ(together.out, alone.out) << threads;
  }
}
