// Thousands of random chains, blocks and limits: what a chain promises is what it gives, and what it gives does not
// depend on how the stream was cut.
#include <gtest/gtest.h>

#include "resampler/chain/chain.h"
#include "support/chains.h"

using namespace auspool::testing;

namespace {

// Runs a chain over a signal, and keeps its accounts.
template <typename Sample>
class Stream {
public:
  Stream(raesampler *chain, std::vector<Sample> in) : chain_(chain), in_(std::move(in)) {}

  // Feeds the next `count` samples with room for `limit` (0: no limit); checks every promise.
  void feed(std::int32_t count, std::int32_t limit) {
    count = std::min(count, left());
    const std::int32_t promised = raesampler_output_samples(chain_, count);
    const std::int32_t room = limit > 0 ? limit : promised;
    std::vector<Sample> block(static_cast<std::size_t>(room) + 1, kGuard);
    std::int32_t used = count;
    const std::int32_t made = resample(in_.data() + at_, block.data(), &used, limit);
    ASSERT_EQ(block[static_cast<std::size_t>(room)], kGuard) << "the limit was passed";
    ASSERT_LE(used, count);
    if (limit == 0) {
      ASSERT_EQ(made, promised);
      ASSERT_EQ(used, count);
    } else {
      ASSERT_EQ(made, std::min(promised, limit)) << "neither input nor room may be left";
    }
    out.insert(out.end(), block.begin(), block.begin() + made);
    at_ += static_cast<std::size_t>(used);
  }

  std::int32_t left() const { return static_cast<std::int32_t>(in_.size() - at_); }

  std::vector<Sample> out;

private:
  static constexpr Sample kGuard = 1e9;

  std::int32_t resample(const Sample *in, Sample *block, std::int32_t *count, std::int32_t limit) {
    const Sample *const from[1] = {in};
    Sample *const to[1] = {block};
    if constexpr (sizeof(Sample) == 4)
      return raesampler_resample(chain_, from, 1, to, 1, count, limit);
    else
      return raesampler_resampleD(chain_, from, 1, to, 1, count, limit);
  }

  raesampler *chain_;
  std::vector<Sample> in_;
  std::size_t at_ = 0;
};

template <typename Sample>
std::int32_t flags() {
  return sizeof(Sample) == 4 ? RaesamplerQualityRealTime : RaesamplerQualityUltraHigh;
}

// The stages one after the other, each over the whole signal at once.
template <typename Sample>
std::vector<Sample> stage_by_stage(const resampler_structure &structure, std::vector<Sample> signal) {
  for (std::int32_t i = 0; i < structure.count; ++i) {
    Stage stage(structure.stages[i], sizeof(Sample));
    std::vector<Sample> out;
    if (!signal.empty()) stage.process<Sample>(signal, out);
    signal = std::move(out);
  }
  return signal;
}

template <typename Sample>
class ChainExactness : public ::testing::Test {};
using Widths = ::testing::Types<float, double>;
TYPED_TEST_SUITE(ChainExactness, Widths);

}  // namespace

TYPED_TEST(ChainExactness, NoSplitAndNoLimitChangesABit) {
  std::mt19937 random(1);
  for (int round = 0; round < 1000; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    const resampler_structure structure = random_structure(random, 4, round % 2 == 1);
    const auto in = random_samples<TypeParam>(static_cast<std::size_t>(random_between(random, 1, 3000)),
                                              static_cast<std::uint32_t>(round));
    const std::vector<TypeParam> expected = stage_by_stage<TypeParam>(structure, in);
    const RaesamplerHandle chain = make_chain(structure, flags<TypeParam>());
    ASSERT_TRUE(chain);
    Stream<TypeParam> stream(chain.get(), in);
    const bool limited = round % 3 != 0;
    const std::int32_t longest = round % 5 == 0 ? 10 : 900;
    while (stream.left() > 0) {
      const std::int32_t limit = limited ? random_between(random, 1, longest) : 0;
      ASSERT_NO_FATAL_FAILURE(stream.feed(random_between(random, 1, longest), limit));
    }
    while (chain->overflow_count > 0) ASSERT_NO_FATAL_FAILURE(stream.feed(0, 7));
    ASSERT_EQ(stream.out, expected);
  }
}
