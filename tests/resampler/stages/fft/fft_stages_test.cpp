// What both stages by fast convolution have in common, in both sample sizes.
#include <gtest/gtest.h>

#include "resampler/stages/stage.h"
#include "support/fft_stage.h"
#include "support/watch.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

struct Case {
  stage_spec spec;
  std::int32_t latency;  // 0: large blocks
};

std::string name_of(const Case &c) {
  return "type " + std::to_string(c.spec.type) + ", " + std::to_string(c.spec.up) + "/" + std::to_string(c.spec.down) +
         ", length " + std::to_string(c.spec.length) + (c.spec.minimum_phase ? ", minimum phase" : "") + ", latency " +
         std::to_string(c.latency);
}

// Every type, one tap and many, even and odd branches, branches shorter than, as long as and longer than a partition.
std::vector<Case> cases() {
  std::vector<Case> all;
  for (const auto &[up, down, length] : {std::tuple{1, 1, 1},
                                         {1, 1, 2},
                                         {1, 1, 21},
                                         {1, 1, 64},
                                         {1, 1, 515},
                                         {1, 2, 99},
                                         {1, 3, 2},
                                         {1, 4, 1001},
                                         {1, 7, 640},
                                         {2, 1, 99},
                                         {3, 1, 1},
                                         {3, 1, 561},
                                         {4, 1, 256},
                                         {5, 1, 1500}}) {
    for (const std::uint32_t minimum_phase : {0u, 1u}) {
      for (const std::int32_t latency : {0, 1, 200}) {
        Case c = {fft_spec(up, down, length), latency};
        c.spec.minimum_phase = minimum_phase;
        all.push_back(c);
      }
    }
  }
  return all;
}

template <typename Sample>
class FftStages : public ::testing::Test {
protected:
  static constexpr std::int32_t kSize = sizeof(Sample);
  using Signal = std::vector<Sample>;
};
using Widths = ::testing::Types<float, double>;
TYPED_TEST_SUITE(FftStages, Widths);

}  // namespace

TYPED_TEST(FftStages, GiveThePlainSums) {
  const double tolerance = this->kSize == 4 ? 4e-7 : 2e-14;
  std::mt19937 random(1);
  for (const Case &c : cases()) {
    Stage stage(c.spec, this->kSize, 1, c.latency);
    const auto in = random_samples<TypeParam>(static_cast<std::size_t>(3 * shape_of(stage).line_length() + 999), 7);
    const auto plain = plain_filter(c.spec, {in.begin(), in.end()}, first_of(stage));
    const auto out = stage.template stream<TypeParam>(in, random, 500);
    ASSERT_GE(out.size(), static_cast<std::size_t>(2 * shape_of(stage).block_outputs())) << name_of(c);
    ASSERT_GE(plain.size(), out.size()) << name_of(c);
    ASSERT_LT(greatest_difference(out, std::span(plain).first(out.size())), tolerance * std::max(1.0, c.spec.gain))
        << name_of(c);
  }
}

TYPED_TEST(FftStages, AreTheSameBitForBitInAnySplit) {
  std::mt19937 random(2);
  for (const Case &c : cases()) {
    const auto in = random_samples<TypeParam>(2500, 8);
    Stage whole(c.spec, this->kSize, 1, c.latency);
    typename TestFixture::Signal expected;
    whole.template process<TypeParam>(in, expected);
    for (const std::int32_t longest : {1, 9, 300, 2000}) {
      Stage split(c.spec, this->kSize, 1, c.latency);
      ASSERT_EQ((split.template stream<TypeParam>(in, random, longest)), expected) << name_of(c);
    }
  }
}

TYPED_TEST(FftStages, ReadAndWriteWithStrides) {
  for (const Case &c : cases()) {
    const auto in = random_samples<TypeParam>(1300, 9);
    Stage planar(c.spec, this->kSize, 1, c.latency), strided(c.spec, this->kSize, 1, c.latency);
    typename TestFixture::Signal expected;
    planar.template process<TypeParam>(in, expected);
    typename TestFixture::Signal interleaved(3 * in.size(), TypeParam(99)), out(5 * expected.size(), TypeParam(77));
    for (std::size_t i = 0; i < in.size(); ++i) interleaved[3 * i] = in[i];
    const std::int32_t made = strided->process(strided.state(), strided->shared, strided->work, interleaved.data(), 3,
                                               out.data(), 5, static_cast<std::int32_t>(in.size()), 1);
    ASSERT_EQ(made, static_cast<std::int32_t>(expected.size())) << name_of(c);
    for (std::size_t i = 0; i < out.size(); ++i) {
      ASSERT_EQ(out[i], i % 5 == 0 ? expected[i / 5] : TypeParam(77)) << name_of(c) << " at " << i;
    }
  }
}

TYPED_TEST(FftStages, AreFreshAfterAReset) {
  for (const Case &c : cases()) {
    const auto in = random_samples<TypeParam>(1900, 10);
    Stage stage(c.spec, this->kSize, 1, c.latency);
    typename TestFixture::Signal first, second;
    stage.template process<TypeParam>(in, first);
    stage->reset(stage.state(), 0);
    stage.template process<TypeParam>(in, second);
    ASSERT_EQ(first, second) << name_of(c);
  }
}

