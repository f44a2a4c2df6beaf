#include "resampler/resampler/model.h"

#include <random>

#include "resampler/resampler/fixture.h"

namespace auspool {
namespace {

using testing::Frames;
using testing::ResamplerModel;
using testing::Samples;

using ResamplerAgainstItsModel = testing::TwoChannelResampler;

// A random life of blocks, and of rates with ratios between 1/8 and 8, through both entry points and the model.
class Life {
public:
  explicit Life(std::uint32_t seed) : random_(seed) {
    const std::uint32_t options = below(2);
    copy_equal_rates_ = options == 0;
    resampler_set_options(interleaved_.get(), &options);
    resampler_set_options(planar_.get(), &options);
  }

  void block() {
    if (below(6) == 0) in_ = rate();
    if (below(4) == 0) out_ = std::clamp(rate(), in_ / 8, in_ * 8);
    if (below(10) == 0) out_ = in_;
    const auto frames = static_cast<std::int32_t>(below(3) == 0 ? below(5) : below(400));
    SCOPED_TRACE(::testing::Message() << frames << " frames, " << in_ << " to " << out_);
    const std::int32_t needed = resampler_frames_in(interleaved_.get(), frames, in_, out_);
    ASSERT_EQ(needed, model_.frames_in(frames, in_, out_));
    ASSERT_EQ(resampler_frames_out(interleaved_.get(), frames, in_, out_), model_.frames_out(frames, in_, out_));
    convert(static_cast<std::size_t>(needed), static_cast<std::size_t>(frames));
  }

private:
  using Handle = std::unique_ptr<resampler, decltype(&resampler_destroy)>;

  std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(random_() % limit); }
  double rate() {
    constexpr double kUsual[] = {8000, 11025, 16000, 22050, 32000, 44100, 48000, 48000.7, 96000, 192000};
    return below(3) == 0 ? 8000.0 + below(100000) / 3.0 : kUsual[below(std::size(kUsual))];
  }

  void convert(std::size_t needed, std::size_t frames) {
    Frames source(needed);
    Samples input, left, right;
    for (auto &frame : source) {
      for (double &sample : frame) sample = static_cast<float>(below(20001)) * 1e-4f - 1.0f;
      input.insert(input.end(), {static_cast<float>(frame[0]), static_cast<float>(frame[1])});
      left.push_back(input[input.size() - 2]);
      right.push_back(input.back());
    }
    Samples output(2 * frames), output_left(frames), output_right(frames);
    const au_channel_pair from = {left.data(), right.data()}, to = {output_left.data(), output_right.data()};
    const auto count = static_cast<std::int32_t>(frames);
    ASSERT_EQ(resampler_resample_i2ch(interleaved_.get(), input.data(), output.data(),
                                      static_cast<std::uint32_t>(frames), in_, out_),
              frames);
    ASSERT_EQ(resampler_resample_ni2ch(planar_.get(), &from, &to, count, in_, out_), count);
    ASSERT_EQ(output, testing::interleave(output_left, output_right));
    ASSERT_EQ(input, testing::interleave(left, right)) << "filtered in place";
    if (frames == 0) return;
    const Frames expected = model_.resample(source, count, in_, out_, copy_equal_rates_);
    for (std::size_t i = 0; i < frames; ++i) {
      ASSERT_NEAR(output[2 * i], expected[i][0], 3e-5) << i;
      ASSERT_NEAR(output[2 * i + 1], expected[i][1], 3e-5) << i;
    }
    ASSERT_EQ(interleaved_->position, model_.position());
    ASSERT_EQ(planar_->position, model_.position());
    ASSERT_GT(model_.position(), -1.0);
    ASSERT_LE(model_.position(), 0.0);
  }

  std::minstd_rand random_;
  double in_ = 44100, out_ = 48000;
  bool copy_equal_rates_ = true;
  Handle interleaved_{resampler_create(), resampler_destroy}, planar_{resampler_create(), resampler_destroy};
  ResamplerModel model_;
};

TEST_F(ResamplerAgainstItsModel, BothEntryPointsGiveWhatItGives) {
  for (std::uint32_t seed = 1; seed <= 400 && !HasFatalFailure(); ++seed) {
    SCOPED_TRACE(::testing::Message() << "seed " << seed);
    Life life(seed);
    for (int block = 0; block < 15 && !HasFatalFailure(); ++block) life.block();
  }
}

}  // namespace
}  // namespace auspool
