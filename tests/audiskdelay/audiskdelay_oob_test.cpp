// Out-of-band values of the older generation.
#include "audiskdelay/backtrack.h"
#include "support/watch.h"

namespace auspool::testing {
namespace {

constexpr char kNames[] = "abcdefgh";
std::string freed;

void free_name(void *value, void *merge_into) {
  freed += *static_cast<char *>(value);
  if (merge_into) freed += '>';
}

class BacktrackValues : public Backtrack {
protected:
  void add(std::size_t name) {
    ASSERT_EQ(audiskdelay_add_oob_value(delay.get(), const_cast<char *>(&kNames[name]), free_name), 0);
  }
  std::string around() {
    float before = -1, after = -1;
    const void *const values[3] = {audiskdelay_prev_oob_value(delay.get(), &before),
                                   audiskdelay_get_oob_value(delay.get()),
                                   audiskdelay_next_oob_value(delay.get(), &after)};
    std::string text;
    for (const void *value : values) text += value ? *static_cast<const char *>(value) : '-';
    char distances[64];
    snprintf(distances, sizeof distances, " %.3f %.3f", static_cast<double>(before), static_cast<double>(after));
    return text + distances;
  }
};

TEST_F(BacktrackValues, ComeOutWithTheAudio) {
  make(60);
  run(1000);
  add(0);
  run(300);
  write(50);
  add(1);  // in the middle of what the worker has not yet taken
  write(50);
  settle();
  read(100);
  run(700);
  EXPECT_EQ(told, "1000a 1400b ") << "with the first block that begins at or after it";
  told.clear();
  frames_read = 0;
  EXPECT_EQ(audiskdelay_set_backtrack(delay.get(), 1.5f), 1.5f);
  EXPECT_EQ(around(), "--a 0.000 0.400");
  run(500);
  EXPECT_EQ(told, "0- 400a ") << "back to where there was none";
  run(1000);
  EXPECT_EQ(told, "0- 400a 800b ");
}

TEST_F(BacktrackValues, KnowTheirNeighboursAndHowFarTheyAre) {
  make(60);
  for (std::size_t i = 0; i < 4; ++i) {
    add(i);
    run(1000);
  }
  EXPECT_EQ(around(), "cd- 2.000 0.000");
  audiskdelay_set_backtrack(delay.get(), 1.7f);
  EXPECT_EQ(around(), "bcd 1.300 0.700");
  audiskdelay_set_backtrack(delay.get(), 4.0f);
  EXPECT_EQ(around(), "-ab 0.000 1.000");
  EXPECT_EQ(audiskdelay_prev_oob_value(delay.get(), nullptr), nullptr);
}

TEST_F(BacktrackValues, StayAsLongAsTheirAudioDoes) {
  freed.clear();
  make(5);
  for (std::size_t i = 0; i < 5; ++i) {
    add(i);
    run(2000);
  }
  EXPECT_EQ(freed, "a>a") << "at 8 seconds, 5 are held: from 3 on, to which b applies";
  audiskdelay_set_backtrack(delay.get(), 5);
  EXPECT_EQ(around(), "bcd 3.000 1.000") << "at 5, of 10";
  delay.reset();
  EXPECT_EQ(freed, "a>abcde") << "in the end all are released";
}

// The read ring holds ten seconds that are no longer in a file of five.
TEST_F(BacktrackValues, StayWhileTheirAudioIsInTheReadRing) {
  freed.clear();
  make(5);
  add(0);
  for (int i = 0; i < 8; ++i) {
    write(1000);
    settle();
    if (i == 0) add(1);
  }
  add(2);
  EXPECT_EQ(freed, "");
  EXPECT_EQ(read(100), (Spans{{1, 100}}));
  EXPECT_EQ(told, "0a ");
}

TEST_F(BacktrackValues, MoveUpWhenAudioBeforeThemIsLost) {
  make(60);
  run(1000);
  disk.write_error = EIO;
  write(500);
  add(0);  // after what will be lost
  write(500);
  EXPECT_EQ(settle(), 1);
  disk.write_error = 0;
  run(200);
  EXPECT_EQ(told, "1000a ");
}

TEST_F(BacktrackValues, ApplyToNothingThatWriteOnlyModeLeftBehind) {
  make(60);
  add(0);
  run(1000);
  audiskdelay_set_backtrack(delay.get(), 0.5f);
  settle();
  audiskdelay_set_zero_delay_writeonly_mode(delay.get(), 1);
  write(500);
  settle();  // and nobody reads
  add(1);
  audiskdelay_set_zero_delay_writeonly_mode(delay.get(), 0);
  told.clear();
  EXPECT_EQ(run(100), (Spans{{1501, 100}}));
  EXPECT_EQ(told, "1000b ");
}

TEST_F(BacktrackValues, ThatFindNoMemoryAreRefused) {
  make(5);
  const AllocationFailer failer(1);
  EXPECT_EQ(audiskdelay_add_oob_value(delay.get(), &disk, free_name), -1);
}

}  // namespace
}  // namespace auspool::testing
