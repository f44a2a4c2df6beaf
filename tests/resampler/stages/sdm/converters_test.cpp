// From complex to real, by fast convolution and directly.
#include <auspool/filter_design.h>
#include <gtest/gtest.h>

#include <numbers>

#include "resampler/stages/sdm/c2r_converter.h"
#include "resampler/stages/sdm/c2r_fft_converter.h"
#include "resampler/stages/stage.h"
#include "support/complex_stage.h"
#include "support/responses.h"
#include "support/watch.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

using Complex = std::complex<double>;
using Signal = std::vector<Complex>;
constexpr std::int32_t kLengths[] = {2, 3, 4, 21, 101, 1001};

// A stage that its builder made.
using Builder = std::int32_t (*)(std::int32_t, raesampler_stage *, const stage_spec *, std::int32_t);
constexpr Builder kBuilders[] = {create_c2r_fft_converter_stage, create_c2r_converter_stage};

class Converter {
public:
  Converter(Builder build, std::int32_t sample_size, std::int32_t length, double beta = 10) {
    const stage_spec spec = converter_spec(length, beta);
    if (build(sample_size, &stage_, &spec, 1) != 0) throw std::runtime_error("no converter");
  }
  ~Converter() { destroy_stage(stage_, 1); }
  Converter(const Converter &) = delete;
  Converter &operator=(const Converter &) = delete;

  raesampler_stage *operator->() { return &stage_; }
  void *state() const { return stage_.states[0]; }
  std::int32_t outputs(std::int32_t values) const { return stage_.output_samples(state(), values, 0); }
  std::int32_t bound(std::int32_t values) const { return stage_.output_samples(state(), values, 1); }
  std::int32_t inputs(std::int32_t samples) const { return stage_.input_samples(state(), samples); }

  // Runs `count` samples of a signal through it.
  template <typename Sample>
  void feed(const Signal &in, std::size_t from, std::size_t count, std::vector<Sample> &out) {
    const auto run = run_of<Sample>(in, from, count);
    const auto values = static_cast<std::int32_t>(run.size());
    const std::size_t before = out.size();
    out.resize(before + static_cast<std::size_t>(bound(values)));
    const std::int32_t made =
        stage_.process(state(), stage_.shared, stage_.work, run.data(), 1, out.data() + before, 1, values, 1);
    out.resize(before + static_cast<std::size_t>(made));
  }
  template <typename Sample>
  std::vector<Sample> whole(const Signal &in) {
    std::vector<Sample> out;
    feed(in, 0, in.size(), out);
    return out;
  }

private:
  raesampler_stage stage_ = {};
};

// The real part less the Hilbert transform of the imaginary part, by plain sums, from the first sample on. `taps` is
// the length of the whole filter.
std::vector<double> plain(const Signal &in, std::int32_t taps, double beta = 10) {
  const auto filter = taken(create_hilbert_filter(taps, AU_WINDOW_KAISER, beta), static_cast<std::size_t>(taps));
  std::vector<double> out;
  const auto count = static_cast<std::ptrdiff_t>(in.size()), middle = std::ptrdiff_t{taps / 2};
  for (std::ptrdiff_t i = 0; i < count; ++i) {
    double sum = 0;
    for (std::ptrdiff_t tap = 0; tap < taps; ++tap) {
      const std::ptrdiff_t at = i + middle - tap;
      if (at >= 0 && at < count) sum += filter[static_cast<std::size_t>(tap)] * in[static_cast<std::size_t>(at)].imag();
    }
    out.push_back(in[static_cast<std::size_t>(i)].real() - sum);
  }
  return out;
}

// The taps of the filter that a builder makes of a spec's length.
std::int32_t taps_of(Builder build, std::int32_t length) {
  return build == create_c2r_converter_stage ? length | 1 : 2 * ((((length | 1) + 1) >> 2) * 2) - 1;
}

template <typename Sample>
class Converters : public ::testing::Test {
protected:
  static constexpr std::int32_t kSize = sizeof(Sample);
};
using Widths = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Converters, Widths);

}  // namespace

