// The second generation, its worker stepped by hand, with frames that tell which they are.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "audiskdelay/audiskdelay2_record.h"
#include "audiskdelay/delay_frames.h"

namespace auspool::testing {

class Delay2 : public ::testing::Test {
protected:
  using Spans = std::vector<Span>;

  void make(std::int32_t seconds, float rate = 1000) {
    const audiskdelay2_callbacks callbacks = {
        this, [](void *self, float s) { static_cast<Delay2 *>(self)->sizes.push_back(s); }};
    delay = audiskdelay::make_delay2(seconds, &callbacks, rate);
    ASSERT_TRUE(delay);
  }

  void write(int frames) {
    std::vector<float> block(static_cast<std::size_t>(2 * frames));
    for (int i = 0; i < frames; ++i) put_frame(&block[static_cast<std::size_t>(2 * i)], ++last);
    ASSERT_EQ(audiskdelay2_write(delay.get(), block.data(), frames), frames);
  }
  void write_silence(int frames) {
    const std::vector<float> block(static_cast<std::size_t>(2 * frames));
    ASSERT_EQ(audiskdelay2_write(delay.get(), block.data(), frames), frames);
  }

  void settle() {
    while (audiskdelay::pass(*delay)) {
    }
  }

  Spans read(int frames) {
    std::vector<float> block(static_cast<std::size_t>(2 * frames));
    const int count = audiskdelay2_read(delay.get(), block.data(), frames);
    Spans spans;
    for (int i = 0; i < count; ++i) add_frame(spans, number_of(&block[static_cast<std::size_t>(2 * i)]));
    return spans;
  }

  // Each block in, then as much out.
  Spans run(int frames, int block = 100) {
    Spans all;
    for (int i = 0; i < frames; i += block) {
      write(block);
      settle();
      for (const Span &span : read(block))
        for (std::size_t f = 0; f < span.frames; ++f)
          add_frame(all, span.first > 0 ? span.first + static_cast<std::int64_t>(f) : span.first);
    }
    return all;
  }

  float info(float *max = nullptr, float *real = nullptr) { return audiskdelay2_info(delay.get(), max, real); }
  float set(float seconds) { return audiskdelay2_set_delay(delay.get(), seconds); }
  float real_delay() {
    float real = 0;
    info(nullptr, &real);
    return real;
  }
  // What the store says.
  std::uint64_t length() const {
    std::uint64_t frames = 0;
    audiskdelay::BTAudioBufferGetInfo(delay->store.get(), nullptr, &frames, nullptr);
    return frames;
  }

  std::unique_ptr<audiskdelay2, DestroyWith<audiskdelay2_destroy>> delay;
  std::uint64_t last = 0;
  std::vector<float> sizes;
};

}  // namespace auspool::testing
