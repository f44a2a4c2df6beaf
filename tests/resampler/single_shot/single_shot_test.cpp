// raesampler_single_shot: whole streams, and how they end.
#include <gtest/gtest.h>

#include <cmath>

#include "resampler/single_shot/buffers.h"
#include "support/chains.h"
#include "support/host_stream.h"
#include "support/watch.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

constexpr std::int32_t kStrc = 0x73747263;
constexpr std::int32_t kStag = 0x73746167;

// The same conversion by the streaming calls, with enough silence behind it.
template <typename Sample>
std::vector<Sample> streamed(std::initializer_list<stage_spec> stages, const std::vector<Sample> &in,
                             std::size_t length, std::int32_t flags) {
  const RaesamplerHandle r = make_chain(chain_of(stages), flags);
  std::vector<Sample> padded = in;
  padded.resize(in.size() + 20000);
  auto count = static_cast<std::int32_t>(padded.size());
  std::vector<Sample> out(static_cast<std::size_t>(raesampler_output_samples(r.get(), count)));
  const Sample *const from[1] = {padded.data()};
  Sample *const to[1] = {out.data()};
  if constexpr (sizeof(Sample) == 4)
    raesampler_resample(r.get(), from, 1, to, 1, &count, 0);
  else
    raesampler_resampleD(r.get(), from, 1, to, 1, &count, 0);
  out.resize(length);
  return out;
}

struct Conversion {
  std::initializer_list<stage_spec> stages;
  double ratio;
};

const std::initializer_list<stage_spec> kHalf = {filter_spec(1, 2, 99)};
const std::initializer_list<stage_spec> kUp = {filter_spec(2, 1, 99), filter_spec(147, 160, 1555)};
const std::initializer_list<stage_spec> kManyFold = {filter_spec(4, 1, 40), filter_spec(16, 1, 79),
                                                     filter_spec(5, 3, 50)};
const std::initializer_list<stage_spec> kSinc = {filter_spec(1, 1, 51), sinc_spec(0.7, 63)};
const Conversion kConversions[] = {{kHalf, 0.5}, {kUp, 2 * 147.0 / 160}, {kManyFold, 64 * 5.0 / 3}, {kSinc, 0.7}};

}  // namespace

TEST(SingleShot, GivesTheWholeStreamAndNoSampleMore) {
  for (const Conversion &conversion : kConversions) {
    const precomputed_structure chain = precomputed_chain_of(conversion.stages);
    for (const std::size_t length : {std::size_t{1}, std::size_t{7}, std::size_t{4999}}) {
      const auto expected = static_cast<std::size_t>(std::lround(static_cast<double>(length) * conversion.ratio));
      HostStream<float> narrow(1, length);
      ASSERT_EQ(narrow.convert(&chain, 1.0, conversion.ratio), 0);
      EXPECT_EQ(narrow.out[0], streamed<float>(conversion.stages, narrow.in[0], expected, 0));
      HostStream<double> wide(1, length);
      ASSERT_EQ(wide.convert(&chain, 1.0, conversion.ratio, RaesamplerQualityVeryHigh), 0);
      EXPECT_EQ(wide.out[0], streamed<double>(conversion.stages, wide.in[0], expected, RaesamplerQualityVeryHigh));
      HostStream<float> widened(1, length);
      ASSERT_EQ(widened.convert(&chain, 1.0, conversion.ratio, RaesamplerQualityVeryHigh), 0);
      EXPECT_EQ(widened.out[0], streamed<float>(conversion.stages, widened.in[0], expected, RaesamplerQualityVeryHigh));
    }
  }
}

TEST(SingleShot, ShortReadsAndManyChannelsChangeNothing) {
  const precomputed_structure chain = precomputed_chain_of(kUp);
  HostStream<float> whole(3, 5000), pieces(3, 5000);
  pieces.most = 333;
  ASSERT_EQ(whole.convert(&chain, 1.0, 2 * 147.0 / 160), 0);
  ASSERT_EQ(pieces.convert(&chain, 1.0, 2 * 147.0 / 160), 0);
  EXPECT_EQ(pieces.out, whole.out);
  EXPECT_EQ(pieces.reads, 17);
}

TEST(SingleShot, BlocksHoldAMebiOfSamplesInAllChannels) {
  const precomputed_structure half = precomputed_chain_of(kHalf);
  for (const std::size_t channels : {std::size_t{1}, std::size_t{2}, std::size_t{3}}) {
    HostStream<float> stream(channels, 10);
    ASSERT_EQ(stream.convert(&half, 2.0, 1.0), 0);
    EXPECT_EQ(stream.asked, 0x100000 / static_cast<std::int32_t>(channels));
  }
  // Where the output is longer, it is the output that fills the block.
  const precomputed_structure many = precomputed_chain_of(kManyFold);
  HostStream<float> stream(1, 10);
  ASSERT_EQ(stream.convert(&many, 3.0, 320.0), 0);
  EXPECT_EQ(stream.asked, 0x100000 * 3 / 320);
}

