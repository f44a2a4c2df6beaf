#include "tags/id3/frames.h"

#include <gtest/gtest.h>

#include <vector>

#include "base/four_cc.h"
#include "support/id3.h"
#include "tags/id3/frame_ids.h"

namespace auspool::tags {
namespace {

using namespace auspool::testing;

std::vector<std::uint32_t> sizes(const std::string &frames, int major) {
  FrameWalk walk({reinterpret_cast<const std::uint8_t *>(frames.data()), frames.size()}, major);
  std::vector<std::uint32_t> found;
  while (const auto frame = walk.next()) found.push_back(static_cast<std::uint32_t>(frame->data.size()));
  return found;
}

using Sizes = std::vector<std::uint32_t>;

TEST(FrameWalk, FindsTheFramesOfEveryVersion) {
  for (const int major : {2, 3, 4}) {
    const std::string id = major == 2 ? "TT2" : "TIT2";
    const std::string frames = id3_frame(major, id, std::string(300, 'x')) + id3_frame(major, id, "y");
    EXPECT_EQ(sizes(frames, major), (Sizes{300, 1})) << major;
  }
}

TEST(FrameWalk, TakesSizesAsSyncsafeFromVersion4On) {
  const std::string frame = id3_frame(4, "TIT2", std::string(200, 'x'));
  EXPECT_EQ(sizes(frame, 4), Sizes{200});
  EXPECT_EQ(sizes(frame, 5), Sizes{200});
  EXPECT_EQ(sizes(frame, 3), Sizes{}) << "a plain size of 328 runs past the end";
}

TEST(FrameWalk, EndsAtPadding) {
  EXPECT_EQ(sizes(id3_frame(3, "TIT2", "ab") + std::string(40, '\0') + id3_frame(3, "TALB", "cd"), 3), Sizes{2});
}

TEST(FrameWalk, EndsAtAFrameThatSaysItIsEmpty) {
  EXPECT_EQ(sizes(id3_frame(3, "TIT2", "") + id3_frame(3, "TALB", "cd"), 3), Sizes{});
}

TEST(FrameWalk, EndsAtAFrameThatRunsPastTheTag) {
  EXPECT_EQ(sizes(id3_frame(3, "TALB", "ab") + id3_frame(3, "TIT2", "cd", 3), 3), Sizes{2});
  EXPECT_EQ(sizes(id3_frame(3, "TIT2", "cd", 0x80000000), 3), Sizes{}) << "negative in 32 bits";
  EXPECT_EQ(sizes(id3_frame(3, "TIT2", "cd", 0xFFFFFFFF), 3), Sizes{});
}

TEST(FrameWalk, EndsWhereNoHeaderFits) {
  EXPECT_EQ(sizes(id3_frame(3, "TIT2", "cd") + std::string(9, 'T'), 3), Sizes{2});
  EXPECT_EQ(sizes("", 3), Sizes{});
}

TEST(FrameIds, OfVersion2AreRightAligned) {
  EXPECT_EQ(tpic.of_version(2), 0x00504943u);
  EXPECT_EQ(tpic.of_version(3), four_cc("APIC"));
  EXPECT_EQ(frh_size(2), 6u);
  EXPECT_EQ(frh_size(3), 10u);
}

}  // namespace
}  // namespace auspool::tags
