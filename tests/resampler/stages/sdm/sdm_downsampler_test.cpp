#include "resampler/stages/sdm/sdm_downsampler.h"

#include <gtest/gtest.h>

#include <numbers>

#include "resampler/stages/sdm/find_sdm_trmx.h"
#include "resampler/stages/stage.h"
#include "support/complex_stage.h"
#include "support/watch.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

using Complex = std::complex<double>;
using Signal = std::vector<Complex>;

const sdm_downsampler &state_of(const Stage &stage) {
  return *static_cast<const sdm_downsampler *>(stage.state());
}

// Powers of two, sizes without common factors, an odd block; real and complex.
std::vector<stage_spec> specs() {
  std::vector<stage_spec> all;
  for (const bool is_complex : {false, true}) {
    for (const auto &[block, transform] : {std::pair{32, 32}, {64, 32}, {48, 32}, {147, 80}, {37, 30}}) {
      all.push_back(transform_spec(block, transform, is_complex));
    }
  }
  return all;
}

std::string name_of(const stage_spec &spec) {
  return std::to_string(spec.block_size) + (spec.complex_input ? " complex to " : " real to ") +
         std::to_string(spec.transform_size);
}

// What overlapping transforms make of a signal that half a block of silence comes before, by plain sums.
Signal plain(const stage_spec &spec, const Signal &in) {
  const auto block = static_cast<std::size_t>(spec.block_size), size = static_cast<std::size_t>(spec.transform_size);
  const transform_matrix &matrix = *find_sdm_trmx(spec.transform_size, spec.block_size);
  Signal padded(block / 2);
  padded.insert(padded.end(), in.begin(), in.end());
  const std::size_t blocks = padded.size() / block;
  Signal out((blocks + 1) * size / 2);
  for (std::size_t b = 0; b < blocks; ++b) {
    for (std::size_t row = 0; row < size; ++row) {
      for (std::size_t l = 0; l < block; ++l) {
        const std::size_t entry = row * block + l;
        out[b * size / 2 + row] += Complex(matrix.real[entry], matrix.imaginary[entry]) * padded[b * block + l];
      }
    }
  }
  // The first half lies before the stream; the last waits for a block.
  return Signal(out.begin() + static_cast<std::ptrdiff_t>(size / 2), out.end() - static_cast<std::ptrdiff_t>(size / 2));
}

// How much of a frequency, in turns a sample, a signal has; by a window whose side lobes lie far below all that is
// asked.
double amplitude_at(const Signal &signal, double frequency) {
  Complex sum = 0;
  double weights = 0;
  for (std::size_t i = 0; i < signal.size(); ++i) {
    const double place = (static_cast<double>(i) + 0.5) / static_cast<double>(signal.size());
    const double weight = std::pow(std::sin(std::numbers::pi * place), 12);
    sum += weight * signal[i] * std::polar(1.0, -2 * std::numbers::pi * frequency * static_cast<double>(i));
    weights += weight;
  }
  return std::abs(sum) / weights;
}

template <typename Sample>
class SdmDownsampler : public ::testing::Test {
protected:
  static constexpr std::int32_t kSize = sizeof(Sample);

  // Feeds a stage, which is of the kind of signal that its spec tells, samples of `in`.
  static void feed(Stage &stage, const Signal &in, std::size_t from, std::size_t count, Signal &out) {
    auto run = run_of<Sample>(in, from, count);
    if (!state_of(stage).complex_input) run.resize(count);
    std::vector<Sample> made;
    stage.process<Sample>(run, made);
    append_run(made, out);
  }

  static Signal input_of(const stage_spec &spec, std::size_t count, std::uint32_t seed = 5) {
    Signal in = random_signal(count, seed);
    if (!spec.complex_input) std::transform(in.begin(), in.end(), in.begin(), [](Complex x) { return x.real(); });
    return in;
  }

  static std::int32_t values(const stage_spec &spec, std::int32_t samples) {
    return spec.complex_input ? 2 * samples : samples;
  }
};
using Widths = ::testing::Types<float, double>;
TYPED_TEST_SUITE(SdmDownsampler, Widths);

}  // namespace