// What process gives is what was told, at every block, from the first ones on, of which most are too short for output.
// A decimator's line that holds a transform's samples but is not full is the exception.
TYPED_TEST(FftStages, CountsAgreeWithWhatComesOut) {
  std::mt19937 random(3);
  for (const Case &c : cases()) {
    Stage stage(c.spec, this->kSize, 1, c.latency);
    const fft_shape &shape = shape_of(stage);
    for (int block = 0; block < 60; ++block) {
      const std::int32_t n = random_between(random, 1, shape.line_length());
      const std::int32_t held = fill_of(stage) + n;
      const std::int32_t promised = stage.outputs(n);
      ASSERT_GE(promised, 0) << name_of(c);
      ASSERT_LE(promised, stage.bound(n)) << name_of(c);
      const std::int32_t wanted = random_between(random, 1, 3 * shape.block_outputs());
      ASSERT_GE(stage.outputs(stage.inputs(wanted)), wanted) << name_of(c);
      typename TestFixture::Signal out;
      const std::int32_t made =
          stage.template process<TypeParam>(typename TestFixture::Signal(static_cast<std::size_t>(n)), out);
      const bool waits = held >= shape.fft_size && held < shape.line_length();
      ASSERT_TRUE(made == promised || (waits && made == 0 && promised == shape.block_outputs())) << name_of(c);
    }
  }
}

TYPED_TEST(FftStages, AStreamShorterThanABlockGivesNothingUntilThePadding) {
  for (const Case &c : cases()) {
    Stage stage(c.spec, this->kSize, 1, c.latency);
    const std::int32_t most = shape_of(stage).line_length() - fill_of(stage) - 1;
    if (most < 1) continue;
    typename TestFixture::Signal out;
    stage.template process<TypeParam>(typename TestFixture::Signal(static_cast<std::size_t>(most), TypeParam(1)), out);
    EXPECT_TRUE(out.empty()) << name_of(c);
    const auto padding = static_cast<std::size_t>(stage->padding(stage.state()));
    stage.template process<TypeParam>(typename TestFixture::Signal(padding), out);
    EXPECT_FALSE(out.empty()) << name_of(c);
    EXPECT_TRUE(std::any_of(out.begin(), out.end(), [](TypeParam sample) { return sample != 0; })) << name_of(c);
  }
}

TYPED_TEST(FftStages, PaddingIsTheWholeLine) {
  for (const Case &c : cases()) {
    Stage stage(c.spec, this->kSize, 1, c.latency);
    const fft_shape &shape = shape_of(stage);
    EXPECT_EQ(stage->padding(stage.state()), shape.fft_size * c.spec.down) << name_of(c);
    if (c.latency != 0) continue;
    EXPECT_GT(stage->padding(stage.state()), shape.down * shape.taps / 2) << name_of(c);
  }
}

TYPED_TEST(FftStages, AfterPrerollOneSampleGivesTheFirstBlock) {
  for (const Case &c : cases()) {
    Stage stage(c.spec, this->kSize, 1, c.latency);
    stage->reset(stage.state(), 1);
    typename TestFixture::Signal out;
    EXPECT_EQ(stage.outputs(1), shape_of(stage).block_outputs()) << name_of(c);
    EXPECT_EQ(stage.template process<TypeParam>(typename TestFixture::Signal(1, TypeParam(1)), out),
              shape_of(stage).block_outputs())
        << name_of(c);
    EXPECT_TRUE(std::any_of(out.begin(), out.end(), [](TypeParam sample) { return sample != 0; })) << name_of(c);
  }
}

// The sample that fills the line after a preroll is the stream's first: what follows is the same signal, later.
TYPED_TEST(FftStages, PrerollIsSilence) {
  for (const Case &c : cases()) {
    Stage stage(c.spec, this->kSize, 1, c.latency), prerolled(c.spec, this->kSize, 1, c.latency);
    const auto lead = static_cast<std::size_t>(shape_of(stage).line_length() - 1 - fill_of(stage));
    const auto in = random_samples<TypeParam>(900, 11);
    typename TestFixture::Signal delayed(lead), expected, out;
    delayed.insert(delayed.end(), in.begin(), in.end());
    stage.template process<TypeParam>(delayed, expected);
    prerolled->reset(prerolled.state(), 1);
    prerolled.template process<TypeParam>(in, out);
    ASSERT_EQ(out, expected) << name_of(c);
  }
}

