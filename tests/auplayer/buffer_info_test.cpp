#include "auplayer/buffer_info.h"

#include <gtest/gtest.h>

#include <numeric>

#include "support/watch.h"

namespace auspool {
namespace {

using platform::BufferListOf;

// Memory that channels can be found in: its address alone counts.
float memory[64][64];

constexpr std::size_t kMost = 40;

// A list of buffers of so many channels and frames, each in a row of `memory`.
struct List : BufferListOf<kMost> {
  List(std::initializer_list<std::uint32_t> channels, std::uint32_t frames = 8) : BufferListOf{} {
    for (const std::uint32_t count : channels) {
      buffers[list.count] = {count, count * frames * 4, memory[list.count]};
      ++list.count;
    }
  }
};

class BufferInfo : public ::testing::Test {
protected:
  std::uint32_t figure_out(const List &list, std::uint32_t left = 0, std::uint32_t right = 0) {
    return figure_out_buffer_info(left, right, &list.list, found);
  }
  void expect(std::size_t left_row, std::size_t left_at, std::uint32_t left_stride, std::size_t right_row,
              std::size_t right_at, std::uint32_t right_stride) {
    EXPECT_EQ(found[0].data, &memory[left_row][left_at]);
    EXPECT_EQ(found[0].stride, left_stride);
    EXPECT_EQ(found[1].data, &memory[right_row][right_at]);
    EXPECT_EQ(found[1].stride, right_stride);
  }

  ChannelDescriptor found[2] = {};
};

TEST_F(BufferInfo, ANullListHasNoFrames) {
  EXPECT_EQ(figure_out_buffer_info(0, 0, nullptr, found), 0u);
  EXPECT_EQ(figure_out_buffer_info(1, 2, nullptr, found), 0u);
}

// ---- Automatic choice ----

TEST_F(BufferInfo, TheFirstBufferOfSeveralChannelsIsTakenAtOnce) {
  EXPECT_EQ(figure_out(List({2, 6})), 8u);
  expect(0, 0, 2, 0, 1, 2);
  EXPECT_EQ(figure_out(List({4})), 8u);
  expect(0, 0, 4, 0, 1, 4);
}

TEST_F(BufferInfo, OneMonoBufferServesBothSides) {
  EXPECT_EQ(figure_out(List({1})), 8u);
  expect(0, 0, 1, 0, 0, 1);
}

TEST_F(BufferInfo, TwoMonoBuffersBecomeLeftAndRightWithTheFramesOfTheSmaller) {
  List list({1, 1});
  list.buffers[1].bytes = 5 * 4 + 3;
  EXPECT_EQ(figure_out(list), 5u);
  expect(0, 0, 1, 1, 0, 1);
}

TEST_F(BufferInfo, AMonoBufferIsForgottenForAMultichannelOneBehindIt) {
  EXPECT_EQ(figure_out(List({1, 4, 1})), 8u);
  expect(1, 0, 4, 1, 1, 4);
}

TEST_F(BufferInfo, MonoBuffersPairAcrossUnusableOnes) {
  List list({1, 2, 2, 0, 1, 2});
  list.buffers[1].data = nullptr;
  list.buffers[2].bytes = 0;
  EXPECT_EQ(figure_out(list), 8u);
  expect(0, 0, 1, 4, 0, 1);
}

TEST_F(BufferInfo, AThirdBufferIsNeverLookedAt) {
  EXPECT_EQ(figure_out(List({1, 1, 2})), 8u);
  expect(0, 0, 1, 1, 0, 1);
}

TEST_F(BufferInfo, WithoutAUsableBufferThereIsNothing) {
  List list({2, 0});
  list.buffers[0].data = nullptr;
  EXPECT_EQ(figure_out(list), 0u);
  EXPECT_EQ(figure_out(List({})), 0u);
}

// ---- Chosen channels ----

TEST_F(BufferInfo, ChannelsNumberThroughAllBuffersFromOne) {
  const List list({2, 1, 4});
  EXPECT_EQ(figure_out(list, 1, 7), 8u);
  expect(0, 0, 2, 2, 3, 4);
  EXPECT_EQ(figure_out(list, 3, 2), 8u);
  expect(1, 0, 1, 0, 1, 2);
}

TEST_F(BufferInfo, OneChannelAloneServesBothSides) {
  EXPECT_EQ(figure_out(List({4}), 3, 0), 8u);
  expect(0, 2, 4, 0, 2, 4);
  EXPECT_EQ(figure_out(List({4}), 0, 2), 8u);
  expect(0, 1, 4, 0, 1, 4);
}

TEST_F(BufferInfo, AChannelThatIsNotThereLeavesItsSideToTheOther) {
  EXPECT_EQ(figure_out(List({4}), 5, 2), 8u);
  expect(0, 1, 4, 0, 1, 4);
  EXPECT_EQ(figure_out(List({4}), 2, UINT32_MAX), 8u);
  expect(0, 1, 4, 0, 1, 4);
  EXPECT_EQ(figure_out(List({4}), 5, 6), 0u);
  EXPECT_EQ(figure_out(List({}), 1, 2), 0u);
  EXPECT_EQ(figure_out(List({0}), 1, 2), 0u);
}

TEST_F(BufferInfo, AChannelWithoutDataOrFramesIsNotThere) {
  List list({1, 1, 1});
  list.buffers[0].data = nullptr;
  list.buffers[1].bytes = 3;
  EXPECT_EQ(figure_out(list, 1, 3), 8u);
  expect(2, 0, 1, 2, 0, 1);
  EXPECT_EQ(figure_out(list, 3, 2), 8u);
  expect(2, 0, 1, 2, 0, 1);
  EXPECT_EQ(figure_out(list, 1, 2), 0u);
}

TEST_F(BufferInfo, TheSideWithFewerFramesDecides) {
  List list({1, 1});
  list.buffers[0].bytes = 6 * 4;
  EXPECT_EQ(figure_out(list, 1, 2), 6u);
  EXPECT_EQ(figure_out(list, 2, 1), 6u);
}

// ---- The cache ----

class BufferInfoCache : public BufferInfo {
protected:
  std::uint32_t check(const List &list, std::uint32_t left = 0, std::uint32_t right = 0) {
    return check_buffer_info_cache(left, right, &list.list, found, cache);
  }