TEST(SingleShot, AStreamOfNothingFails) {
  const precomputed_structure chain = precomputed_chain_of(kHalf);
  HostStream<float> stream(1, 0);
  EXPECT_EQ(stream.convert(&chain, 2.0, 1.0), -1);
  EXPECT_TRUE(stream.out[0].empty());
}

TEST(SingleShot, OneSampleThatBecomesNoneStopsAtTheFirstFlush) {
  const precomputed_structure chain = precomputed_chain_of({filter_spec(1, 3, 99)});
  HostStream<float> stream(1, 1);
  EXPECT_EQ(stream.convert(&chain, 3.0, 1.0), 0);
  EXPECT_TRUE(stream.out[0].empty());
  EXPECT_EQ(stream.reads, 2);
}

TEST(SingleShot, AReadThatGivesUpEndsTheRun) {
  const precomputed_structure chain = precomputed_chain_of(kHalf);
  HostStream<float> stream(2, 5000);
  stream.most = 1000;
  stream.fail_at = 3000;
  EXPECT_EQ(stream.convert(&chain, 2.0, 1.0), -1);
  EXPECT_EQ(stream.out[0].size(), 1476u);
  HostStream<float> equal(2, 5000);
  equal.fail_at = 0;
  EXPECT_EQ(equal.convert(nullptr, 2.0, 2.0), -1);
}

TEST(SingleShot, EqualRatesPassTheStreamOn) {
  for (const std::int32_t flags : {0, static_cast<std::int32_t>(RaesamplerQualityUltraHigh)}) {
    HostStream<float> stream(2, 5000);
    stream.most = 1700;
    double ratio = 0;
    EXPECT_EQ(
        raesampler_single_shot(flags, 2, 4, &ratio, &stream, stream.read, stream.write, nullptr, 1, 48000, 48000, 0),
        0);
    EXPECT_EQ(ratio, 1.0);
    EXPECT_EQ(stream.out, stream.in);
  }
  HostStream<double> wide(2, 5000);
  EXPECT_EQ(wide.convert(nullptr, 1.0, 1.0, RaesamplerQualityUltraHigh), 0);
  EXPECT_EQ(wide.out, wide.in);
  HostStream<float> empty(2, 0);
  EXPECT_EQ(empty.convert(nullptr, 1.0, 1.0), 0);
}

// As much silence as the filters ask for brings out the end, in one block more.
TEST(SingleShot, TheEndComesOutInOneBlock) {
  const precomputed_structure half = precomputed_chain_of(kHalf);
  HostStream<float> stream(1, 5000);
  ASSERT_EQ(stream.convert(&half, 2.0, 1.0), 0);
  EXPECT_EQ(stream.writes, 2);
  EXPECT_EQ(stream.out[0].size(), 2500u);
}

// A host that claims to have given more than it was asked for cannot lead us beyond our buffers.
TEST(SingleShot, AReadThatClaimsMoreThanThereWasRoomForIsCut) {
  const precomputed_structure half = precomputed_chain_of(kHalf);
  for (const precomputed_structure *chain : {&half, static_cast<const precomputed_structure *>(nullptr)}) {
    HostStream<float> honest(64, 3 * 0x4000), liar(64, 3 * 0x4000);  // three whole blocks
    liar.lie = 1000;
    const double output_rate = chain ? 1.0 : 2.0;
    ASSERT_EQ(honest.convert(chain, 2.0, output_rate), 0);
    ASSERT_EQ(liar.convert(chain, 2.0, output_rate), 0);
    EXPECT_EQ(liar.out, honest.out);
  }
}

