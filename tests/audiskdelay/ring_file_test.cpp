#include "audiskdelay/ring_file.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>

#include "audiskdelay/failing_disk.h"
#include "support/watch.h"

namespace auspool::audiskdelay {
namespace {

using auspool::testing::Disk;
using auspool::testing::FileOnDisk;
using Frames = std::vector<std::uint32_t>;

class DiskRing : public ::testing::Test {
protected:
  void make(std::uint64_t frames) {
    ASSERT_TRUE(ring.create(4 * frames, 4));
    ring.replace_file(std::make_unique<FileOnDisk>(disk));
  }

  // So many frames more, numbered from 1 on.
  RingFile::Appended append(std::size_t count) {
    Frames block(count);
    for (std::uint32_t &frame : block) frame = ++last;
    return ring.append(block.data(), 4 * count);
  }

  Frames read(std::size_t most) {
    Frames block(most);
    block.resize(ring.read(block.data(), 4 * most) / 4);
    return block;
  }

  static Frames from_to(std::uint32_t first, std::uint32_t end) {
    Frames frames;
    for (; first <= end; ++first) frames.push_back(first);
    return frames;
  }

  Disk disk;
  RingFile ring;
  std::uint32_t last = 0;
};

TEST_F(DiskRing, GrowsUntilItHasItsSize) {
  make(10);
  EXPECT_FALSE(ring.full());
  append(4);
  EXPECT_EQ(ring.file_size(), 16u);
  EXPECT_EQ(ring.write_offset(), 16u);
  append(6);
  EXPECT_TRUE(ring.full());
  EXPECT_EQ(ring.write_offset(), 0u);
  append(3);
  EXPECT_EQ(ring.file_size(), 40u);
  EXPECT_EQ(ring.write_offset(), 12u);
  EXPECT_EQ(disk.bytes.size(), 40u);
  EXPECT_EQ(ring.total(), 52u);
}

TEST_F(DiskRing, HoldsWholeFramesAlone) {
  RingFile odd;
  ASSERT_TRUE(odd.create(43, 8));
  EXPECT_EQ(odd.ring_size(), 40u);
}

TEST_F(DiskRing, ReadsWhatWasWritten) {
  make(10);
  append(8);
  EXPECT_EQ(read(5), from_to(1, 5));
  EXPECT_EQ(read(5), from_to(6, 8));
  EXPECT_EQ(read(5), Frames());
  append(5);
  EXPECT_EQ(read(5), from_to(9, 10)) << "to the end of the ring";
  EXPECT_EQ(read(5), from_to(11, 13));
}

TEST_F(DiskRing, AWriteThatOvertakesPushesTheReadPositionAlong) {
  make(10);
  EXPECT_FALSE(append(10).overtaken) << "a whole ring is held";
  EXPECT_EQ(ring.behind(), 40u);
  EXPECT_EQ(ring.read_offset(), ring.write_offset());
  EXPECT_TRUE(append(3).overtaken);
  EXPECT_EQ(ring.behind(), 40u);
  EXPECT_EQ(ring.read_offset(), ring.write_offset());
  EXPECT_EQ(read(7), from_to(4, 10));
  EXPECT_EQ(read(7), from_to(11, 13));
}

TEST_F(DiskRing, ABlockLargerThanTheRingLeavesItsEnd) {
  make(10);
  EXPECT_TRUE(append(37).overtaken);
  EXPECT_EQ(ring.total(), 148u);
  Frames all = read(10);
  const Frames rest = read(10);
  all.insert(all.end(), rest.begin(), rest.end());
  EXPECT_EQ(all, from_to(28, 37));
}

TEST_F(DiskRing, GoesBackAsFarAsItHasAudio) {
  make(10);
  append(6);
  read(6);
  EXPECT_EQ(ring.go_back(15), 12u) << "whole frames";
  EXPECT_EQ(read(9), from_to(4, 6));
  EXPECT_EQ(ring.go_back(400), 24u);
  EXPECT_EQ(ring.read_offset(), 0u);
  append(8);
  EXPECT_EQ(ring.go_back(400), 40u) << "round the end of the ring, all of it";
  EXPECT_EQ(read(9), from_to(5, 10));
  EXPECT_EQ(ring.go_back(0), 0u);
  EXPECT_EQ(read(9), Frames());
}

TEST_F(DiskRing, ADiskThatGivesNoMoreMakesTheRingSmaller) {
  for (const int error : {ENOSPC, EFBIG, EDQUOT}) {
    disk = {};
    ring = {};
    last = 0;
    disk.room = 26;  // six frames and a half
    disk.error_when_full = error;
    make(10);
    EXPECT_FALSE(append(5).ended);
    const RingFile::Appended appended = append(4);
    EXPECT_TRUE(appended.ended) << error;
    EXPECT_EQ(appended.dropped, 0u);
    EXPECT_TRUE(ring.full());
    EXPECT_EQ(ring.ring_size(), 24u);
    EXPECT_EQ(ring.write_offset(), 12u);
    Frames all = read(10);
    const Frames rest = read(10);
    all.insert(all.end(), rest.begin(), rest.end());
    EXPECT_EQ(all, from_to(4, 9)) << "no frame of the block is missing";
  }
}

TEST_F(DiskRing, ADiskWithoutRoomForAFrameIsTriedAgain) {
  disk.room = 3;
  make(10);
  EXPECT_EQ(append(2).dropped, 8u);
  EXPECT_EQ(ring.ring_size(), 40u);
  EXPECT_EQ(ring.total(), 0u);
  disk.room = UINT64_MAX;
  EXPECT_EQ(append(2).dropped, 0u);
  EXPECT_EQ(read(5), from_to(3, 4));
}

TEST_F(DiskRing, AnyOtherErrorDropsTheBlock) {
  make(10);
  append(3);
  disk.write_error = EIO;
  const RingFile::Appended appended = append(4);
  EXPECT_EQ(appended.dropped, 16u);
  EXPECT_FALSE(appended.ended);
  disk.write_error = 0;
  append(2);
  EXPECT_EQ(read(10), (Frames{1, 2, 3, 8, 9}));
  append(10);
  disk.write_error = ENOSPC;
  EXPECT_EQ(append(1).dropped, 4u) << "a full disk harms a whole ring no more than another error";
  EXPECT_EQ(ring.ring_size(), 40u);
}

TEST_F(DiskRing, ShortWritesAndReadsAreGoneOnWith) {
  disk.most_at_once = 6;
  make(10);
  append(7);
  EXPECT_EQ(read(5), from_to(1, 1)) << "a frame and a half came";
  EXPECT_EQ(read(5), from_to(2, 2));
  disk.most_at_once = 3;
  EXPECT_EQ(append(1).dropped, 0u);
  disk.most_at_once = SIZE_MAX;
  EXPECT_EQ(read(9), from_to(3, 8));
}

TEST_F(DiskRing, AReadThatFailsLeavesThePositionWhereItWas) {
  make(10);
  append(5);
  disk.read_error = EIO;
  EXPECT_EQ(read(5), Frames());
  EXPECT_EQ(ring.behind(), 20u);
  disk.read_error = 0;
  EXPECT_EQ(read(5), from_to(1, 5));
}

TEST_F(DiskRing, HoldsWhatAQueueWouldWhateverIsDone) {
  std::mt19937 random(1);
  for (int round = 0; round < 50; ++round) {
    disk = {};
    ring = {};
    last = 0;
    make(1 + random() % 40);
    std::uint64_t capacity = ring.ring_size() / 4;
    if (round % 3 == 0) disk.room = random() % 100;
    std::deque<std::uint32_t> held;  // all that is in the file
    std::size_t behind = 0;
    for (int step = 0; step < 2000; ++step) {
      disk.most_at_once = random() % 4 ? SIZE_MAX : 1 + random() % 9;
      disk.write_error = random() % 20 ? 0 : EIO;
      switch (random() % 3) {
      case 0: {
        const std::size_t count = random() % 60;
        const std::uint32_t first = last + 1;
        const RingFile::Appended appended = append(count);
        if (appended.ended) capacity = ring.ring_size() / 4;
        for (std::uint32_t i = first; i + appended.dropped / 4 <= last; ++i) {
          held.push_back(i);
          ++behind;
        }
        while (held.size() > capacity) held.pop_front();
        behind = std::min(behind, held.size());
        break;
      }
      case 1: {
        for (const std::uint32_t frame : read(random() % 50)) {
          ASSERT_GT(behind, 0u);
          ASSERT_EQ(frame, held[held.size() - behind--]);
        }
        break;
      }
      default: {
        const std::size_t wanted = random() % 60;
        behind = std::min(wanted, held.size());
        ASSERT_EQ(ring.go_back(4 * wanted + random() % 4), 4 * behind);
      }
      }
      ASSERT_EQ(ring.behind(), 4 * behind);
      ASSERT_EQ(ring.file_size(), 4 * held.size());
    }
  }
}

TEST(DiskRingOnDisk, KeepsAudioInAFile) {
  RingFile ring;
  ASSERT_TRUE(ring.create(1 << 20, 8));
  std::vector<std::uint64_t> block(50000), back(50000);
  for (std::size_t i = 0; i < block.size(); ++i) block[i] = i * 0x9E3779B97F4A7C15;
  EXPECT_EQ(ring.append(block.data(), 8 * block.size()).dropped, 0u);
  EXPECT_EQ(ring.read(back.data(), 8 * back.size()), 8 * back.size());
  EXPECT_EQ(back, block);
}

}  // namespace
}  // namespace auspool::audiskdelay
