#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "auspool/ausampler.h"
#include "buffers/ausampler.h"
#include "buffers/sampler_layouts.h"
#include "buffers/sampler_model.h"

namespace auspool {
namespace {

using testing::Direction;
using testing::Layout;
using testing::LayoutCall;
using testing::Planes;
using testing::SamplerModel;

class Random {
public:
  explicit Random(std::uint32_t seed) : engine_(seed) {}
  std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(engine_() % limit); }
  bool one_in(std::uint32_t n) { return below(n) == 0; }

  // Rates of the world, rates close to each other, and any at all.
  double rate() {
    constexpr double kUsual[] = {8000, 11025, 16000, 22050, 24000, 32000, 44100, 48000, 88200, 96000, 176400, 192000};
    const double usual = kUsual[below(std::size(kUsual))];
    switch (below(4)) {
    case 0:
      return usual * (1.0 + (below(2001) - 1000.0) * 1e-6);
    case 1:
      return 1000.0 + below(200000) / 3.0;
    default:
      return usual;
    }
  }

  std::uint32_t frames() { return one_in(3) ? below(6) : one_in(8) ? below(3000) : below(300); }

  Planes planes(std::size_t channels, std::size_t frames) {
    Planes result(channels, std::vector<float>(frames));
    for (auto &plane : result) {
      for (float &sample : plane) sample = static_cast<float>(below(20001)) * 1e-4f - 1.0f;
    }
    return result;
  }

private:
  std::minstd_rand engine_;
};

// Bit for bit: a NaN is equal to itself, and 0 is not -0.
bool same(const Planes &a, const Planes &b) {
  for (std::size_t c = 0; c < a.size(); ++c) {
    if (a[c].size() != b[c].size()) return false;
    if (!a[c].empty() && std::memcmp(a[c].data(), b[c].data(), a[c].size() * sizeof(float)) != 0) return false;
  }
  return a.size() == b.size();
}

// One sampler through a random life: blocks of any length, pulls and pushes, now and then other rates.
void live(std::uint32_t seed, Layout layout) {
  Random random(seed);
  const std::uint32_t channels = 1 + random.below(5);
  ausampler *sampler = ausampler_create(channels);
  SamplerModel model(channels);
  double in = random.rate(), out = random.rate();
  for (int block = 0; block < 12; ++block) {
    if (random.one_in(6)) in = random.rate();
    if (random.one_in(12)) out = in;
    const std::uint32_t frames = random.frames();
    const Direction direction = random.one_in(2) ? Direction::pull : Direction::push;
    const LayoutCall call(layout, direction, sampler, in, out);
    SCOPED_TRACE(::testing::Message() << "seed " << seed << " block " << block << ": " << frames << " frames, " << in
                                      << " to " << out);
    if (direction == Direction::pull) {
      const std::uint32_t needed = ausampler_read_frames_in(sampler, frames, in, out);
      ASSERT_EQ(needed, model.frames_in(frames, in, out));
      const Planes source = random.planes(channels, needed);
      ASSERT_TRUE(same(call(source, frames, frames), model.pull(source, frames, in, out)));
    } else {
      const std::uint32_t given = ausampler_write_frames_out(sampler, frames, in, out);
      ASSERT_EQ(given, model.frames_out(frames, in, out));
      const Planes source = random.planes(channels, frames);
      ASSERT_TRUE(same(call(source, given, frames), model.push(source, frames, in, out)));
    }
    ASSERT_EQ(sampler->fraction, model.fraction);
  }
  ausampler_destroy(sampler);
}

void live_many(Layout layout) {
  for (std::uint32_t seed = 1; seed <= 500 && !::testing::Test::HasFatalFailure(); ++seed) live(seed, layout);
}

TEST(SamplerAgainstItsModel, Interleaved) {
  live_many(Layout::interleaved);
}
TEST(SamplerAgainstItsModel, Noninterleaved) {
  live_many(Layout::noninterleaved);
}
TEST(SamplerAgainstItsModel, Strided) {
  live_many(Layout::iovec);
}

// However a stream is cut, the same frames go in and out in the long run, and the same signal comes out.
TEST(SamplerCounts, DoNotDriftWithTheSplitting) {
  for (std::uint32_t seed = 1; seed <= 200; ++seed) {
    Random random(seed);
    const double in = random.rate(), out = random.rate();
    ausampler *pulled = ausampler_create(1);
    ausampler *pushed = ausampler_create(1);
    double frames_in = 0, frames_out = 0, fed = 0, got = 0;
    const std::vector<float> source(1 << 17);
    std::vector<float> destination(1 << 17);
    for (int block = 0; block < 50; ++block) {
      const std::uint32_t frames = random.below(500);
      frames_in += ausampler_read_frames_in(pulled, frames, in, out);
      frames_out += frames;
      ausampler_read_interleaved(pulled, source.data(), destination.data(), frames, in, out);
      got += ausampler_write_frames_out(pushed, frames, in, out);
      fed += frames;
      ausampler_write_interleaved(pushed, source.data(), destination.data(), frames, in, out);
    }
    EXPECT_NEAR(frames_in, frames_out * in / out, 2 + 4 * in / out) << in << " to " << out;
    EXPECT_NEAR(got, fed * out / in, 2 + 4 * out / in) << in << " to " << out;
    ausampler_destroy(pulled);
    ausampler_destroy(pushed);
  }
}

// Also with fractions that only a wild change of rates leaves.
TEST(SamplerCounts, APushGivesTheMostThatItsInputAllows) {
  Random random(7);
  ausampler *sampler = ausampler_create(1);
  SamplerModel model(1);
  for (int round = 0; round < 5000; ++round) {
    sampler->fraction = model.fraction = random.below(random.one_in(2) ? 4000 : 2000000) / 1000.0;
    const double in = random.rate(), out = random.one_in(4) ? random.rate() * 50 : random.rate();
    const std::uint32_t frames = random.one_in(2) ? random.below(8) : random.frames();
    const std::uint32_t given = ausampler_write_frames_out(sampler, frames, in, out);
    ASSERT_EQ(given, model.frames_out(frames, in, out)) << in << " to " << out << ", fraction " << model.fraction;
    ASSERT_LE(ausampler_read_frames_in(sampler, given, in, out), frames) << in << " to " << out;
  }
  ausampler_destroy(sampler);
}

}  // namespace
}  // namespace auspool
