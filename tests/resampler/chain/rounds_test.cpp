// How pushes are cut into rounds, seen by stages that only watch: they repeat or drop samples, and note how they are
// called.
#include "resampler/chain/rounds.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "support/chains.h"
#include "support/watch.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

struct Watcher {
  std::int32_t up, down;
  std::int64_t seen;  // input samples; the next output is at seen / down
  std::int32_t longest;
  std::int32_t calls;
  bool strided;
  bool overlapped;
};

std::int64_t outputs_until(const Watcher &w, std::int64_t inputs) {
  return inputs / w.down * w.up;
}

std::int32_t output_samples(const void *state, std::int32_t count, std::int32_t bound) {
  const auto &w = *static_cast<const Watcher *>(state);
  if (bound) return to_count((std::int64_t{count} + w.down - 1) / w.down * w.up);
  return to_count(outputs_until(w, w.seen + count) - outputs_until(w, w.seen));
}

std::int32_t input_samples(const void *state, std::int32_t count) {
  const auto &w = *static_cast<const Watcher *>(state);
  const std::int64_t groups = (std::int64_t{count} + w.up - 1) / w.up;
  return count < 1 ? 0 : to_count((w.seen / w.down + groups) * w.down - w.seen);
}

std::int32_t process(void *state, const void *, void *, const void *in, std::int32_t in_stride, void *out,
                     std::int32_t out_stride, std::int32_t count, std::int32_t) {
  auto &w = *static_cast<Watcher *>(state);
  const auto *from = static_cast<const float *>(in);
  auto *to = static_cast<float *>(out);
  const std::int32_t made = output_samples(state, count, 0);
  w.longest = std::max(w.longest, count);
  w.strided = w.strided || in_stride != 1;
  w.overlapped = w.overlapped || (out_stride == 1 && to < from + count && from < to + made);
  ++w.calls;
  std::int32_t written = 0;
  for (std::int32_t i = 0; i < count; ++i, ++w.seen) {
    if (w.seen % w.down != w.down - 1) continue;
    for (std::int32_t k = 0; k < w.up; ++k) to[written++ * out_stride] = from[i * in_stride];
  }
  return written;
}

// A chain of watchers.
class WatchedChain {
public:
  explicit WatchedChain(std::initializer_list<std::pair<std::int32_t, std::int32_t>> factors,
                        bool needs_unit_stride = true) {
    chain_.channels = 1;
    for (const auto &[up, down] : factors) {
      raesampler_stage &stage = chain_.stages[chain_.stage_count];
      stage.destroy = std::free;
      stage.output_samples = output_samples;
      stage.input_samples = input_samples;
      stage.process = process;
      stage.needs_unit_stride = needs_unit_stride;
      stage.states = make_block<void *>(1).release();
      auto watcher = make_block<Watcher>(1);
      watcher[0] = {up, down, 0, 0, 0, false, false};
      stage.states[0] = watcher.release();
      chain_.windows[chain_.stage_count++] = 0x7fffffff;
    }
    reserve_overflow(chain_, 4 * chain_bound(chain_, 0, chain_.stage_count, 1));
  }

  // Feeds all of `in`, `stride` apart.
  std::vector<float> run(const std::vector<float> &in, std::int32_t stride) {
    auto count = static_cast<std::int32_t>(in.size()) / stride;
    std::vector<float> out(static_cast<std::size_t>(raesampler_output_samples(&chain_, count)));
    const float *const from[1] = {in.data()};
    float *const to[1] = {out.data()};
    EXPECT_EQ(raesampler_resample(&chain_, from, stride, to, 1, &count, 0), static_cast<std::int32_t>(out.size()));
    return out;
  }

  const Watcher &watcher(std::size_t stage) const { return *static_cast<Watcher *>(chain_.stages[stage].states[0]); }
  raesampler &chain() { return chain_; }

private:
  raesampler chain_;
};

std::vector<float> every_second(const std::vector<float> &in) {
  std::vector<float> out;
  for (std::size_t i = 0; i < in.size(); i += 2) out.push_back(in[i]);
  return out;
}

}  // namespace