// The first and the last bin of a packed spectrum are two real numbers, and multiply as such.
TYPED_TEST(FftStages, ConstantsAndTheHighestFrequencyPassAsTheFilterTellsThem) {
  for (const std::int32_t latency : {0, 64}) {
    for (const std::int32_t length : {1, 2, 35, 200}) {
      for (const bool highest : {false, true}) {
        const stage_spec spec = fft_spec(1, 1, length);
        Stage stage(spec, this->kSize, 1, latency);
        typename TestFixture::Signal in(static_cast<std::size_t>(4 * shape_of(stage).fft_size), TypeParam(1)), out;
        for (std::size_t i = 1; highest && i < in.size(); i += 2) in[i] = TypeParam(-1);
        const auto plain = plain_filter(spec, {in.begin(), in.end()}, first_of(stage));
        stage.template process<TypeParam>(in, out);
        ASSERT_LT(greatest_difference(out, std::span(plain).first(out.size())), this->kSize == 4 ? 1e-7 : 1e-14)
            << length << ' ' << highest;
      }
    }
  }
}

TYPED_TEST(FftStages, RunWithoutAllocationOrSystemCall) {
  const auto in = random_samples<TypeParam>(1024, 12);
  for (const Case &c : cases()) {
    Stage stage(c.spec, this->kSize, 1, c.latency);
    typename TestFixture::Signal out(static_cast<std::size_t>(stage.bound(1024)));
    const auto run = [&] {
      const RealtimeGuard guard;
      for (const std::int32_t stride : {1, 2}) {
        stage->process(stage.state(), stage->shared, stage->work, in.data(), stride, out.data(), 1, 500, 1);
        stage.inputs(stage.outputs(10));
        stage->reset(stage.state(), stride - 1);
      }
    };
    run();
    if (!run_without_system_calls(run)) GTEST_SKIP() << "the kernel or a sanitizer does not allow it";
  }
}

TYPED_TEST(FftStages, LeaveNothingBehindWhenMemoryRunsOut) {
  for (const std::int32_t latency : {0, 64}) {
    for (const stage_spec &spec : {fft_spec(1, 2, 99), fft_spec(3, 1, 99)}) {
      const int failed = fail_each_allocation([&] {
        raesampler_stage stage = {};
        const bool made = create_converter_stage(this->kSize, &stage, &spec, 2, 1, latency) == 0;
        EXPECT_EQ(made, stage.states != nullptr);
        if (made) destroy_stage(stage, 2);
        return made;
      });
      EXPECT_GT(failed, 8);
    }
  }
}

TYPED_TEST(FftStages, EachThreadGetsAWorkOfItsOwn) {
  for (const std::int32_t latency : {0, 64}) {
    Stage stage(fft_spec(3, 1, 99), this->kSize, 1, latency);
    void *work = stage->alloc_workbuffer(stage.state());
    ASSERT_TRUE(work);
    EXPECT_NE(work, stage->work);
    const auto in = random_samples<TypeParam>(1500, 13);
    typename TestFixture::Signal expected, out(static_cast<std::size_t>(stage.bound(1500)));
    stage.template process<TypeParam>(in, expected);
    stage->reset(stage.state(), 0);
    stage->process(stage.state(), stage->shared, work, in.data(), 1, out.data(), 1, 1500, 1);
    out.resize(expected.size());
    EXPECT_EQ(out, expected);
    stage->free_workbuffer(work);
    EXPECT_EQ(fail_each_allocation([&] {
                void *made = stage->alloc_workbuffer(stage.state());
                if (made) stage->free_workbuffer(made);
                return made != nullptr;
              }) > 0,
              true);
  }
}

TEST(FftStages, RefuseWhatIsNoFilterOfAWholeFactor) {
  raesampler_stage stage = {};
  stage_spec nothing = fft_spec(1, 2, 99);
  nothing.length = 0;
  for (const stage_spec &spec : {fft_spec(3, 2, 99), fft_spec(1, 0, 99), fft_spec(-2, 1, 99), nothing}) {
    EXPECT_EQ(create_fft_polyphase_stage(8, &stage, &spec, 1, 1), -1);
    EXPECT_EQ(create_up_fft_polyphase_stage(8, &stage, &spec, 1, 100), -1);
    EXPECT_FALSE(stage.states);
  }
  const stage_spec fine = fft_spec(1, 2, 99);
  EXPECT_EQ(create_fft_polyphase_stage(2, &stage, &fine, 1, 1), -1);
  EXPECT_EQ(create_fft_polyphase_stage(8, &stage, &fine, 0, 1), -1);
  EXPECT_EQ(create_up_fft_polyphase_stage(8, &stage, &fine, 1, 0x7fffffff), -1) << "no transform is that long";
}

// Sums are formed in double and narrowed once, whatever the number of branches.
TEST(FftStages, FloatsAreTheRoundedDoubles) {
  for (const std::int32_t latency : {0, 64}) {
    for (const stage_spec &spec : {fft_spec(1, 6, 999), fft_spec(6, 1, 999), fft_spec(1, 1, 99)}) {
      Stage narrow(spec, 4, 1, latency), wide(spec, 8, 1, latency);
      const auto in = random_samples<float>(6000, 14);
      std::vector<float> floats;
      std::vector<double> doubles;
      narrow.process<float>(in, floats);
      wide.process<double>(std::vector<double>(in.begin(), in.end()), doubles);
      ASSERT_GT(floats.size(), 100u);
      EXPECT_EQ(floats, std::vector<float>(doubles.begin(), doubles.end()));
    }
  }
}
