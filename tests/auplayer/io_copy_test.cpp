#include "auplayer/io_copy.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/signals.h"

namespace auspool {
namespace {

using testing::Samples;

constexpr std::size_t kRoom = 400;

class IoCopy : public ::testing::Test {
protected:
  // Copies so many frames and compares all of the output with a plain loop over the same.
  void check(std::size_t frames, std::size_t left_at, std::uint32_t left_stride, std::size_t right_at,
             std::uint32_t right_stride, float gain) {
    SCOPED_TRACE(::testing::Message() << frames << " frames, strides " << left_stride << " and " << right_stride);
    Samples out(kRoom, 9.0f), expected = out;
    copy_audio_to_io_buffer(in.data(), static_cast<std::uint32_t>(frames),
                            {{out.data() + left_at, left_stride}, {out.data() + right_at, right_stride}}, gain);
    const float factor = gain > 0.999f && gain < 1.001f ? 1.0f : gain;
    for (std::size_t i = 0; i < frames; ++i) {
      const float left = in[2 * i], right = in[2 * i + 1];
      if (left_at == right_at) {
        expected[left_at + i * left_stride] = (left + right) * (0.5f * factor);
      } else {
        expected[left_at + i * left_stride] = left * factor;
        expected[right_at + i * right_stride] = right * factor;
      }
    }
    EXPECT_EQ(out, expected);
  }

  const Samples in = testing::noise(2 * 64, 1);
};

TEST_F(IoCopy, WritesThroughPointersAndStrides) {
  for (const float gain : {1.0f, 0.5f, -1.0f, 0.0f}) {
    for (std::size_t frames = 0; frames < 20; ++frames) {
      check(frames, 0, 2, 1, 2, gain);    // interleaved
      check(frames, 1, 2, 0, 2, gain);    // interleaved, sides changed
      check(frames, 0, 1, 200, 1, gain);  // planes
      check(frames, 3, 4, 1, 4, gain);    // two of four channels
      check(frames, 0, 2, 200, 1, gain);  // buffers of different kinds
      check(frames, 5, 1, 5, 1, gain);    // one channel, mixed
      check(frames, 2, 4, 2, 4, gain);
    }
  }
}

float copied(float gain) {
  const float in[2] = {0.7f, 0.3f};
  float out[2] = {};
  copy_audio_to_io_buffer(in, 1, {{out, 2}, {out + 1, 2}}, gain);
  return out[0];
}

TEST(IoCopyGain, NearOneIsUnity) {
  for (const float gain : {1.0005f, 0.9995f, std::nextafter(0.999f, 1.0f), std::nextafter(1.001f, 1.0f)}) {
    EXPECT_EQ(copied(gain), 0.7f) << gain;
  }
  for (const float gain : {0.999f, 1.001f, 1.01f}) EXPECT_EQ(copied(gain), 0.7f * gain) << gain;
  EXPECT_TRUE(std::isnan(copied(NAN)));
}

TEST(IoCopyGain, MixesOneChannelAtHalf) {
  const float in[2] = {0.5f, 0.25f};
  float out = 0;
  copy_audio_to_io_buffer(in, 1, {{&out, 1}, {&out, 1}}, 1.0f);
  EXPECT_EQ(out, 0.375f);
  copy_audio_to_io_buffer(in, 1, {{&out, 1}, {&out, 1}}, 0.5f);
  EXPECT_EQ(out, 0.1875f);
}

}  // namespace
}  // namespace auspool