  buffer_info_cache cache;
};

TEST_F(BufferInfoCache, GivesWhatItKeepsWhileTheListIsTheSame) {
  const List list({2});
  EXPECT_EQ(check(list), 8u);
  EXPECT_EQ(cache.valid, 1u);
  cache.frames = 5;  // so that it shows
  EXPECT_EQ(check(list), 5u);
  expect(0, 0, 2, 0, 1, 2);
  EXPECT_EQ(cache.valid, 1u);
}

TEST_F(BufferInfoCache, SeesEachChange) {
  List list({2, 2});
  check(list);
  cache.frames = 5;
  list.buffers[0].data = memory[9];
  EXPECT_EQ(check(list), 8u);
  cache.frames = 5;
  list.buffers[1].bytes = 4 * 8;
  EXPECT_EQ(check(list), 8u);
  cache.frames = 5;
  list.list.count = 1;
  EXPECT_EQ(check(list), 8u);
  cache.frames = 5;
  EXPECT_EQ(check(list, 1, 0), 8u);
  cache.frames = 5;
  EXPECT_EQ(check(list, 1, 2), 8u);
}

TEST_F(BufferInfoCache, IsNotUsedOnceItsFlagIsCleared) {
  const List list({2});
  check(list);
  cache.frames = 5;
  cache.valid = 0;
  EXPECT_EQ(check(list), 8u);
}

TEST_F(BufferInfoCache, ForgetsAtANullList) {
  check(List({2}));
  EXPECT_EQ(check_buffer_info_cache(0, 0, nullptr, found, cache), 0u);
  EXPECT_EQ(cache.valid, 0u);
}

TEST_F(BufferInfoCache, KeepsListsOfUpTo31Buffers) {
  List list({});
  for (; list.list.count < 31; ++list.list.count) list.buffers[list.list.count] = {1, 32, memory[list.list.count]};
  EXPECT_EQ(check(list), 8u);
  EXPECT_EQ(cache.valid, 1u);
}

TEST_F(BufferInfoCache, NeverKeepsMoreThan31Buffers) {
  List list({});
  for (; list.list.count < 32; ++list.list.count) list.buffers[list.list.count] = {1, 32, memory[list.list.count]};
  EXPECT_EQ(check(list), 8u);
  EXPECT_EQ(cache.valid, 0u);
  EXPECT_EQ(check(list), 8u);
  EXPECT_EQ(cache.valid, 0u);
  check(List({2}));
  EXPECT_EQ(check(list), 8u);
  EXPECT_EQ(cache.valid, 0u) << "a long list leaves the flag of the last one clear";
}

TEST_F(BufferInfoCache, IsFitForTheRealTimeThread) {
  const List list({2});
  const testing::RealtimeGuard guard;
  check(list);
  check(list);
}

}  // namespace
}  // namespace auspool
