// What the direct stages have in common: filters, rational converters and the sinc stage, in both sample sizes.
#include <gtest/gtest.h>

#include "resampler/stages/direct/polyphase_decimator.h"
#include "resampler/stages/direct/polyphase_resampler.h"
#include "resampler/stages/direct/sinc_resampler.h"
#include "support/chains.h"
#include "support/watch.h"

using namespace auspool::testing;

namespace {

struct Case {
  stage_spec spec;
  std::int64_t delay;  // of its state
};

std::int64_t delay_of(const stage_spec &spec, const Stage &stage) {
  if (spec.type == RAESAMPLER_STAGE_SINC) return static_cast<auspool::sinc_resampler *>(stage.state())->delay;
  const bool decimator = spec.type == RAESAMPLER_STAGE_DECIMATOR || spec.type == RAESAMPLER_STAGE_FILTER;
  if (decimator) return static_cast<auspool::polyphase_decimator *>(stage.state())->delay;
  return static_cast<auspool::polyphase_resampler *>(stage.state())->delay;
}

// Every kind, long and short windows, steps beyond the window, one tap, several phases and none.
std::vector<stage_spec> specs() {
  std::vector<stage_spec> all = {filter_spec(1, 1, 1),         filter_spec(1, 1, 31),    filter_spec(1, 2, 99),
                                 filter_spec(1, 7, 40),        filter_spec(1, 50, 9),    filter_spec(1, 3, 700),
                                 filter_spec(2, 1, 99),        filter_spec(5, 1, 33),    filter_spec(3, 2, 100),
                                 filter_spec(2, 3, 101),       filter_spec(7, 160, 60),  filter_spec(147, 160, 7737),
                                 filter_spec(160, 147, 1600),  filter_spec(10, 4, 80),   sinc_spec(1.0, 15, 5.0),
                                 sinc_spec(1.00037, 15, 5.0),  sinc_spec(0.31, 15, 5.0), sinc_spec(3.7, 63),
                                 sinc_spec(0.9187, 127, 16.7), sinc_spec(0.02, 9),       sinc_spec(1.3, 1)};
  for (std::size_t i = 0; i < 14; i += 3) {
    stage_spec spec = all[i];
    spec.minimum_phase = 1;
    all.push_back(spec);
  }
  return all;
}

std::string name_of(const stage_spec &spec) {
  return "type " + std::to_string(spec.type) + ", " + std::to_string(spec.up) + "/" + std::to_string(spec.down) +
         ", length " + std::to_string(spec.length) + ", ratio " + std::to_string(spec.ratio);
}

template <typename Sample>
class DirectStages : public ::testing::Test {
protected:
  static constexpr std::int32_t kSize = sizeof(Sample);
  using Signal = std::vector<Sample>;
};
using Widths = ::testing::Types<float, double>;
TYPED_TEST_SUITE(DirectStages, Widths);

}  // namespace

TYPED_TEST(DirectStages, GiveThePlainSums) {
  const double tolerance = this->kSize == 4 ? 4e-6 : 1e-11;
  std::mt19937 random(1);
  for (const stage_spec &spec : specs()) {
    if (this->kSize == 4 && spec.length == 15 && spec.kaiser_beta != 5.0) continue;
    const auto in = random_samples<TypeParam>(2500, 7);
    Stage stage(spec, this->kSize);
    const std::int64_t first = delay_of(spec, stage) - 1;
    const std::vector<double> wide(in.begin(), in.end());
    const bool sinc = spec.type == RAESAMPLER_STAGE_SINC;
    // The first window may begin with the first sample even so.
    const auto plain =
        sinc ? plain_sinc(spec, wide, first) : plain_filter(spec, wide, std::max<std::int64_t>(first, 0));
    const auto out = stage.template stream<TypeParam>(in, random, 500);
    ASSERT_LT(greatest_difference(out, plain), tolerance * std::max(1.0, spec.gain)) << name_of(spec);
  }
}

TYPED_TEST(DirectStages, AreTheSameBitForBitInAnySplit) {
  std::mt19937 random(2);
  for (const stage_spec &spec : specs()) {
    const auto in = random_samples<TypeParam>(2500, 8);
    Stage whole(spec, this->kSize);
    typename TestFixture::Signal expected;
    whole.template process<TypeParam>(in, expected);
    for (const std::int32_t longest : {1, 9, 300, 2000}) {
      Stage split(spec, this->kSize);
      ASSERT_EQ((split.template stream<TypeParam>(in, random, longest)), expected) << name_of(spec);
    }
  }
}