TYPED_TEST(SdmDownsampler, GivesThePlainSums) {
  for (const stage_spec &spec : specs()) {
    Stage stage(spec, this->kSize);
    const Signal in = this->input_of(spec, 20 * static_cast<std::size_t>(spec.block_size) + 7);
    Signal out;
    this->feed(stage, in, 0, in.size(), out);
    const Signal expected = plain(spec, in);
    ASSERT_EQ(out.size(), expected.size()) << name_of(spec);
    for (std::size_t i = 0; i < out.size(); ++i) {
      ASSERT_LT(std::abs(out[i] - expected[i]), this->kSize == 4 ? 3e-6 : 1e-14) << name_of(spec) << " at " << i;
    }
  }
}

TYPED_TEST(SdmDownsampler, IsTheSameBitForBitInAnySplit) {
  std::mt19937 random(6);
  for (const stage_spec &spec : specs()) {
    const Signal in = this->input_of(spec, 30 * static_cast<std::size_t>(spec.block_size));
    Stage whole(spec, this->kSize);
    Signal expected;
    this->feed(whole, in, 0, in.size(), expected);
    for (const std::int32_t longest : {1, 20, 400, 3000}) {
      Stage split(spec, this->kSize);
      Signal out;
      for (std::size_t at = 0; at < in.size();) {
        const auto drawn = static_cast<std::size_t>(random_between(random, 1, longest));
        const std::size_t count = std::min(drawn, in.size() - at);
        this->feed(split, in, at, count, out);
        at += count;
      }
      ASSERT_EQ(out, expected) << name_of(spec) << " in blocks up to " << longest;
    }
  }
}

// Half a block of silence lies in a fresh line.
TYPED_TEST(SdmDownsampler, GivesNothingForTheFirstBlockAndATransformForTheSecond) {
  for (const stage_spec &spec : specs()) {
    Stage stage(spec, this->kSize);
    EXPECT_EQ(state_of(stage).fill, spec.block_size / 2);
    const Signal in = this->input_of(spec, 2 * static_cast<std::size_t>(spec.block_size));
    const auto first = static_cast<std::size_t>(spec.block_size - spec.block_size / 2);
    Signal out;
    this->feed(stage, in, 0, first, out);
    EXPECT_TRUE(out.empty()) << name_of(spec);
    EXPECT_EQ(state_of(stage).started, 1u);
    EXPECT_EQ(state_of(stage).fill, 0);
    this->feed(stage, in, first, static_cast<std::size_t>(spec.block_size) - 1, out);
    EXPECT_TRUE(out.empty()) << name_of(spec);
    this->feed(stage, in, in.size() - 1, 1, out);
    EXPECT_EQ(2 * out.size(), static_cast<std::size_t>(spec.transform_size)) << name_of(spec);
  }
}

// The first call of a stream gives half a transform less than its blocks, and its imaginary run begins where its real
// one ends. What lies behind belongs to others.
TYPED_TEST(SdmDownsampler, WritesWhatItReturnsAndNoMore) {
  constexpr auto kUntouched = TypeParam(77);
  for (const stage_spec &spec : specs()) {
    for (const std::int32_t stride : {1, 3}) {
      Stage stage(spec, this->kSize);
      for (const std::int32_t blocks : {1, 3, 12}) {
        const std::int32_t count = blocks * spec.block_size;
        const Signal in =
            this->input_of(spec, static_cast<std::size_t>(count), 30u + static_cast<std::uint32_t>(blocks));
        auto run = run_of<TypeParam>(in, 0, in.size());
        const std::int32_t promised = stage.outputs(this->values(spec, count));
        std::vector<TypeParam> out(static_cast<std::size_t>(stride * (promised + 2 * spec.transform_size)), kUntouched);
        const std::int32_t made = stage->process(stage.state(), stage->shared, nullptr, run.data(), 1, out.data(),
                                                 stride, this->values(spec, count), 1);
        ASSERT_EQ(made, promised) << name_of(spec);
        for (std::size_t i = 0; i < out.size(); ++i) {
          const bool written = i % static_cast<std::size_t>(stride) == 0 && i < static_cast<std::size_t>(stride * made);
          ASSERT_EQ(out[i] != kUntouched, written) << name_of(spec) << " at " << i;
        }
      }
    }
  }
}

