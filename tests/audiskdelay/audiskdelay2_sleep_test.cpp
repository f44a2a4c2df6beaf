// What the second generation makes of the computer's sleep.
#include "audiskdelay/delay2.h"
#include "support/hand_clock.h"
#include "support/login_service.h"

namespace auspool::testing {
namespace {

using audiskdelay::pass;

class Delay2Sleep : public Delay2 {
protected:
  void fall_asleep(std::uint64_t at) {
    clock.time_of_day = at;
    audiskdelay::power_callback(delay.get(), 0xE0000280);
  }
  void wake_up(std::uint64_t at) {
    clock.time_of_day = at;
    audiskdelay::power_callback(delay.get(), 0xE0000320);
  }
  HandClock clock;
};

TEST_F(Delay2Sleep, IsAGapThatShowsInTheRealDelay) {
  make(60);
  run(5000);
  set(2);
  fall_asleep(1000000);
  wake_up(11000000);
  EXPECT_EQ(delay->sleep_time, 0u);
  EXPECT_EQ(info(), 2.0f);
  EXPECT_EQ(real_delay(), 12.0f);
  EXPECT_EQ(run(1900), (Spans{{3001, 1900}})) << "nothing of it is heard";
  EXPECT_EQ(real_delay(), 12.0f) << "what is read next is still older than the sleep";
  run(200);
  EXPECT_EQ(real_delay(), 2.0f);
}

TEST_F(Delay2Sleep, WhatComesInMeanwhileIsThrownAway) {
  make(60);
  run(1000);
  fall_asleep(1000000);
  write(9000);  // more than a pass takes
  EXPECT_FALSE(pass(*delay));
  EXPECT_EQ(rbuffer_used_space(delay->write_ring.get()), 0) << "all of it, in one pass";
  EXPECT_EQ(length(), 1000u);
  wake_up(2000000);
  EXPECT_EQ(run(100), (Spans{{10001, 100}}));
}

TEST_F(Delay2Sleep, AClockThatWasSetBackEntersNoGap) {
  make(60);
  run(1000);
  set(1);
  for (const std::uint64_t at : {5000000u, 4000000u}) {
    fall_asleep(5000000);
    EXPECT_EQ(delay->sleep_time, 5000000u);
    wake_up(at);
    EXPECT_EQ(delay->sleep_time, 0u);
    EXPECT_EQ(real_delay(), 1.0f);
  }
}

TEST_F(Delay2Sleep, WakingWithoutSleepAndOtherMessagesAreNothing) {
  make(60);
  run(1000);
  set(1);
  wake_up(5000000);
  audiskdelay::power_callback(delay.get(), 0xE0000270);
  EXPECT_EQ(delay->sleep_time, 0u);
  EXPECT_EQ(real_delay(), 1.0f);
}

TEST_F(Delay2Sleep, OfMonthsIsEnteredInParts) {
  make(60, 44100);
  write(44100);
  settle();
  set(1);
  fall_asleep(1000000);
  wake_up(1000000 + std::uint64_t{100} * 86400 * 1000000);
  EXPECT_EQ(real_delay(), 100.0f * 86400 + 1) << "3.8e11 frames, of which a call takes 2^31";
}

TEST(Delay2WithALoginService, FollowsSleepAndWaking) {
  NEED_LOGIN_SERVICE();
  LoginService service;
  ASSERT_TRUE(service.ready());
  audiskdelay2 *const delay = audiskdelay2_create(60, nullptr, 8000);
  ASSERT_TRUE(delay);
  if (!eventually([&] { return service.inhibitors("sleep") == 1; })) {
    audiskdelay2_destroy(delay);
    GTEST_SKIP() << "this build reaches no login service";
  }
  const std::vector<float> block(2 * 8000, 0.5f);
  std::vector<float> out(block.size());
  audiskdelay2_write(delay, block.data(), 8000);
  ASSERT_TRUE(eventually([&] { return audiskdelay2_info(delay, nullptr, nullptr) == 1.0f; }));
  service.prepare_for_sleep(true);
  ASSERT_TRUE(eventually([&] { return service.inhibitors("sleep") == 0; })) << "the computer may sleep";
  audiskdelay2_write(delay, block.data(), 8000);
  service.prepare_for_sleep(false);
  ASSERT_TRUE(eventually([&] { return service.inhibitors("sleep") == 1; }));
  float real = 0;
  EXPECT_EQ(audiskdelay2_info(delay, nullptr, &real), 1.0f) << "what came meanwhile is gone";
  EXPECT_GT(real, 1.0f);
  audiskdelay2_destroy(delay);
  EXPECT_TRUE(eventually([&] { return service.inhibitors("sleep") == 0; }));
}

}  // namespace
}  // namespace auspool::testing