TEST(ChainRounds, NoStageButTheLastWritesMoreThanABuffer) {
  WatchedChain chain({{4, 1}, {1, 2}, {9, 1}});
  chain.run(std::vector<float>(10000), 1);
  EXPECT_EQ(chain.watcher(0).longest, 512) << "four times 512 samples fill a buffer of 2048";
  EXPECT_EQ(chain.watcher(1).longest, 2048);
  EXPECT_EQ(chain.watcher(2).longest, 1024);
}

TEST(ChainRounds, ASingleStageTakesABlockWhole) {
  WatchedChain chain({{4, 1}});
  chain.run(std::vector<float>(10000), 1);
  EXPECT_EQ(chain.watcher(0).calls, 1);
}

TEST(ChainRounds, AStrideIsLaidOutForAStageThatNeedsIt) {
  const auto in = random_samples<float>(20000, 1);
  for (const auto &factors : {std::initializer_list<std::pair<std::int32_t, std::int32_t>>{{1, 1}},
                              {{1, 1}, {2, 3}},
                              {{3, 1}, {1, 2}},
                              {{1, 3}, {5, 1}},
                              {{1, 100}, {1, 2}, {7, 1}}}) {
    WatchedChain strided(factors), planar(factors);
    EXPECT_EQ(strided.run(in, 2), planar.run(every_second(in), 1));
    EXPECT_FALSE(strided.watcher(0).strided);
    EXPECT_FALSE(strided.watcher(0).overlapped);
  }
}

TEST(ChainRounds, AStrideStaysForAStageThatTakesIt) {
  WatchedChain chain({{1, 2}, {3, 1}}, false);
  chain.run(std::vector<float>(5000), 2);
  EXPECT_TRUE(chain.watcher(0).strided);
}

TEST(ChainRounds, ASingleStageReadsBothBuffersFullOfLaidOutInput) {
  WatchedChain chain({{1, 2}});
  chain.run(std::vector<float>(20000), 2);
  EXPECT_EQ(chain.watcher(0).longest, 4096);
}

// What a stage drops leaves room for more of its input behind its output.
TEST(ChainRounds, AStageThatShrinksReadsMoreThanABufferOfLaidOutInput) {
  WatchedChain chain({{1, 3}, {1, 1}});
  chain.run(std::vector<float>(20000), 2);
  EXPECT_GT(chain.watcher(0).longest, 2048);
  EXPECT_LE(chain.watcher(0).longest + (chain.watcher(0).longest + 2) / 3, 4096);
  EXPECT_FALSE(chain.watcher(0).overlapped);
}

// A sample that grows to 5000 and is then kept whole passes both buffers on the stack.
TEST(ChainRounds, ScratchIsMadeOnDemandAndHoldsLongRoundsToo) {
  WatchedChain chain({{5000, 1}, {1, 2500}, {1, 1}});
  const auto in = random_samples<float>(40, 2);
  const std::vector<float> out = chain.run(in, 1);
  ASSERT_EQ(out.size(), 80u);
  for (std::size_t i = 0; i < out.size(); ++i) ASSERT_EQ(out[i], in[i / 2]);
  EXPECT_EQ(chain.chain().scratch_capacity, 5000 * 2 * 4);
}

// A stage that gives whole bursts: once there is room for one, rounds are as long as a burst allows.
TEST(ChainRounds, RoundsInScratchAreAsLongAsTheirBoundAllows) {
  WatchedChain chain({{3000, 100}, {1, 1}});
  chain.run(std::vector<float>(1000), 1);
  EXPECT_EQ(chain.watcher(0).longest, 100);
}

TEST(ChainRounds, WithoutMemoryForScratchNothingIsConsumed) {
  for (const std::int32_t limit : {0, 50}) {
    WatchedChain chain({{3000, 1}, {1, 1}});
    const std::vector<float> in(5, 1.0f);
    std::vector<float> out(15000);
    const float *const from[1] = {in.data()};
    float *const to[1] = {out.data()};
    std::int32_t count = 5;
    {
      const CallFailer failer("calloc");
      EXPECT_EQ(raesampler_resample(&chain.chain(), from, 1, to, 1, &count, limit), 0);
      EXPECT_GT(failer.failures(), 0);
    }
    EXPECT_EQ(count, 0);
    EXPECT_EQ(chain.watcher(0).seen, 0);
    count = 5;
    EXPECT_GT(raesampler_resample(&chain.chain(), from, 1, to, 1, &count, limit), 0);
  }
}