TYPED_TEST(Converters, GiveThePlainSums) {
  const Signal in = random_signal(6000, 1);
  for (const Builder build : kBuilders) {
    for (const std::int32_t length : kLengths) {
      Converter converter(build, this->kSize, length);
      const auto out = converter.template whole<TypeParam>(in);
      const auto expected = plain(in, taps_of(build, length));
      ASSERT_GT(out.size(), 1000u) << length;
      ASSERT_LT(out.size(), expected.size()) << length;
      ASSERT_LT(greatest_difference(out, std::span(expected).first(out.size())), this->kSize == 4 ? 2e-6 : 2e-14)
          << length;
    }
  }
}

TYPED_TEST(Converters, AreTheSameInAnySplit) {
  std::mt19937 random(2);
  const Signal in = random_signal(5000, 2);
  for (const Builder build : kBuilders) {
    for (const std::int32_t length : kLengths) {
      const auto expected = Converter(build, this->kSize, length).template whole<TypeParam>(in);
      for (const std::int32_t longest : {1, 50, 3000}) {
        Converter split(build, this->kSize, length);
        std::vector<TypeParam> out;
        for (std::size_t at = 0; at < in.size();) {
          const auto drawn = static_cast<std::size_t>(random_between(random, 1, longest));
          const std::size_t count = std::min(drawn, in.size() - at);
          split.feed(in, at, count, out);
          at += count;
        }
        ASSERT_EQ(out, expected) << length << " in blocks up to " << longest;
      }
    }
  }
}

TYPED_TEST(Converters, ReadAndWriteWithStrides) {
  const Signal in = random_signal(2000, 3);
  for (const Builder build : kBuilders) {
    Converter planar(build, this->kSize, 101), strided(build, this->kSize, 101);
    const auto expected = planar.template whole<TypeParam>(in);
    const auto run = run_of<TypeParam>(in, 0, in.size());
    const std::int32_t in_stride = strided->needs_unit_stride ? 1 : 2;
    std::vector<TypeParam> spread(2 * run.size(), TypeParam(9)), out(3 * expected.size() + 9, TypeParam(9));
    for (std::size_t i = 0; i < run.size(); ++i) spread[i * static_cast<std::size_t>(in_stride)] = run[i];
    ASSERT_EQ(strided->process(strided.state(), strided->shared, strided->work, spread.data(), in_stride, out.data(), 3,
                               static_cast<std::int32_t>(run.size()), 1),
              static_cast<std::int32_t>(expected.size()));
    for (std::size_t i = 0; i < out.size(); ++i) {
      ASSERT_EQ(out[i], i % 3 == 0 && i / 3 < expected.size() ? expected[i / 3] : TypeParam(9)) << i;
    }
  }
}

// Twice what lies above 0, and nothing of what lies below.
TYPED_TEST(Converters, DoubleThePositiveFrequenciesAndDropTheNegative) {
  for (const Builder build : kBuilders) {
    for (const double frequency : {0.02, 0.13, 0.25, 0.48, -0.02, -0.13, -0.25, -0.48}) {
      Signal in;
      for (int i = 0; i < 6000; ++i) in.push_back(std::polar(1.0, 2 * std::numbers::pi * frequency * i));
      const auto out = Converter(build, this->kSize, 1001).template whole<TypeParam>(in);
      for (std::size_t i = 600; i < 3000; ++i) {
        const double expected = frequency < 0 ? 0 : 2 * in[i].real();
        ASSERT_NEAR(out[i], expected, 1e-4) << frequency << " at " << i;
      }
    }
  }
}

// What comes after a preroll is the same signal, as much later as a prerolled line is fuller than a fresh one: 50
// samples directly, and 2 * 128 - 50 in blocks.
TYPED_TEST(Converters, PrerollIsSilence) {
  const Signal in = random_signal(3000, 4);
  for (const Builder build : kBuilders) {
    Converter fed(build, this->kSize, 101), prerolled(build, this->kSize, 101);
    const auto first = fed.template whole<TypeParam>(in);
    prerolled->reset(prerolled.state(), 1);
    std::vector<TypeParam> out;
    prerolled.feed(in, 0, 1, out);
    ASSERT_FALSE(out.empty()) << "one sample is enough";
    prerolled.feed(in, 1, in.size() - 1, out);
    const std::size_t late = build == create_c2r_converter_stage ? 50 : 206;
    const std::size_t count = std::min(first.size(), out.size() - late);
    ASSERT_GT(count, 2000u);
    for (std::size_t i = 0; i < count; ++i) ASSERT_NEAR(out[late + i], first[i], this->kSize == 4 ? 2e-6 : 1e-13) << i;
  }
}

