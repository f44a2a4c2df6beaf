#include "audiskdelay/delay_model.h"
#include "support/hand_clock.h"

namespace auspool::testing {
namespace {

TYPED_TEST_SUITE(DelayBesideAList, DelayGenerations, DelayNames);

TYPED_TEST(DelayBesideAList, GivesWhatStandsThere) {
  for (unsigned round = 0; round < 4; ++round) {
    std::mt19937 random(round);
    this->list.clear();
    this->given.clear();
    this->place.reset();
    this->make(static_cast<std::int32_t>(1 + random() % 90));
    for (int i = 0; i < 15000 && !this->HasFatalFailure(); ++i) this->do_anything(random);
  }
}

TYPED_TEST(DelayBesideAList, GivesNothingElseOnADiskThatFails) {
  for (unsigned round = 0; round < 4; ++round) {
    std::mt19937 random(round);
    Disk disk;
    this->list.clear();
    this->given.clear();
    this->place.reset();
    this->make(static_cast<std::int32_t>(1 + random() % 300));
    TypeParam::replace_file(*this->delay, std::make_unique<FileOnDisk>(disk));
    if (round % 2 == 0) disk.room = 131072 * (1 + random() % 6);
    for (int i = 0; i < 15000 && !this->HasFatalFailure(); ++i) {
      if (random() % 200 == 0) disk.write_error = random() % 2 ? EIO : 0;
      if (!TypeParam::kSleeps && random() % 200 == 0) disk.read_error = random() % 2 ? EIO : 0;
      this->do_anything(random);
    }
    this->delay.reset();
  }
}

// The real delay counts each gap that came after what is read next.
class Delay2BesideAList : public DelayBesideAList<NewDelay> {
protected:
  void sleep(std::uint64_t frames) {
    clock.time_of_day += 1000000;
    audiskdelay::power_callback(delay.get(), platform::kIOMessageSystemWillSleep);
    step();                              // all that was given is thrown away
    clock.time_of_day += frames * 1000;  // a thousand frames a second
    audiskdelay::power_callback(delay.get(), platform::kIOMessageSystemWillPowerOn);
    gaps.push_back({list.size(), static_cast<std::uint64_t>(1000 * (static_cast<double>(frames) * 1000 / 1e6))});
    place.reset();
  }

  void check_real_delay() {
    float real = 0;
    const float seconds = audiskdelay2_info(delay.get(), nullptr, &real);
    ASSERT_EQ(std::llround(seconds * kRate), static_cast<std::int64_t>(delay_frames()));
    const std::uint64_t next = list.size() - delay_frames();
    std::uint64_t expected = delay_frames();
    for (const Gap &gap : gaps) expected += next < list.size() && gap.at > next ? gap.frames : 0;
    ASSERT_EQ(real, static_cast<float>(static_cast<double>(expected) / 1000));
  }

  struct Gap {
    std::uint64_t at, frames;
  };
  std::vector<Gap> gaps;
  HandClock clock;
};

TEST_F(Delay2BesideAList, CountsTheGapsOfSleep) {
  std::mt19937 random(7);
  make(60);
  for (int i = 0; i < 30000 && !HasFatalFailure(); ++i) {
    do_anything(random);
    if (random() % 100 == 0) sleep(random() % 50000);
    // The store tells of what it holds; older frames in the read ring are taken for its oldest.
    if (delay->delay_frames <= NewDelay::held(*delay) && delay_frames() <= NewDelay::held(*delay)) check_real_delay();
  }
}

}  // namespace
}  // namespace auspool::testing