TYPED_TEST(DirectStages, ReadAndWriteWithStrides) {
  for (const stage_spec &spec : specs()) {
    const auto in = random_samples<TypeParam>(1300, 9);
    Stage planar(spec, this->kSize), strided(spec, this->kSize);
    typename TestFixture::Signal expected;
    planar.template process<TypeParam>(in, expected);
    typename TestFixture::Signal interleaved(3 * in.size(), TypeParam(99)), out(5 * expected.size(), TypeParam(77));
    for (std::size_t i = 0; i < in.size(); ++i) interleaved[3 * i] = in[i];
    const std::int32_t made = strided->process(strided.state(), strided->shared, strided->work, interleaved.data(), 3,
                                               out.data(), 5, static_cast<std::int32_t>(in.size()), 1);
    ASSERT_EQ(made, static_cast<std::int32_t>(expected.size())) << name_of(spec);
    for (std::size_t i = 0; i < out.size(); ++i) {
      ASSERT_EQ(out[i], i % 5 == 0 ? expected[i / 5] : TypeParam(77)) << name_of(spec) << " at " << i;
    }
  }
}

TYPED_TEST(DirectStages, AreFreshAfterAReset) {
  for (const stage_spec &spec : specs()) {
    const auto in = random_samples<TypeParam>(900, 10);
    Stage stage(spec, this->kSize);
    typename TestFixture::Signal first, second;
    stage.template process<TypeParam>(in, first);
    stage->reset(stage.state(), 0);
    stage.template process<TypeParam>(in, second);
    ASSERT_EQ(first, second) << name_of(spec);
  }
}

// With preroll the line counts as full of zeroes: the same signal, later by the delay.
TYPED_TEST(DirectStages, PrerollIsSilenceOfTheDelaysLength) {
  for (const stage_spec &spec : specs()) {
    Stage stage(spec, this->kSize), prerolled(spec, this->kSize);
    if (spec.up == spec.down && spec.type == RAESAMPLER_STAGE_RATIONAL) continue;
    const std::int64_t lead = std::max<std::int64_t>(delay_of(spec, stage) - 1, 0);
    const auto in = random_samples<TypeParam>(900, 11);
    typename TestFixture::Signal delayed(static_cast<std::size_t>(lead)), expected, out;
    delayed.insert(delayed.end(), in.begin(), in.end());
    stage.template process<TypeParam>(delayed, expected);
    prerolled->reset(prerolled.state(), 1);
    EXPECT_EQ(prerolled.inputs(1), 1) << name_of(spec);
    EXPECT_GE(prerolled.outputs(1), 1) << name_of(spec);
    prerolled.template process<TypeParam>(in, out);
    ASSERT_EQ(out, expected) << name_of(spec);
  }
}

TYPED_TEST(DirectStages, RunWithoutAllocationOrSystemCall) {
  const auto in = random_samples<TypeParam>(1024, 12);
  for (const stage_spec &spec : specs()) {
    Stage stage(spec, this->kSize);
    typename TestFixture::Signal out(static_cast<std::size_t>(stage.bound(1024)) + 1);
    const auto run = [&] {
      const RealtimeGuard guard;
      for (const std::int32_t stride : {1, 2}) {
        stage->process(stage.state(), stage->shared, stage->work, in.data(), stride, out.data(), 1, 500, 1);
        stage.inputs(stage.outputs(10));
      }
    };
    run();
    if (!run_without_system_calls(run)) GTEST_SKIP() << "the kernel or a sanitizer does not allow it";
  }
}

TYPED_TEST(DirectStages, LeaveNothingBehindWhenMemoryRunsOut) {
  for (const stage_spec &spec : {filter_spec(1, 2, 9), filter_spec(3, 2, 9), sinc_spec(0.9, 3), sinc_spec(0.9, 15)}) {
    const int failed = fail_each_allocation([&] {
      raesampler_stage stage = {};
      const bool made = create_converter_stage(this->kSize, &stage, &spec, 2, 1, 0) == 0;
      EXPECT_EQ(made, stage.states != nullptr);
      if (made) auspool::destroy_stage(stage, 2);
      return made;
    });
    EXPECT_GT(failed, 5);
  }
}