TYPED_TEST(SdmDownsampler, CountsAgreeWithWhatComesOut) {
  std::mt19937 random(7);
  for (const stage_spec &spec : specs()) {
    Stage stage(spec, this->kSize);
    for (int round = 0; round < 200; ++round) {
      if (round % 50 == 0) stage->reset(stage.state(), round % 100 == 50);
      const std::int32_t samples = random_between(random, 1, 3 * spec.block_size);
      const std::int32_t promised = stage.outputs(this->values(spec, samples));
      ASSERT_LE(promised, stage.bound(this->values(spec, samples))) << name_of(spec);
      const std::int32_t wanted = random_between(random, 1, 5 * spec.transform_size);
      ASSERT_GE(stage.outputs(stage.inputs(wanted)), wanted) << name_of(spec);
      Signal out;
      this->feed(stage, this->input_of(spec, static_cast<std::size_t>(samples)), 0, static_cast<std::size_t>(samples),
                 out);
      ASSERT_EQ(static_cast<std::int32_t>(2 * out.size()), promised) << name_of(spec);
    }
  }
}

TYPED_TEST(SdmDownsampler, PrerollIsABlockOfSilence) {
  for (const stage_spec &spec : specs()) {
    Stage stage(spec, this->kSize), fed(spec, this->kSize);
    stage->reset(stage.state(), 1);
    EXPECT_EQ(state_of(stage).fill, spec.block_size);
    const auto half = static_cast<std::size_t>(spec.block_size - spec.block_size / 2);
    Signal delayed(half), in = this->input_of(spec, 300), expected, out;
    delayed.insert(delayed.end(), in.begin(), in.end());
    this->feed(fed, delayed, 0, delayed.size(), expected);
    this->feed(stage, in, 0, in.size(), out);
    ASSERT_FALSE(out.empty());
    ASSERT_EQ(out, expected) << name_of(spec);
  }
}

TYPED_TEST(SdmDownsampler, IsFreshAfterAReset) {
  for (const stage_spec &spec : specs()) {
    Stage stage(spec, this->kSize);
    const Signal in = this->input_of(spec, 500);
    Signal first, second;
    this->feed(stage, in, 0, in.size(), first);
    stage->reset(stage.state(), 0);
    this->feed(stage, in, 0, in.size(), second);
    ASSERT_EQ(first, second) << name_of(spec);
  }
}

TYPED_TEST(SdmDownsampler, RunsWithoutAllocationOrSystemCall) {
  for (const stage_spec &spec : specs()) {
    Stage stage(spec, this->kSize);
    const std::vector<TypeParam> in(2048);
    std::vector<TypeParam> out(static_cast<std::size_t>(stage.bound(2048)));
    const auto run = [&] {
      const RealtimeGuard guard;
      for (const std::int32_t count : {100, 2048}) {
        stage->process(stage.state(), stage->shared, nullptr, in.data(), 1, out.data(), 1, count, 1);
        stage.inputs(stage.outputs(10));
        stage->reset(stage.state(), 0);
      }
    };
    run();
    if (!run_without_system_calls(run)) GTEST_SKIP() << "the kernel or a sanitizer does not allow it";
  }
}

TYPED_TEST(SdmDownsampler, LeavesNothingBehindWhenMemoryRunsOut) {
  const stage_spec spec = transform_spec(40, 32);
  find_sdm_trmx(32, 40);
  const long before = live_allocations();
  EXPECT_GT(fail_each_allocation([&] {
              raesampler_stage stage = {};
              const bool made = create_converter_stage(this->kSize, &stage, &spec, 2, 1, 0) == 0;
              EXPECT_EQ(made, stage.states != nullptr);
              if (made) destroy_stage(stage, 2);
              return made;
            }),
            4);
  EXPECT_EQ(live_allocations(), before);
}

