#include <chrono>

#include "audiskdelay/delay_soak.h"
#include "support/watch.h"

namespace auspool::testing {
namespace {

template <typename Generation>
class DelayOverAMinute : public DelaySoak<Generation> {};
TYPED_TEST_SUITE(DelayOverAMinute, DelayGenerations, DelayNames);

TYPED_TEST(DelayOverAMinute, GivesNothingButWhatWasWritten) {
  this->soak(std::chrono::minutes(1));
}

// Ten hours of audio with pauses, as fast as they pass, half an hour late from the second hour on.
template <typename Generation>
class DelayOverTenHours : public ::testing::Test {
protected:
  using G = Generation;
  static constexpr int kRate = 8000, kBlock = 1000;

  // Whether something is to be heard: three seconds of ten are a pause.
  static bool is_silent(std::int64_t block) { return block / 8 % 10 >= 7; }

  void write(std::int64_t block) {
    if (is_silent(block)) {
      std::fill(buffer.begin(), buffer.end(), 0.0f);
    } else {
      for (int i = 0; i < kBlock; ++i) put_frame(&buffer[static_cast<std::size_t>(2 * i)], frame_at(block, i));
    }
    G::write(delay.get(), buffer.data(), kBlock);
  }

  // Of 24 bits, so none comes twice within half an hour.
  static std::uint64_t frame_at(std::int64_t block, int frame) {
    return static_cast<std::uint64_t>(block * kBlock + frame) % 14400000 + 1;
  }

  // All of a block that was written, and nothing else.
  void read(std::int64_t block) {
    ASSERT_EQ(G::read(delay.get(), buffer.data(), kBlock), kBlock);
    for (int i = 0; i < kBlock; ++i) {
      const std::int64_t expected = is_silent(block) ? 0 : static_cast<std::int64_t>(frame_at(block, i));
      ASSERT_EQ(number_of(&buffer[static_cast<std::size_t>(2 * i)]), expected) << "block " << block;
    }
  }

  void settle() {
    while (audiskdelay::pass(*delay)) {
    }
  }

  std::uint64_t file_bytes() const {
    if constexpr (G::kSleeps) {
      std::uint64_t bytes = 0;
      audiskdelay::BTAudioBufferGetInfo(delay->store.get(), nullptr, nullptr, &bytes);
      return bytes;
    } else {
      return delay->file.file_size();
    }
  }

  typename G::Handle delay = G::make(3600, kRate);
  std::vector<float> buffer = std::vector<float>(2 * kBlock);
};
TYPED_TEST_SUITE(DelayOverTenHours, DelayGenerations, DelayNames);

TYPED_TEST(DelayOverTenHours, KeepsItsDelayItsMemoryAndItsBound) {
  ASSERT_TRUE(this->delay);
  constexpr std::int64_t kHour = 28800, kLate = kHour / 2;  // blocks
  std::int64_t late = 0;
  long allocations = 0;
  for (std::int64_t block = 0; block < 10 * kHour && !this->HasFatalFailure(); ++block) {
    this->write(block);
    this->settle();
    if (block == kHour) {
      EXPECT_EQ(TypeParam::set(this->delay.get(), 1800.125f), 1800.125f);
      late = kLate;
      this->settle();
      allocations = allocation_count();
    }
    this->read(block - late);
    if (block % kHour == kHour - 1 && block > kHour) {
      EXPECT_EQ(TypeParam::info(this->delay.get(), nullptr, nullptr), 1800.0f);
      const float held = TypeParam::max(this->delay.get());
      EXPECT_LE(held, 3600.0f);
      EXPECT_GE(held, 3600.0f - 32766.0f / 8000);
      EXPECT_EQ(allocation_count(), allocations) << "memory is flat";
    }
  }
  if (TypeParam::kSleeps) {
    // Of each ten seconds seven are sound, one is silence as audio and two are a record: 64,000 frames in blocks of
    // 32,766.
    const double frames = 10.0 * 360 * 63000;
    EXPECT_NEAR(static_cast<double>(this->file_bytes()) / (frames / 32766 * 131072), 1.0, 0.01);
  } else {
    EXPECT_EQ(this->file_bytes(), 3600u * 8000 * 4);
  }
}

}  // namespace
}  // namespace auspool::testing
