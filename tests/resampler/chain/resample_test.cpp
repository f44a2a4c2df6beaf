// Limits, overflow, channels, strides and sample sizes of the streaming calls.
#include <gtest/gtest.h>

#include "resampler/chain/chain.h"
#include "support/chains.h"
#include "support/watch.h"

using namespace auspool::testing;

namespace {

constexpr std::int32_t kWide = RaesamplerQualityVeryHigh;

// A call for one channel.
std::int32_t resample(raesampler *r, const std::vector<float> &in, std::size_t at, std::vector<float> &out,
                      std::int32_t *count, std::int32_t limit) {
  const std::size_t before = out.size();
  const std::int32_t room = limit > 0 ? limit : raesampler_output_samples(r, *count);
  out.resize(before + static_cast<std::size_t>(room));
  const float *const from[1] = {in.data() + at};
  float *const to[1] = {out.data() + before};
  const std::int32_t made = raesampler_resample(r, from, 1, to, 1, count, limit);
  out.resize(before + static_cast<std::size_t>(made));
  return made;
}

std::vector<float> in_one_block(const resampler_structure &structure, std::int32_t flags,
                                const std::vector<float> &in) {
  const RaesamplerHandle r = make_chain(structure, flags);
  std::vector<float> out;
  auto count = static_cast<std::int32_t>(in.size());
  resample(r.get(), in, 0, out, &count, 0);
  return out;
}

}  // namespace

TEST(ChainResample, ALimitBetweenTwoOutputsOfASampleKeepsTheRest) {
  const resampler_structure structure = chain_of({filter_spec(5, 1, 25)});
  const auto in = random_samples<float>(100, 1);
  const std::vector<float> expected = in_one_block(structure, 0, in);
  const RaesamplerHandle r = make_chain(structure);
  std::vector<float> out;
  std::int32_t count = 100;
  EXPECT_EQ(resample(r.get(), in, 0, out, &count, 13), 13);
  const std::int32_t used = count;
  EXPECT_EQ(used, 2 + 3) << "two for the delay, three for 15 outputs";
  EXPECT_EQ(r->overflow_count, 2);
  EXPECT_EQ(raesampler_input_samples(r.get(), 1), 0);
  EXPECT_EQ(raesampler_input_samples(r.get(), 2), 0);
  EXPECT_EQ(raesampler_input_samples(r.get(), 3), 1);
  EXPECT_EQ(raesampler_output_samples(r.get(), 0), 2);
  EXPECT_EQ(raesampler_output_samples(r.get(), 1), 7);
  count = 0;
  EXPECT_EQ(resample(r.get(), in, 0, out, &count, 1), 1);
  count = 95;
  EXPECT_EQ(resample(r.get(), in, static_cast<std::size_t>(used), out, &count, 0), 1 + 5 * 95);
  EXPECT_EQ(out, expected);
}

TEST(ChainResample, InputBeyondWhatTheLimitAsksForIsLeft) {
  for (const std::int32_t flags : {0, kWide}) {
    const RaesamplerHandle r = make_chain(chain_of({filter_spec(1, 2, 9)}), flags);
    const auto in = random_samples<float>(4000, 2);
    std::vector<float> out;
    std::int32_t count = 4000;
    const std::int32_t needed = raesampler_input_samples(r.get(), 1500);
    EXPECT_EQ(resample(r.get(), in, 0, out, &count, 1500), 1500);
    EXPECT_EQ(count, needed);
  }
}

// The limit is compared before it is reduced: reaching it exactly at a block's end must not mean no limit.
TEST(ChainResample, ALimitThatABlockReachesExactlyIsStillALimit) {
  const RaesamplerHandle r = make_chain(chain_of({filter_spec(1, 1, 1)}), kWide);
  const auto in = random_samples<float>(5000, 3);
  std::vector<float> out;
  std::int32_t count = 5000;
  EXPECT_EQ(resample(r.get(), in, 0, out, &count, 2048), 2048);
  EXPECT_EQ(count, 2048);
}

