// The tree: finding, inserting, splitting and deleting.
#include "audiskdelay/BTAudioBuffer/tree.h"

#include <gtest/gtest.h>

#include <random>

#include "audiskdelay/BTAudioBuffer/node.h"
#include "audiskdelay/BTAudioBuffer/nodes.h"
#include "audiskdelay/BTAudioBuffer/store.h"

using namespace auspool::testing;

namespace {

// A store whose tree is changed directly.
struct Tree : Store {
  static BTAudioKey key(std::uint64_t time) { return {kBTAudioAudioRecord, time}; }

  bool insert(std::uint64_t time, BTAudioRecordType type = kBTAudioAudioRecord) const {
    const BTAudioRecord record = {{type, time}, time, 1, {block_bid(9), block_bid(9) + 1}};
    return BTAudioBufferInsertRecord(get(), &record.key, &record, type == kBTAudioSilenceRecord ? 20 : 28);
  }
  bool remove(std::uint64_t time) const {
    const BTAudioKey it = key(time);
    return BTAudioBufferDeleteRecord(get(), &it);
  }
  // The time of the record found, or -1.
  std::int64_t find(std::uint64_t time, bool exact) const { return find(key(time), exact); }
  std::int64_t find(BTAudioKey it, bool exact) const {
    std::uint32_t index = 0;
    const BTAudioNodeOwner node = BTAudioBufferFindRecord(get(), &it, exact, &index);
    return node ? static_cast<std::int64_t>(key_at(node.get(), index)->value()) : -1;
  }
  BTAudioNodeOwner node(BTAudioBID bid) const { return BTAudioBufferGetNode(get(), bid); }
  BTAudioNodeDescriptor root() const { return *BTAudioNodeGetDescriptor(node(get()->root).get()); }
  std::uint32_t records(BTAudioBID bid) const { return record_count(node(bid).get()); }
  // But for the records' times, which the store knows nothing of.
  void look_through() const {
    std::string problems = StoreChecker::problems_of_tree(get());
    EXPECT_EQ(problems, "");
  }
};

TEST(BTAudioTree, IsEmptyAtFirst) {
  const Tree tree;
  EXPECT_EQ(tree.find(0, true), -1);
  EXPECT_EQ(tree.find(1000, false), -1);
  EXPECT_FALSE(tree.remove(0));
}

TEST(BTAudioTree, FindsTheRecordOrTheOneBefore) {
  const Tree tree;
  for (std::uint64_t time = 10; time <= 2000; time += 10) tree.insert(time);
  tree.look_through();
  for (std::uint64_t time = 10; time <= 2000; time += 10) {
    EXPECT_EQ(tree.find(time, true), std::int64_t(time));
    EXPECT_EQ(tree.find(time, false), std::int64_t(time));
    EXPECT_EQ(tree.find(time + 5, true), -1);
    EXPECT_EQ(tree.find(time + 5, false), std::int64_t(time)) << "also past the last record of a leaf";
  }
  EXPECT_EQ(tree.find(9, false), -1);
}

TEST(BTAudioTree, FindsSilenceByTheKeyOfAudio) {
  const Tree tree;
  tree.insert(10);
  tree.insert(20, kBTAudioSilenceRecord);
  EXPECT_EQ(tree.find(20, true), 20);
  EXPECT_EQ(tree.find(25, false), 20);
}

TEST(BTAudioTree, NeverTakesAFreeBlocksRecordForAudio) {
  const Tree tree;
  for (std::uint64_t id = 1; id < 100; ++id) tree.insert(id, kBTAudioFreeRecord);
  EXPECT_EQ(tree.find(0, false), -1);
  EXPECT_EQ(tree.find(1000, false), -1) << "with nothing but those";
  tree.insert(500);
  EXPECT_EQ(tree.find(499, false), -1);
  EXPECT_EQ(tree.find(501, false), 500);
  EXPECT_EQ(tree.find({kBTAudioFreeRecord, 50}, true), 50);
  EXPECT_EQ(tree.find({kBTAudioFreeRecord, 1000}, false), 99);
}

TEST(BTAudioTree, ARecordWithTheSameTimeStays) {
  const Tree tree;
  EXPECT_TRUE(tree.insert(10));
  EXPECT_TRUE(tree.insert(10, kBTAudioSilenceRecord));
  EXPECT_EQ(tree.records(tree->root), 1u);
  EXPECT_EQ(key_at(tree.node(tree->root).get(), 0)->type(), kBTAudioAudioRecord);
}

TEST(BTAudioTree, AFullLeafIsSplitEvenForARecordThatIsThere) {
  const Tree tree;
  for (std::uint64_t time = 0; time < 33; ++time) tree.insert(time);
  EXPECT_EQ(tree.root().level, 1);
  EXPECT_TRUE(tree.insert(5));
  EXPECT_EQ(tree.root().level, 2);
  tree.look_through();
}

TEST(BTAudioTree, TheRootsFirstSplitMakesALevelOfTwo) {
  const Tree tree;
  for (std::uint64_t time = 0; time < 33; ++time) tree.insert(time);
  const BTAudioBID leaf = tree->root;
  EXPECT_EQ(tree->firstLeaf, leaf);
  EXPECT_EQ(tree->lastLeaf, leaf);
  tree.insert(33);
  EXPECT_EQ(tree.root().type, kBTAudioIndexNode);
  EXPECT_EQ(tree.root().level, 2);
  EXPECT_EQ(tree.root().records, 2);
  EXPECT_EQ(tree->firstLeaf, leaf);
  EXPECT_EQ(tree.records(leaf), 29u) << "of 33 records";
  EXPECT_EQ(tree.records(tree->lastLeaf), 5u);
  tree.look_through();
}

TEST(BTAudioTree, SplitsKeepSevenEighths) {
  const Tree tree;
  std::uint64_t time = 0;
  while (tree->root == 0 || tree.root().level < 3) tree.insert(time++);
  const BTAudioBID first = record_at<BTAudioChild>(tree.node(tree->root).get(), 0)->bid;
  EXPECT_EQ(tree.records(first), 63u) << "of 71 children";
  EXPECT_EQ(tree.records(tree->firstLeaf), 29u);
  tree.look_through();
}

TEST(BTAudioTree, ASplitInTheMiddleKeepsTheRightNeighboursLink) {
  const Tree tree;
  for (std::uint64_t time = 0; time < 1000; time += 10) tree.insert(time);
  for (std::uint64_t time = 101; time < 140; ++time) tree.insert(time);
  tree.look_through();
}

TEST(BTAudioTree, DeletingTheLastRecordLeavesNoTree) {
  const Tree tree;
  const std::uint32_t nodes = tree->freeNodeCount;
  tree.insert(1);
  EXPECT_EQ(tree->freeNodeCount, nodes - 1);
  EXPECT_TRUE(tree.remove(1));
  EXPECT_EQ(tree->root, 0u);
  EXPECT_EQ(tree->firstLeaf, 0u);
  EXPECT_EQ(tree->lastLeaf, 0u);
  EXPECT_EQ(tree->freeNodeCount, nodes);
  EXPECT_EQ(tree->firstFreeNode, 1u);
  EXPECT_TRUE(tree.insert(2));
}

TEST(BTAudioTree, EmptyNodesAreUnlinkedAndFreed) {
  const Tree tree;
  const std::uint32_t nodes = tree->freeNodeCount;
  for (std::uint64_t time = 0; time < 3000; ++time) tree.insert(time);
  EXPECT_EQ(tree.root().level, 3);
  for (std::uint64_t time = 0; time < 3000; ++time) {
    ASSERT_TRUE(tree.remove(time));
    EXPECT_FALSE(tree.remove(time));
    if (time % 100 == 0) tree.look_through();
  }
  EXPECT_EQ(tree->root, 0u);
  EXPECT_EQ(tree->freeNodeCount, nodes);
}

TEST(BTAudioTree, DeletingFromTheRightMovesTheLastLeaf) {
  const Tree tree;
  for (std::uint64_t time = 0; time < 100; ++time) tree.insert(time);
  for (std::uint64_t time = 100; time-- > 20;) {
    ASSERT_TRUE(tree.remove(time));
    tree.look_through();
  }
}

TEST(BTAudioTree, ARootWithOneChildGivesWayToItOneLevelADeletion) {
  const Tree tree;
  std::uint64_t time = 0;
  for (; time < 3000; ++time) tree.insert(time);
  ASSERT_EQ(tree.root().level, 3);
  std::uint64_t first = 0;
  while (tree.root().level == 3) ASSERT_TRUE(tree.remove(first++));
  EXPECT_EQ(tree.root().level, 2) << "however few children it has";
  tree.look_through();
  // A root with one child from the start goes at the next deletion, of whatever record.
  while (record_count(tree.node(tree->root).get()) > 2) ASSERT_TRUE(tree.remove(first++));
  const BTAudioNodeOwner root = tree.node(tree->root);
  EXPECT_EQ(tree.root().level, 2);
  while (tree.root().level == 2) ASSERT_TRUE(tree.remove(first++));
  EXPECT_EQ(tree.root().level, 1);
  EXPECT_GT(tree.root().records, 1);
  tree.look_through();
}

TEST(BTAudioTree, HoldsWhatASortedListHolds) {
  const Tree tree;
  std::set<std::uint64_t> model;
  std::mt19937 random(3);
  for (int i = 0; i < 6000; ++i) {
    const std::uint64_t time = random() % 4000;
    if (random() % 5 < (i < 3000 ? 3u : 1u)) {
      EXPECT_TRUE(tree.insert(time));
      model.insert(time);
    } else {
      EXPECT_EQ(tree.remove(time), model.erase(time) == 1);
    }
    const std::uint64_t at = random() % 4000;
    const auto above = model.upper_bound(at);
    EXPECT_EQ(tree.find(at, false), above == model.begin() ? -1 : std::int64_t(*std::prev(above)));
    if (i % 50 == 0) tree.look_through();
  }
}

TEST(BTAudioTree, AParentsKeyFollowsItsChildsFirstRecord) {
  const Tree tree;
  for (std::uint64_t time = 10; time < 100; ++time) tree.insert(time);
  const auto root_key = [&] { return key_at(tree.node(tree->root).get(), 0)->value(); };
  EXPECT_EQ(root_key(), 10u);
  tree.remove(10);
  EXPECT_EQ(root_key(), 11u);
  tree.insert(3);
  EXPECT_EQ(root_key(), 3u);
}

TEST(BTAudioTree, AFailedDeletionChangesNothing) {
  Tree tree;
  for (std::uint64_t time = 0; time < 60; ++time) tree.insert(time);
  const BTAudioKey missing = Tree::key(100);
  EXPECT_FALSE(BTAudioBufferDeleteRecord(tree.get(), &missing));
  tree.look_through();
}

TEST(BTAudioTreeDeath, OnDamage) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const Tree tree;
  for (std::uint64_t time = 0; time < 100; time += 2) tree.insert(time);
  const BTAudioNodeOwner last = tree.node(tree->lastLeaf), first = tree.node(tree->firstLeaf);
  const std::uint64_t start = key_at(last.get(), 0)->value();
  EXPECT_DEATH(
      {
        // The leaf before the last is empty, and what is searched for lies before the last one's first.
        key_at(last.get(), 0)->word += 1;
        BTAudioNodeGetDescriptor(tree.node(BTAudioNodeGetDescriptor(last.get())->prev).get())->records = 0;
        tree.find(start, false);
      },
      "Assertion failed: recordCount > 0  ");
  EXPECT_DEATH(
      {
        BTAudioNodeGetDescriptor(first.get())->type = static_cast<BTAudioNodeType>(7);
        tree.find(0, true);
      },
      "Assertion failed: \\(BTAudioNodeGetDescriptor\\(node\\)\\)->type == kBTAudioLeafNode  ");
}

}  // namespace