TYPED_TEST(Converters, AreFreshAfterAReset) {
  const Signal in = random_signal(1000, 5);
  for (const Builder build : kBuilders) {
    Converter converter(build, this->kSize, 101);
    const auto first = converter.template whole<TypeParam>(in);
    converter->reset(converter.state(), 0);
    EXPECT_EQ(converter.template whole<TypeParam>(in), first);
  }
}

TYPED_TEST(Converters, RunWithoutAllocationOrSystemCall) {
  for (const Builder build : kBuilders) {
    Converter converter(build, this->kSize, 101);
    const std::vector<TypeParam> in(2000);
    std::vector<TypeParam> out(static_cast<std::size_t>(converter.bound(2000)));
    const auto run = [&] {
      const RealtimeGuard guard;
      converter->process(converter.state(), converter->shared, converter->work, in.data(), 1, out.data(), 1, 2000, 1);
      converter.inputs(converter.outputs(10));
      converter->reset(converter.state(), 0);
    };
    run();
    if (!run_without_system_calls(run)) GTEST_SKIP() << "the kernel or a sanitizer does not allow it";
  }
}

TYPED_TEST(Converters, LeaveNothingBehindWhenMemoryRunsOut) {
  const stage_spec spec = converter_spec(101);
  for (const Builder build : kBuilders) {
    const long before = live_allocations();
    EXPECT_GT(fail_each_allocation([&] {
                raesampler_stage stage = {};
                const bool made = build(this->kSize, &stage, &spec, 2) == 0;
                EXPECT_EQ(made, stage.states != nullptr);
                if (made) destroy_stage(stage, 2);
                return made;
              }),
              6);
    EXPECT_EQ(live_allocations(), before);
  }
}

TEST(Converters, RefuseWhatIsNoFilter) {
  raesampler_stage stage = {};
  for (const Builder build : kBuilders) {
    for (const std::int32_t length : {-1, 0, 1, 2147483647}) {
      const stage_spec spec = converter_spec(length);
      EXPECT_EQ(build(8, &stage, &spec, 1), -1) << length;
    }
    const stage_spec fine = converter_spec(101);
    EXPECT_EQ(build(2, &stage, &fine, 1), -1);
    EXPECT_EQ(build(8, &stage, &fine, 0), -1);
  }
  EXPECT_FALSE(stage.states);
}

// Counts of this stage mix values and samples: the output's is told from the values, so up to twice what comes.
TEST(FftConverter, SizesAndCountsOfTheLongFilter) {
  Converter converter(create_c2r_fft_converter_stage, 8, 10001, 21);
  const auto &state = *static_cast<const c2r_fft_converter *>(converter.state());
  constexpr std::int32_t kTaps = 5000, kSize = 8192, kValid = kSize - kTaps + 1;
  EXPECT_EQ(state.taps, kTaps);
  EXPECT_EQ(state.fft_size, kSize);
  EXPECT_EQ(state.log2_size, 13);
  EXPECT_EQ(state.line_length, 2 * kSize);
  EXPECT_EQ(state.work_size, 3 * kSize);
  EXPECT_EQ(state.complex, 1u);
  EXPECT_EQ(state.fill, kTaps - 1);
  EXPECT_EQ(converter->padding(converter.state()), 2 * kSize);
  EXPECT_EQ(converter.outputs(2 * kSize - kTaps), 0);
  EXPECT_EQ(converter.outputs(2 * kSize - kTaps + 1), 2 * kValid);
  EXPECT_EQ(converter.bound(0), 2 * kValid);
  EXPECT_EQ(converter.bound(2 * kValid), 4 * kValid);
  EXPECT_EQ(converter.inputs(1), 2 * kSize - (kTaps - 1));
  EXPECT_EQ(converter.inputs(2 * kValid), 2 * (2 * kValid + kTaps - 1) - (kTaps - 1));
  converter->reset(converter.state(), 1);
  EXPECT_EQ(state.fill, 2 * kSize - 1);
  EXPECT_EQ(converter.inputs(1), 1);
}