TEST(ChainResample, CountsBelowZeroAreNothing) {
  for (const std::int32_t flags : {0, kWide}) {
    for (const auto &structure : {chain_of({}), chain_of({filter_spec(1, 2, 9)})}) {
      const RaesamplerHandle r = make_chain(structure, flags);
      const std::vector<float> in(10);
      std::vector<float> out(10);
      const float *const from[1] = {in.data()};
      float *const to[1] = {out.data()};
      std::int32_t count = -5;
      EXPECT_EQ(raesampler_resample(r.get(), from, 1, to, 1, &count, 0), 0);
      EXPECT_EQ(count, 0);
      count = 10;
      EXPECT_EQ(raesampler_resample(r.get(), from, 1, to, 1, &count, -1), 0);
      EXPECT_EQ(count, 0);
      EXPECT_EQ(raesampler_output_samples(r.get(), -5), 0);
      EXPECT_EQ(raesampler_input_samples(r.get(), -5), 0);
    }
  }
}

// The chain works in doubles, the host in floats: blocks of 1024, each widened and narrowed.
TEST(ChainResample, FloatsThroughDoublesAreTheNarrowedDoubles) {
  std::mt19937 random(4);
  for (int round = 0; round < 200; ++round) {
    const resampler_structure structure = random_structure(random, 3, round % 2 == 0);
    const auto in = random_samples<float>(static_cast<std::size_t>(random_between(random, 1, 5000)), 4);
    const std::vector<double> wide(in.begin(), in.end());
    const RaesamplerHandle doubles = make_chain(structure, kWide), floats = make_chain(structure, kWide);
    std::vector<double> expected(
        static_cast<std::size_t>(raesampler_output_samples(doubles.get(), static_cast<std::int32_t>(in.size()))));
    const double *const from[1] = {wide.data()};
    double *const to[1] = {expected.data()};
    auto count = static_cast<std::int32_t>(in.size());
    const std::int32_t made = raesampler_resampleD(doubles.get(), from, 1, to, 1, &count, 0);
    ASSERT_EQ(made, static_cast<std::int32_t>(expected.size()));

    std::vector<float> out;
    for (std::size_t at = 0; at < in.size();) {
      count = static_cast<std::int32_t>(in.size() - at);
      resample(floats.get(), in, at, out, &count, round % 3 ? random_between(random, 1, 3000) : 0);
      at += static_cast<std::size_t>(count);
    }
    while (floats->overflow_count > 0) {
      count = 0;
      resample(floats.get(), in, 0, out, &count, 500);
    }
    ASSERT_EQ(out, std::vector<float>(expected.begin(), expected.end())) << round;
  }
}

TEST(ChainResample, EveryChannelIsConvertedByItself) {
  std::mt19937 random(5);
  for (const std::int32_t flags : {0, kWide}) {
    for (int round = 0; round < 40; ++round) {
      const resampler_structure structure = random_structure(random, 3, true);
      constexpr std::size_t kChannels = 3, kFrames = 1700;
      std::vector<std::vector<float>> expected;
      std::vector<float> in(kChannels * kFrames);
      for (std::size_t c = 0; c < kChannels; ++c) {
        const auto channel = random_samples<float>(kFrames, static_cast<std::uint32_t>(c));
        for (std::size_t i = 0; i < kFrames; ++i) in[i * kChannels + c] = channel[i];
        expected.push_back(in_one_block(structure, flags, channel));
      }
      const RaesamplerHandle r = make_chain(structure, flags, kChannels);
      const std::size_t total = expected[0].size();
      std::vector<float> out((total + 1) * 4, 9.0f);
      for (std::size_t fed = 0, made = 0; fed < kFrames || made < total;) {
        const float *from[kChannels];
        float *to[kChannels];
        for (std::size_t c = 0; c < kChannels; ++c) {
          from[c] = in.data() + fed * kChannels + c;
          to[c] = out.data() + made * 4 + c;
        }
        auto count = static_cast<std::int32_t>(std::min<std::size_t>(kFrames - fed, 600));
        made += static_cast<std::size_t>(raesampler_resample(r.get(), from, kChannels, to, 4, &count, 333));
        fed += static_cast<std::size_t>(count);
      }
      for (std::size_t i = 0; i < total; ++i) {
        for (std::size_t c = 0; c < kChannels; ++c) ASSERT_EQ(out[i * 4 + c], expected[c][i]);
        ASSERT_EQ(out[i * 4 + 3], 9.0f);
      }
    }
  }
}