// Above 0 lies the tone at half its amplitude, and no image: neither of it nor of its mirror image below 0. Below 0
// lies whatever suits.
TYPED_TEST(SdmDownsampler, LeavesNoImageAboveZero) {
  const double floor = this->kSize == 4 ? 1e-6 : 1e-9;
  for (const stage_spec &spec : specs()) {
    const double rate = 2.0 * spec.block_size / spec.transform_size;  // of the input, in output samples
    for (const double frequency : {0.11, 0.25, 0.37, -0.2, 0.63}) {
      Signal in, out;
      for (int i = 0; i < 150 * spec.block_size; ++i) {
        const Complex tone = std::polar(1.0, 2 * std::numbers::pi * frequency / rate * i);
        in.push_back(spec.complex_input ? tone : tone.real());
      }
      Stage stage(spec, this->kSize);
      this->feed(stage, in, 0, in.size(), out);
      const bool in_band = frequency > 0 && frequency < 0.5;
      const double amplitude = spec.complex_input ? 1.0 : 0.5;
      if (in_band) {
        EXPECT_NEAR(amplitude_at(out, frequency), amplitude, floor) << name_of(spec);
      }
      if (!in_band && !spec.complex_input) continue;  // the tone's mirror image is in the band
      for (double other = 0.02; other < 0.49; other += 0.0137) {
        if (in_band && std::abs(other - frequency) < 0.02) continue;
        ASSERT_LT(amplitude_at(out, other), floor) << name_of(spec) << ": " << frequency << " at " << other;
      }
    }
  }
}

TEST(SdmDownsampler, PaddingIsHalfABlock) {
  EXPECT_EQ(Stage(transform_spec(64, 32), 8)->padding(Stage(transform_spec(64, 32), 8).state()), 32);
  Stage complex(transform_spec(64, 32, true), 8);
  EXPECT_EQ(complex->padding(complex.state()), 64);
  Stage odd(transform_spec(37, 30, true), 8);
  EXPECT_EQ(odd->padding(odd.state()), 37);
}

// For whole transforms a block more than it takes, but for exactly one.
TEST(SdmDownsampler, AsksForABlockMoreThanWholeTransformsTake) {
  Stage stage(transform_spec(64, 32), 8);
  EXPECT_EQ(stage.inputs(1), 2 * 64 - 32);
  EXPECT_EQ(stage.inputs(32), 3 * 64 - 32) << "two blocks would do";
  std::vector<double> out;
  stage.process<double>(std::vector<double>(32), out);
  EXPECT_EQ(stage.inputs(31), 64);
  EXPECT_EQ(stage.inputs(32), 64);
  EXPECT_EQ(stage.inputs(33), 2 * 64);
  EXPECT_EQ(stage.inputs(64), 3 * 64) << "two blocks would do";
  Stage complex(transform_spec(64, 32, true), 8);
  EXPECT_EQ(complex.inputs(1), 2 * (2 * 64 - 32));
}

TEST(SdmDownsampler, TellsNoOutputBeforeTheFirstBlock) {
  Stage stage(transform_spec(64, 32), 8);
  EXPECT_EQ(stage.outputs(0), 0);
  EXPECT_EQ(stage.outputs(95), 0);
  EXPECT_EQ(stage.outputs(96), 32);
  EXPECT_EQ(stage.bound(0), 32);
  EXPECT_EQ(stage.bound(64), 64);
}

// The matrix of doubles is the process's, that of floats the stage's own.
TEST(SdmDownsampler, SharesTheMatrixOfDoubles) {
  Stage wide(transform_spec(64, 32), 8), again(transform_spec(64, 32), 8), narrow(transform_spec(64, 32), 4);
  EXPECT_EQ(wide->shared, find_sdm_trmx(32, 64));
  EXPECT_EQ(wide->shared, again->shared);
  EXPECT_FALSE(wide->free_shared);
  EXPECT_NE(narrow->shared, wide->shared);
  EXPECT_TRUE(narrow->free_shared == std::free);
  EXPECT_EQ(wide->needs_unit_stride, 1);
  EXPECT_FALSE(wide->work);
}

TEST(SdmDownsampler, RefusesWhatHasNoMatrix) {
  raesampler_stage stage = {};
  for (const stage_spec &spec :
       {transform_spec(32, 31), transform_spec(3126, 32), transform_spec(0, 32), transform_spec(32, -2)}) {
    EXPECT_EQ(create_sdm_downsampler_stage(8, &stage, &spec, 1), -1);
  }
  const stage_spec fine = transform_spec(32, 32);
  const long before = allocation_count();
  const stage_spec undesigned = transform_spec(41, 32);
  EXPECT_EQ(create_sdm_downsampler_stage(2, &stage, &undesigned, 1), -1);
  EXPECT_EQ(allocation_count(), before) << "nothing is designed for it";
  EXPECT_EQ(create_sdm_downsampler_stage(2, &stage, &fine, 1), -1);
  EXPECT_EQ(create_sdm_downsampler_stage(8, &stage, &fine, 0), -1);
  EXPECT_FALSE(stage.states);
}
