// Nodes: packed records and the table of their offsets.
#include "audiskdelay/BTAudioBuffer/node.h"

#include <gtest/gtest.h>

#include "audiskdelay/BTAudioBuffer/store.h"

using namespace auspool::testing;

namespace {

BTAudioRecord audio_at(std::uint64_t time) {
  return {{kBTAudioAudioRecord, time}, 2 * time, 3, {1 << 14, (1 << 14) + 2}};
}
BTAudioChild child_at(std::uint64_t time) {
  return {{kBTAudioAudioRecord, time}, static_cast<BTAudioBID>(time)};
}

// An empty node.
struct Bytes {
  alignas(8) std::uint8_t bytes[kBTAudioNodeSize] = {};
  BTAudioCacheBlock block{};
  BTAudioNode node{&block, bytes, 0, 0};

  Bytes() { BTAudioNodeReset(&node); }
  std::uint16_t word(std::size_t at) const {
    std::uint16_t it = 0;
    std::memcpy(&it, bytes + at, 2);
    return it;
  }
  template <typename Record>
  void insert(std::uint32_t index, const Record &record, std::uint32_t size = sizeof(Record)) {
    BTAudioNodeInsertRecord(&node, index, &record, size);
  }
  std::vector<std::uint64_t> times() const {
    std::vector<std::uint64_t> all;
    for (std::uint32_t i = 0; i < record_count(&node); ++i) all.push_back(key_at(&node, i)->value());
    return all;
  }
};
using Times = std::vector<std::uint64_t>;

TEST(BTAudioNode, IsLaidOutAsItsTableSays) {
  Bytes of;
  BTAudioNodeDescriptor *const descriptor = BTAudioNodeGetDescriptor(&of.node);
  *descriptor = {{'n', 'o', 'd', 'e'}, 0x11223344, 0x55667788, kBTAudioLeafNode, 1, 0};
  of.insert(0, audio_at(0x0102030405));
  const std::string start(reinterpret_cast<const char *>(of.bytes), 16);
  EXPECT_EQ(start, std::string("node\x44\x33\x22\x11\x88\x77\x66\x55\x02\x01\x01\x00", 16));
  const std::string record(reinterpret_cast<const char *>(of.bytes) + 16, 28);
  EXPECT_EQ(record, std::string("\x05\x04\x03\x02\x01\0\0\x01"
                                "\x0A\x08\x06\x04\x02\0\0\0"
                                "\x03\0\0\0"
                                "\0\x40\0\0"
                                "\x02\x40\0\0",
                                28));
  EXPECT_EQ(of.word(1022), 16);
  EXPECT_EQ(of.word(1020), 44) << "where free space begins";
}

TEST(BTAudioNode, PacksRecordsOfAllSizesInOrder) {
  Bytes of;
  of.insert(0, audio_at(30));
  of.insert(0, audio_at(10), kBTAudioSilenceRecordSize);
  of.insert(1, child_at(20));
  of.insert(3, audio_at(40));
  EXPECT_EQ(of.times(), (Times{10, 20, 30, 40}));
  EXPECT_EQ(BTAudioNodeGetRecordSize(&of.node, 0), 20u);
  EXPECT_EQ(BTAudioNodeGetRecordSize(&of.node, 1), 12u);
  EXPECT_EQ(BTAudioNodeGetRecordSize(&of.node, 2), 28u);
  EXPECT_EQ(of.word(1022 - 8), 16 + 20 + 12 + 28 + 28);
  EXPECT_EQ(of.block.dirty, 1);
}

TEST(BTAudioNode, ClosesTheGapOfADeletedRecord) {
  Bytes of;
  for (std::uint64_t i = 0; i < 5; ++i) of.insert(std::uint32_t(i), audio_at(i), i % 2 ? 28 : 20);
  of.block.dirty = 0;
  BTAudioNodeDeleteRecord(&of.node, 1);
  BTAudioNodeDeleteRecord(&of.node, 3);
  BTAudioNodeDeleteRecord(&of.node, 0);
  EXPECT_EQ(of.times(), (Times{2, 3}));
  EXPECT_EQ(BTAudioNodeGetRecordSize(&of.node, 0), 20u);
  EXPECT_EQ(BTAudioNodeGetRecordSize(&of.node, 1), 28u);
  EXPECT_EQ(of.word(1022), 16);
  EXPECT_EQ(of.word(1022 - 4), 16 + 48);
  EXPECT_EQ(of.block.dirty, 1);
}

TEST(BTAudioNode, IsFullWithThirtyThreeAudioRecordsOrSeventyOneChildren) {
  Bytes leaf, index;
  while (BTAudioNodeHasRoom(&leaf.node, 28)) leaf.insert(0, audio_at(1));
  while (BTAudioNodeHasRoom(&index.node, 12)) index.insert(0, child_at(1));
  EXPECT_EQ(record_count(&leaf.node), 33u);
  EXPECT_EQ(record_count(&index.node), 71u);
}

TEST(BTAudioNode, ReplacesARecordInItsPlace) {
  Bytes of;
  of.insert(0, audio_at(1));
  of.insert(1, audio_at(2));
  BTAudioRecord longer = audio_at(1);
  longer.frames = 77;
  of.block.dirty = 0;
  BTAudioNodeSetRecord(&of.node, 0, &longer, sizeof longer);
  EXPECT_EQ(record_at<BTAudioRecord>(&of.node, 0)->frames, 77u);
  EXPECT_EQ(record_at<BTAudioRecord>(&of.node, 1)->frames, 3u);
  EXPECT_EQ(of.block.dirty, 1);
}

TEST(BTAudioNode, LeadsToTheLastChildThatIsNotAboveTheKey) {
  Bytes of;
  of.insert(0, child_at(10));
  of.insert(1, child_at(20));
  of.insert(2, child_at(30));
  const auto child_for = [&](std::uint64_t time) { return choose_child(&of.node, {kBTAudioAudioRecord, time}); };
  EXPECT_EQ(child_for(5), 0u) << "below all";
  EXPECT_EQ(child_for(10), 0u);
  EXPECT_EQ(child_for(19), 0u);
  EXPECT_EQ(child_for(20), 1u);
  EXPECT_EQ(child_for(1000), 2u);
}

TEST(BTAudioKeys, OfAllRecordsWithATimeShareOneOrder) {
  const auto compare = [](BTAudioKey a, BTAudioKey b) { return BTAudioCompareKeys(&a, &b); };
  const BTAudioKey audio(kBTAudioAudioRecord, 5), reserved(kBTAudioReservedRecord, 5),
      silence(kBTAudioSilenceRecord, 5);
  EXPECT_EQ(compare(audio, silence), 0);
  EXPECT_EQ(compare(audio, reserved), 0);
  EXPECT_LT(compare(silence, {kBTAudioAudioRecord, 6}), 0);
  EXPECT_GT(compare(audio, {kBTAudioSilenceRecord, 4}), 0);
  EXPECT_LT(compare({kBTAudioFreeRecord, BTAudioKey::kValueMask}, {kBTAudioAudioRecord, 0}), 0);
}

TEST(BTAudioNodeDeath, OnAMistakeOfTheStore) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  Bytes of;
  of.insert(0, audio_at(1));
  const BTAudioRecord same = audio_at(1), other = audio_at(2);
  EXPECT_DEATH(BTAudioNodeGetRecord(&of.node, 1),
               "Assertion failed: index < \\(BTAudioNodeGetDescriptor\\(node\\)\\)->records  "
               "src/audiskdelay/BTAudioBuffer:[0-9]+\n");
  EXPECT_DEATH(BTAudioNodeInsertRecord(&of.node, 2, &same, 28), "Assertion failed: index <= recordCount  ");
  EXPECT_DEATH(BTAudioNodeSetRecord(&of.node, 0, &same, 20),
               "Assertion failed: size == BTAudioNodeGetRecordSize\\(node,index\\)  ");
  EXPECT_DEATH(BTAudioNodeSetRecord(&of.node, 0, &other, 28),
               "Assertion failed: BTAudioCompareKeys\\(\\(BTAudioKey\\*\\)data,"
               "\\(BTAudioKey\\*\\)oldRecordData\\) == 0  ");
  EXPECT_DEATH(BTAudioNodeGetDescriptor(nullptr), "Assertion failed: node != NULL  ");
}

}  // namespace