// One input sample may become more than a buffer on the stack holds.
TEST(ChainResample, ASampleThatGrowsBeyondTheBuffersUsesTheChainsOwn) {
  const resampler_structure structure = chain_of({filter_spec(3000, 1, 9000), filter_spec(1, 7, 20)});
  const auto in = random_samples<float>(60, 6);
  for (const std::int32_t flags : {0, kWide}) {
    const RaesamplerHandle r = make_chain(structure, flags);
    EXPECT_GE(r->scratch_capacity, 3000 * 2 * (flags ? 8 : 4));
    const std::vector<float> expected = in_one_block(structure, flags, in);
    EXPECT_NEAR(static_cast<double>(expected.size()), 59 * 3000 / 7.0, 2);
    std::vector<float> out;
    for (std::size_t at = 0; at < in.size();) {
      std::int32_t count = 1;
      resample(r.get(), in, at, out, &count, 100);
      at += static_cast<std::size_t>(count);
    }
    while (r->overflow_count > 0) {
      std::int32_t count = 0;
      resample(r.get(), in, 0, out, &count, 100);
    }
    ASSERT_EQ(out, expected);
  }
}

// Several short rounds and few long ones give the same bits.
TEST(ChainResample, LongBlocksAreCutIntoRoundsThatDoNotShow) {
  const resampler_structure structure = chain_of({filter_spec(8, 1, 80), filter_spec(3, 5, 60), filter_spec(1, 2, 30)});
  const auto in = random_samples<float>(20000, 7);
  const std::vector<float> expected = in_one_block(structure, 0, in);
  const RaesamplerHandle r = make_chain(structure);
  std::vector<float> out;
  for (std::size_t at = 0; at < in.size(); at += 10) {
    std::int32_t count = 10;
    resample(r.get(), in, at, out, &count, 0);
  }
  EXPECT_EQ(out, expected);
}

// A stage whose step is longer than its window skips samples at a block's end. Fed with the rest of the block it would
// use the wrong ones, and the sound would jump.
TEST(ChainResample, StepsBeyondTheWindowDoNotBreakTheSound) {
  for (const stage_spec &spec : {filter_spec(10, 1009, 60), filter_spec(1, 50, 9), sinc_spec(1.0 / 80, 63)}) {
    const resampler_structure structure = chain_of({spec});
    std::vector<float> in(200000);
    for (std::size_t i = 0; i < in.size(); ++i) in[i] = static_cast<float>(std::sin(1e-4 * static_cast<double>(i)));
    const std::vector<float> expected = in_one_block(structure, 0, in);
    const RaesamplerHandle r = make_chain(structure);
    std::vector<float> out;
    for (std::size_t at = 0; at < in.size(); at += 1000) {
      std::int32_t count = 1000;
      resample(r.get(), in, at, out, &count, 0);
    }
    EXPECT_EQ(out, expected);
  }
}

// Ratios whose inverse sums to just under a whole number give a sample more than they promise. The host's limit holds,
// and with no limit the promise is one.
TEST(ChainResample, ASampleMoreThanPromisedIsKeptForTheNextCall) {
  for (const std::int32_t flags : {0, kWide}) {
    for (const double ratio : {6.0, 7.0, 10.0, 13.0, 1.5, 49.0}) {
      for (const auto &structure :
           {chain_of({sinc_spec(ratio, 15, 5.0)}), chain_of({sinc_spec(ratio, 15, 5.0), filter_spec(3, 2, 30)}),
            chain_of({filter_spec(2, 1, 30), sinc_spec(ratio, 15, 5.0)})}) {
        std::mt19937 random(8);
        const auto in = random_samples<float>(3000, 8);
        const std::vector<float> expected = in_one_block(structure, flags, in);
        const RaesamplerHandle r = make_chain(structure, flags);
        std::vector<float> out;
        for (std::size_t at = 0; at < in.size();) {
          auto count = static_cast<std::int32_t>(std::min<std::size_t>(in.size() - at, 1 + random() % 60));
          const std::int32_t limit = random() % 2 ? 0 : random_between(random, 1, 200);
          const std::int32_t promised = raesampler_output_samples(r.get(), count);
          std::vector<float> block(static_cast<std::size_t>(limit > 0 ? limit : promised) + 1, 9.0f);
          const float *const from[1] = {in.data() + at};
          float *const to[1] = {block.data()};
          const std::int32_t made = raesampler_resample(r.get(), from, 1, to, 1, &count, limit);
          ASSERT_EQ(block.back(), 9.0f);
          ASSERT_EQ(made, limit == 0 ? promised : std::min(made, limit));
          out.insert(out.end(), block.begin(), block.begin() + made);
          at += static_cast<std::size_t>(count);
        }
        std::int32_t count = 0;
        resample(r.get(), in, 0, out, &count, 0);
        // A block less a sample may lack the one that came early.
        ASSERT_LE(expected.size(), out.size());
        ASSERT_LE(out.size(), expected.size() + 2);
        out.resize(expected.size());
        ASSERT_EQ(out, expected) << ratio;
      }
    }
  }
}

