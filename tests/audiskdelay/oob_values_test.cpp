#include "audiskdelay/oob_values.h"

#include <gtest/gtest.h>

#include <string>

#include "support/watch.h"

namespace auspool::audiskdelay {
namespace {

// What was done with the values, in words.
std::string done;

void free_value(void *value, void *merge_into) {
  done += *static_cast<char *>(value);
  if (merge_into) done += std::string(">") + *static_cast<char *>(merge_into) + " ";
}

class Oob : public ::testing::Test {
protected:
  Oob() { done.clear(); }

  bool add(char name, std::int64_t position, std::int64_t oldest = 0) {
    names[static_cast<std::size_t>(name)] = name;
    return values->add(position, &names[static_cast<std::size_t>(name)], free_value, oldest);
  }

  // The value before, at and after a position, '-' where there is none.
  std::string around(std::int64_t position) const {
    const OobFound found = values->find(position);
    std::string text;
    for (const OobEntry &entry : {found.previous, found.current, found.next})
      text += entry.value ? *static_cast<char *>(entry.value) : '-';
    return text;
  }

  char names[128] = {};
  std::unique_ptr<OobValues> values = std::make_unique<OobValues>();
};

TEST_F(Oob, AValueAppliesFromItsPositionUntilTheNext) {
  EXPECT_EQ(around(0), "---");
  add('a', 10);
  add('b', 20);
  add('c', 30);
  EXPECT_EQ(around(9), "--a");
  EXPECT_EQ(around(10), "-ab");
  EXPECT_EQ(around(19), "-ab");
  EXPECT_EQ(around(20), "abc");
  EXPECT_EQ(around(1000), "bc-");
}

TEST_F(Oob, OfTwoAtOnePositionTheLaterApplies) {
  add('a', 10);
  add('b', 10);
  EXPECT_EQ(around(10), "ab-");
  EXPECT_EQ(around(9), "--a");
}

TEST_F(Oob, ValuesThatApplyToNothingHeldAreDroppedOnceTheLastIsMerged) {
  add('a', 10);
  add('b', 20);
  add('c', 30);
  add('d', 40, 29);
  EXPECT_EQ(done, "a>d a") << "b still applies to frame 29";
  done.clear();
  add('e', 50, 40);
  EXPECT_EQ(done, "c>e bc");
  EXPECT_EQ(around(40), "-de");
  done.clear();
  values.reset();
  EXPECT_EQ(done, "de") << "and the rest in the end";
}

TEST_F(Oob, GrowsBeyondItsFirstEntries) {
  char many[200];
  for (int i = 0; i < 200; ++i) ASSERT_TRUE(values->add(i, &many[i], nullptr, 0));
  for (int i = 1; i < 199; ++i) {
    const OobFound found = values->find(i);
    ASSERT_EQ(found.previous.value, &many[i - 1]);
    ASSERT_EQ(found.current.value, &many[i]);
    ASSERT_EQ(found.next.value, &many[i + 1]);
  }
}

TEST_F(Oob, NoFreeFunctionFreesNothing) {
  char value = 'x';
  for (int i = 0; i < 10; ++i) ASSERT_TRUE(values->add(i, &value, nullptr, i));
  EXPECT_EQ(values->find(9).previous.position, 8);
}

TEST_F(Oob, WhatWasLostMovesWhatFollows) {
  add('a', 10);
  add('b', 25);
  add('c', 40);
  values->close_gap(20, 10);
  EXPECT_EQ(values->find(10).current.position, 10);
  EXPECT_EQ(values->find(20).current.position, 20) << "its own audio was lost";
  EXPECT_EQ(around(20), "abc");
  EXPECT_EQ(values->find(30).current.position, 30);
}

TEST_F(Oob, MemoryThatRunsOutChangesNothing) {
  add('a', 10);
  add('b', 20);
  {
    const testing::AllocationFailer failer(1);
    EXPECT_FALSE(add('c', 30, 1000));
  }
  EXPECT_EQ(done, "");
  EXPECT_EQ(around(30), "ab-");
}

TEST_F(Oob, LookingUpIsSafeOnARealTimeThread) {
  add('a', 10);
  OobFound found;
  {
    const testing::RealtimeGuard guard;
    EXPECT_TRUE(values->try_find(10, found));
  }
  EXPECT_EQ(found.current.position, 10);
}

}  // namespace
}  // namespace auspool::audiskdelay
