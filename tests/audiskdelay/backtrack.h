// The older generation, its worker stepped by hand, with frames that tell which they are, on a disk in memory.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "audiskdelay/audiskdelay_record.h"
#include "audiskdelay/delay_frames.h"
#include "audiskdelay/failing_disk.h"

namespace auspool::testing {

class Backtrack : public ::testing::Test {
protected:
  using Spans = std::vector<Span>;

  static constexpr float kRate = 1000;

  void make(std::int32_t seconds, std::int32_t compact = 1, float rate = kRate) {
    const audiskdelay_callbacks callbacks = {
        this, [](void *self, float s) { static_cast<Backtrack *>(self)->sizes.push_back(s); },
        [](void *self, float s) { static_cast<Backtrack *>(self)->ends.push_back(s); },
        [](void *self, void *value) {
          auto &test = *static_cast<Backtrack *>(self);
          test.told += std::to_string(test.frames_read) + (value ? *static_cast<const char *>(value) : '-') + ' ';
        }};
    delay = audiskdelay::make_delay(seconds, compact, &callbacks, rate);
    ASSERT_TRUE(delay);
    delay->file.replace_file(std::make_unique<FileOnDisk>(disk));
  }

  void write(int frames) {
    std::vector<float> block(static_cast<std::size_t>(2 * frames));
    for (int i = 0; i < frames; ++i) put_frame(&block[static_cast<std::size_t>(2 * i)], ++last);
    ASSERT_EQ(audiskdelay_write(delay.get(), block.data(), frames), frames);
  }

  int settle() {
    int passes = 0;
    while (audiskdelay::pass(*delay)) ++passes;
    return passes;
  }

  Spans read(int frames) {
    std::vector<float> block(static_cast<std::size_t>(2 * frames));
    const int count = audiskdelay_read(delay.get(), block.data(), frames);
    frames_read += count;
    Spans spans;
    for (int i = 0; i < count; ++i) add_frame(spans, number_of(&block[static_cast<std::size_t>(2 * i)]));
    return spans;
  }

  // A host's minute: each block in, then as much out.
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

  float info(float *max = nullptr, float *real = nullptr) { return audiskdelay_info(delay.get(), max, real); }

  Disk disk;
  std::unique_ptr<::audiskdelay, DestroyWith<audiskdelay_destroy>> delay;
  std::uint64_t last = 0;
  int frames_read = 0;
  std::vector<float> sizes, ends;
  std::string told;
};

}  // namespace auspool::testing