TEST(ChainResample, ResetForgetsTheStreamAndItsOverflow) {
  for (const std::int32_t flags : {0, kWide}) {
    const resampler_structure structure = chain_of({filter_spec(7, 2, 80), filter_spec(3, 1, 20)});
    const auto in = random_samples<float>(700, 9);
    const RaesamplerHandle r = make_chain(structure, flags);
    std::vector<float> first, second;
    std::int32_t count = 700;
    resample(r.get(), in, 0, first, &count, 1001);
    ASSERT_GT(r->overflow_count, 0);
    raesampler_reset(r.get());
    EXPECT_EQ(r->overflow_count, 0);
    count = 700;
    resample(r.get(), in, 0, second, &count, 1001);
    EXPECT_EQ(first, second);
  }
}

TEST(ChainResample, AfterPrerollOutputStartsAtOnce) {
  const RaesamplerHandle r =
      make_chain(chain_of({filter_spec(2, 1, 99), filter_spec(3, 2, 99), filter_spec(1, 3, 99)}));
  EXPECT_GT(raesampler_input_samples(r.get(), 1), 30);
  raesampler_preroll(r.get());
  EXPECT_EQ(raesampler_input_samples(r.get(), 1), 1);
  EXPECT_EQ(raesampler_output_samples(r.get(), 1), 1);
}

TEST(ChainResample, NeedsNoMemoryAndNoSystemCall) {
  std::mt19937 random(10);
  for (int round = 0; round < 60; ++round) {
    const resampler_structure structure = random_structure(random, 4, true);
    const std::int32_t flags = (round % 2 ? kWide : 0) | (round % 3 ? 0 : RAESAMPLER_FLAG_DRIFT);
    const RaesamplerHandle r = make_chain(structure, flags, 2);
    ASSERT_TRUE(r);
    const auto in = random_samples<float>(2048, 10);
    const float *const from[2] = {in.data(), in.data() + 1};
    std::vector<float> out(200000);
    float *const to[2] = {out.data(), out.data() + 100000};
    const auto run = [&] {
      const RealtimeGuard guard;
      for (const std::int32_t limit : {0, 1, 700, 3, 2000}) {
        raesampler_set_drift_ratio(r.get(), 1.0 + 0.001 * limit / 2000);
        std::int32_t count = 1024;
        raesampler_resample(r.get(), from, 2, to, 1, &count, limit);
      }
      raesampler_padding(r.get());
      raesampler_reset(r.get());
    };
    run();
    if (!run_without_system_calls(run)) GTEST_SKIP() << "the kernel or a sanitizer does not allow it";
  }
}

// A burst that was not foreseen needs a larger overflow. Without memory for it less is consumed, and all comes out in
// the end.
TEST(ChainResample, NothingIsLostWhenTheOverflowCannotGrow) {
  const resampler_structure structure = chain_of({filter_spec(9, 1, 90)});
  for (const std::int32_t flags : {0, kWide}) {
    const auto in = random_samples<float>(50, 11);
    const std::vector<float> expected = in_one_block(structure, flags, in);
    const RaesamplerHandle r = make_chain(structure, flags);
    r->overflow_capacity = 0;  // as if it had been made for less
    std::vector<float> out;
    std::int32_t count = 50;
    {
      const CallFailer failer("calloc");
      EXPECT_EQ(resample(r.get(), in, 0, out, &count, 100), 99);
    }
    std::size_t at = static_cast<std::size_t>(count);
    EXPECT_EQ(r->overflow_count, 0);
    while (out.size() < expected.size()) {
      count = static_cast<std::int32_t>(in.size() - at);
      resample(r.get(), in, at, out, &count, 100);
      at += static_cast<std::size_t>(count);
    }
    EXPECT_EQ(out, expected);
  }
}