// It never gives more than it told.
TEST(FftConverter, GivesAtMostWhatItTold) {
  std::mt19937 random(6);
  Converter converter(create_c2r_fft_converter_stage, 8, 1001);
  const Signal in = random_signal(4000, 6);
  std::int64_t told_in_all = 0, made_in_all = 0;
  for (int round = 0; round < 100; ++round) {
    const auto count = static_cast<std::size_t>(random_between(random, 1, 4000));
    const std::int32_t told = converter.outputs(static_cast<std::int32_t>(2 * count));
    std::vector<double> out;
    converter.feed(in, 0, count, out);
    ASSERT_LE(static_cast<std::int32_t>(out.size()), told);
    told_in_all += told;
    made_in_all += static_cast<std::int64_t>(out.size());
  }
  EXPECT_GT(made_in_all, 100000);
  EXPECT_GT(told_in_all, made_in_all);
}

TEST(FftConverter, EachThreadGetsAWorkOfItsOwn) {
  Converter converter(create_c2r_fft_converter_stage, 8, 101);
  void *work = converter->alloc_workbuffer(converter.state());
  ASSERT_TRUE(work);
  EXPECT_NE(work, converter->work);
  const Signal in = random_signal(1000, 7);
  const auto expected = converter.whole<double>(in);
  converter->reset(converter.state(), 0);
  const auto run = run_of<double>(in, 0, in.size());
  std::vector<double> out(expected.size());
  converter->process(converter.state(), converter->shared, work, run.data(), 1, out.data(), 1, 2000, 1);
  EXPECT_EQ(out, expected);
  converter->free_workbuffer(work);
  EXPECT_EQ(fail_each_allocation([&] {
              void *made = converter->alloc_workbuffer(converter.state());
              if (made) converter->free_workbuffer(made);
              return made != nullptr;
            }),
            1);
}

TEST(DirectConverter, CountsSamplesOfWindows) {
  Converter converter(create_c2r_converter_stage, 8, 101);
  const auto &state = *static_cast<const c2r_converter *>(converter.state());
  EXPECT_EQ(state.length, 101);
  EXPECT_EQ(state.delay, 51);
  EXPECT_EQ(state.tail, 151);
  EXPECT_EQ(state.fill, 50);
  EXPECT_EQ(converter->padding(converter.state()), 151);
  EXPECT_EQ(converter.outputs(100), 0);
  EXPECT_EQ(converter.outputs(101), 0);
  EXPECT_EQ(converter.outputs(102), 1);
  EXPECT_EQ(converter.bound(102), 51);
  EXPECT_EQ(converter.inputs(1), 102);
  EXPECT_EQ(converter.inputs(10), 120);
  EXPECT_EQ(Converter(create_c2r_converter_stage, 4, 101)->needs_unit_stride, 1);
  EXPECT_EQ(converter->needs_unit_stride, 0);
}

TEST(DirectConverter, GivesWhatItTold) {
  std::mt19937 random(8);
  Converter converter(create_c2r_converter_stage, 8, 101);
  const Signal in = random_signal(400, 8);
  for (int round = 0; round < 100; ++round) {
    const auto count = static_cast<std::size_t>(random_between(random, 1, 400));
    const std::int32_t told = converter.outputs(static_cast<std::int32_t>(2 * count));
    std::vector<double> out;
    converter.feed(in, 0, count, out);
    ASSERT_EQ(static_cast<std::int32_t>(out.size()), told);
  }
}

// No plan uses it.
TEST(DirectConverter, IsNotReachedByAType) {
  Stage stage(converter_spec(101), 8);
  EXPECT_TRUE(stage->process == c2r_fft_converter_process);
}