TEST(SingleShot, TellsWhyItRefuses) {
  const precomputed_structure chain = precomputed_chain_of(kHalf);
  HostStream<float> stream(1, 100);
  const auto result = [&](std::int32_t flags, std::int32_t channels, std::int32_t size,
                          const precomputed_structure *ready, double in = 2.0, double out = 1.0) {
    return raesampler_single_shot(flags, channels, size, nullptr, &stream, stream.read, stream.write, ready, 1, in, out,
                                  0);
  };
  EXPECT_EQ(result(0, 0, 4, &chain), -1);
  EXPECT_EQ(result(0, -1, 4, &chain), -1);
  EXPECT_EQ(result(0, 0x100001, 4, &chain), -1);
  EXPECT_EQ(result(0, 1, 2, &chain), -1);
  EXPECT_EQ(result(RaesamplerQualityHigh, 1, 8, &chain), -1) << "doubles want a chain of doubles";
  for (std::int32_t quality = 5; quality < 16; ++quality) EXPECT_EQ(result(quality, 1, 8, &chain), kStrc);
  EXPECT_EQ(result(0, 1, 4, &chain, 0.0, 1.0), kStrc);
  EXPECT_EQ(result(0, 1, 4, &chain, NAN, 1.0), kStrc);
  EXPECT_EQ(result(0, 1, 4, &chain, 1.0, INFINITY), kStrc);

  precomputed_structure bad = chain;
  bad.count = 0;
  EXPECT_EQ(result(0, 1, 4, &bad), kStrc);
  bad.count = 4;
  EXPECT_EQ(result(0, 1, 4, &bad), kStrc);
  bad = chain;
  bad.stages[0].type = 77;
  EXPECT_EQ(result(0, 1, 4, &bad), kStag);
  EXPECT_EQ(stream.reads, 0) << "nothing is read before it is known that it can be converted";
}

// A chain that does not match the rates gives more or less than they ask for: what is beyond is dropped, what is
// missing is silence.
TEST(SingleShot, TheRatesDecideTheLengthEvenIfTheChainDisagrees) {
  const precomputed_structure half = precomputed_chain_of(kHalf);
  HostStream<float> shorter(1, 10000), longer(1, 10000);
  ASSERT_EQ(shorter.convert(&half, 10.0, 1.0), 0);
  EXPECT_GE(shorter.out[0].size(), 1000u) << "what was written while the stream ran stays written";
  ASSERT_EQ(longer.convert(&half, 1.0, 1.0), 0);
  ASSERT_EQ(longer.out[0].size(), 10000u);
  EXPECT_EQ(longer.out[0].back(), 0.0f);

  stage_spec copy = filter_spec(3, 3, 9);
  copy.type = RAESAMPLER_STAGE_RATIONAL;  // it asks for no padding at all
  const precomputed_structure copies = precomputed_chain_of({copy});
  HostStream<float> copied(1, 100);
  ASSERT_EQ(copied.convert(&copies, 2.0, 3.0), 0);
  EXPECT_EQ(copied.out[0].size(), 150u);
}

TEST(SingleShot, MinimumPhaseComesByFlag) {
  const precomputed_structure chain = precomputed_chain_of(kHalf);
  HostStream<float> linear(1, 500), minimum(1, 500);
  ASSERT_EQ(linear.convert(&chain, 2.0, 1.0), 0);
  ASSERT_EQ(minimum.convert(&chain, 2.0, 1.0, RAESAMPLER_FLAG_MINIMUM_PHASE), 0);
  EXPECT_EQ(minimum.out[0].size(), 250u);
  EXPECT_NE(linear.out, minimum.out);
}

TEST(SingleShot, LeavesNothingBehindWhenMemoryRunsOut) {
  const precomputed_structure chain = precomputed_chain_of({filter_spec(1, 2, 9), sinc_spec(0.9, 15)});
  HostStream<float> stream(2, 50);
  for (auto &channel : stream.out) channel.reserve(1000);
  const int failed = fail_each_allocation([&] {
    stream.at = 0;
    for (auto &channel : stream.out) channel.clear();
    return stream.convert(&chain, 1.0, 0.45) == 0;
  });
  EXPECT_GT(failed, 10);
}

TEST(SizeBlocks, KeepsEveryStageWithinTheLimit) {
  const RaesamplerHandle up = make_chain(chain_of(kManyFold));
  const BlockSizes sizes = size_blocks(*up, 0x100000);
  EXPECT_EQ(sizes.block, 0x100000 * 3 / 320);
  EXPECT_LE(sizes.capacity[1], 0x100000u);
  const RaesamplerHandle down = make_chain(chain_of({filter_spec(1, 8, 80), filter_spec(2, 1, 9)}));
  const BlockSizes halved = size_blocks(*down, 1000);
  EXPECT_EQ(halved.block, 1000);
  EXPECT_EQ(halved.capacity[0], 1000u);
  EXPECT_EQ(halved.capacity[1], 500u) << "125 samples, and room for a block of floats";
}

// So many channels that two samples grow beyond a channel's share: the share doubles until they fit.
TEST(SizeBlocks, TakesMoreRoomWhereTwoSamplesNeedIt) {
  const RaesamplerHandle up = make_chain(chain_of({filter_spec(100, 1, 400), filter_spec(100, 1, 400)}));
  const BlockSizes sizes = size_blocks(*up, 1024);
  EXPECT_GE(sizes.block, 2);
  EXPECT_GE(sizes.capacity[0], static_cast<std::size_t>(sizes.block) * 10000);
}
