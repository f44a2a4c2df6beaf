// Looks through a whole store without changing it: cache, tree, records, lists and the blocks of the file.
#pragma once

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "audiskdelay/BTAudioBuffer/context.h"

namespace auspool::testing {

using namespace auspool::audiskdelay;

class StoreChecker {
public:
  // What is wrong, in words; empty if all is well.
  static std::string problems_of(const BTAudioBuffer *buffer) {
    StoreChecker checker(buffer);
    checker.check_cache();
    checker.check_tree();
    checker.check_records();
    checker.check_free_blocks();
    checker.check_free_nodes();
    checker.check_file_blocks();
    return checker.problems_.str();
  }

  // Of a tree whose records are not the store's.
  static std::string problems_of_tree(const BTAudioBuffer *buffer) {
    StoreChecker checker(buffer);
    checker.check_tree();
    checker.check_free_nodes();
    checker.check_node_blocks();
    return checker.problems_.str();
  }

  explicit StoreChecker(const BTAudioBuffer *buffer) : buffer_(*buffer) {}

private:
  struct Node {
    BTAudioBID bid = 0;
    BTAudioNodeDescriptor descriptor{};
    std::vector<std::uint32_t> offsets;
    const std::uint8_t *bytes = nullptr;

    template <typename Record>
    Record record(std::uint32_t i) const {
      Record it{};
      std::memcpy(&it, bytes + offsets[i], std::min<std::size_t>(sizeof it, size(i)));
      return it;
    }
    BTAudioKey key(std::uint32_t i) const { return record<BTAudioKey>(i); }
    std::uint32_t size(std::uint32_t i) const { return offsets[i + 1] - offsets[i]; }
  };

  template <typename... Words>
  void expect(bool holds, const Words &...words) {
    if (holds) return;
    (problems_ << ... << words) << "\n";
  }

  const std::uint8_t *block_at(std::uint32_t index) {
    if (const BTAudioCacheBlock *const cached = buffer_.cacheBlocks.find(block_bid(index))) return cached->data;
    auto &bytes = from_file_[index];
    if (bytes.empty()) {
      bytes.resize(kBTAudioBlockSize);
      const auto count = buffer_.file->read(file_offset_of(block_bid(index)), bytes.data(), bytes.size());
      expect(count == kBTAudioBlockSize, "block ", index, " is neither in the cache nor in the file");
    }
    return bytes.data();
  }

  Node node_at(BTAudioBID bid) {
    Node node;
    node.bid = bid;
    node.bytes = block_at(block_index_of(bid)) + node_place_of(bid) * kBTAudioNodeSize;
    std::memcpy(&node.descriptor, node.bytes, sizeof node.descriptor);
    expect(std::memcmp(node.descriptor.signature, "node", 4) == 0, "node ", bid, " has no signature");
    if (node.descriptor.records > 71) {
      expect(false, "node ", bid, " claims ", node.descriptor.records, " records");
      node.descriptor.records = 0;
    }
    for (std::uint32_t i = 0; i <= node.descriptor.records; ++i) {
      std::uint16_t offset = 0;
      std::memcpy(&offset, node.bytes + kBTAudioNodeSize - 2 - 2 * i, 2);
      node.offsets.push_back(offset);
      expect(i == 0 ? offset == 16 : offset > node.offsets[i - 1], "node ", bid, " has offset ", offset, " at ", i);
    }
    expect(node.offsets.back() <= kBTAudioNodeSize - 2 - 2 * node.descriptor.records, "node ", bid, " overflows");
    expect(nodes_.insert(bid).second, "node ", bid, " is used twice");
    return node;
  }

  void check_cache() {
    std::uint32_t blocks = 0, listed = 0;
    for (const BTAudioCacheBlock &block : buffer_.blocks) {
      if (!block.owner) continue;
      ++blocks;
      expect(block.refcnt == 0, "block ", block.bid, " has ", block.refcnt, " references");
      for (const BTAudioNode &node : block.nodes) expect(node.refcnt == 0, "node ", node.bid, " is in use");
      const bool cached = buffer_.cacheBlocks.find(block.bid) == &block;
      expect(cached != buffer_.freeCacheBlocks.contains(&block), "a cache block is in no state, or in two");
    }
    const BTAudioCacheBlock *prev = nullptr;
    for (const BTAudioCacheBlock *it = buffer_.lruHead; it; prev = it, it = it->next, ++listed) {
      expect(it->prev == prev, "the list's links differ");
      expect(buffer_.cacheBlocks.find(it->bid) == it, "the list holds a block that is not cached");
    }
    expect(buffer_.lruTail == prev, "the list's tail is not its last");
    expect(listed == buffer_.cacheBlocks.size(), "the list has ", listed, " blocks");
    expect(blocks == buffer_.cacheBlocks.size() + buffer_.freeCacheBlocks.size(), "a cache block is lost");
    expect(buffer_.consuming == 0, "the guard is still set");
    expect(buffer_.fileSize % kBTAudioBlockSize == 0, "the file is ", buffer_.fileSize, " bytes");
  }

  void check_tree() {
    expect((buffer_.root == 0) == (buffer_.firstLeaf == 0), "root and first leaf differ about there being a tree");
    expect((buffer_.root == 0) == (buffer_.lastLeaf == 0), "root and last leaf differ about there being a tree");
    if (buffer_.root == 0) return;
    Node root = node_at(buffer_.root);
    visit(root, root.descriptor.level, 0, UINT64_MAX);
    for (auto &[level, nodes] : levels_) check_links(level, nodes);
    expect(levels_[1].front().bid == buffer_.firstLeaf, "the first leaf is another");
    expect(levels_[1].back().bid == buffer_.lastLeaf, "the last leaf is another");
  }

  // All keys are at or above `low` and below `high`.
  void visit(const Node &node, unsigned level, std::uint64_t low, std::uint64_t high) {
    levels_[level].push_back(node);
    const bool leaf = node.descriptor.type == kBTAudioLeafNode;
    expect(leaf || node.descriptor.type == kBTAudioIndexNode, "node ", node.bid, " has no type");
    expect(node.descriptor.level == level && leaf == (level == 1), "node ", node.bid, " is on the wrong level");
    expect(node.descriptor.records > 0, "node ", node.bid, " is empty");
    for (std::uint32_t i = 0; i < node.descriptor.records; ++i) {
      const std::uint64_t key = node.key(i).order();
      // The first of an index node may be above what a search comes with.
      expect(key >= low && key < high, "node ", node.bid, " has key ", key, " at ", i, " out of order");
      const std::uint64_t next = i + 1 < node.descriptor.records ? node.key(i + 1).order() : high;
      expect(key < next, "node ", node.bid, " is not in order at ", i);
      if (leaf) {
        add_record(node, i);
      } else {
        expect(node.size(i) == sizeof(BTAudioChild), "a child's record has ", node.size(i), " bytes");
        visit(node_at(node.record<BTAudioChild>(i).bid), level - 1, key, next);
      }
    }
  }

  void check_links(unsigned level, const std::vector<Node> &nodes) {
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      const BTAudioBID prev = i > 0 ? nodes[i - 1].bid : 0, next = i + 1 < nodes.size() ? nodes[i + 1].bid : 0;
      expect(nodes[i].descriptor.prev == prev && nodes[i].descriptor.next == next, "node ", nodes[i].bid, " on level ",
             level, " is linked with others");
    }
  }

  void add_record(const Node &node, std::uint32_t i) {
    const BTAudioKey key = node.key(i);
    if (key.type() == kBTAudioFreeRecord) {
      expect(node.size(i) == sizeof(BTAudioFreeBlock), "a free block's record has ", node.size(i), " bytes");
      free_records_.push_back(node.record<BTAudioFreeBlock>(i));
      return;
    }
    const bool audio = key.type() == kBTAudioAudioRecord;
    expect(audio || key.type() == kBTAudioSilenceRecord, "a record of type ", int(key.type()));
    expect(node.size(i) == (audio ? 28u : 20u), "a record of type ", int(key.type()), " has ", node.size(i), " bytes");
    records_.push_back(node.record<BTAudioRecord>(i));
  }

  void check_records() {
    std::uint64_t frame = buffer_.startFrame, gaps = 0;
    std::map<std::uint32_t, std::uint32_t> ends;  // of the audio in a block so far
    for (const BTAudioRecord &record : records_) {
      expect(record.frameTime() == frame, "a record at ", record.frameTime(), " instead of ", frame);
      expect(record.frames > 0, "a record of no frames at ", frame);
      frame = record.frameTime() + record.frames;
      expect(record.physicalTime - record.frameTime() >= gaps, "gaps go back at ", record.frameTime());
      gaps = record.physicalTime - record.frameTime();
      if (record.key.type() == kBTAudioAudioRecord) check_audio(record, ends);
    }
    expect(frame == buffer_.endFrame, "records end at ", frame, " instead of ", buffer_.endFrame);
    expect(buffer_.physicalTime - buffer_.endFrame >= gaps, "gaps go back at the end");
  }

  void check_audio(const BTAudioRecord &record, std::map<std::uint32_t, std::uint32_t> &ends) {
    const std::uint32_t block = block_index_of(record.blocks[0]);
    const std::uint32_t start = byte_position_of(record.blocks[0]), end = start + record.frames * 4;
    expect(block_index_of(record.blocks[1]) == block, "audio ends in another block");
    expect(end <= kBTAudioAudioEnd, "audio overflows block ", block);
    expect(byte_position_of(record.blocks[1]) == (end + 7) / 8 * 8, "audio ends elsewhere in block ", block);
    expect(start >= ends[block], "audio overlaps in block ", block);
    ends[block] = end;
    claim(block, "audio");
  }

  void check_free_blocks() {
    std::uint64_t id = buffer_.firstFreeID;
    for (const BTAudioFreeBlock &record : free_records_) {
      expect(record.key.value() == id, "free block ", record.key.value(), " instead of ", id);
      id = record.next;
      claim(record.blockIndex, "free");
      expect(block_index_of(buffer_.writeBID) != record.blockIndex || buffer_.writeBID == 0, "writing to a free block");
    }
    expect(free_records_.size() == buffer_.freeBlockCount, free_records_.size(), " free blocks instead of ",
           buffer_.freeBlockCount);
    expect(id == (free_records_.empty() ? 0 : buffer_.nextFreeID), "the chain of free blocks ends at ", id);
  }

  void check_free_nodes() {
    std::uint32_t count = 0;
    for (BTAudioBID bid = buffer_.firstFreeNode; bid != 0 && problems_.str().empty(); ++count) {
      const Node node = node_at(bid);
      expect(node.descriptor.type == kBTAudioFreeNode && node.descriptor.records == 0, "node ", bid, " is not free");
      bid = node.descriptor.next;
    }
    expect(count == buffer_.freeNodeCount, count, " free nodes instead of ", buffer_.freeNodeCount);
  }

  void check_node_blocks() {
    std::set<std::uint32_t> node_blocks;
    for (const BTAudioBID bid : nodes_) node_blocks.insert(block_index_of(bid));
    expect(node_blocks.size() * kBTAudioNodesPerBlock == nodes_.size() + node_blocks.count(0), "a node is lost");
    for (const std::uint32_t block : node_blocks) claim(block, "nodes");
  }

  void check_file_blocks() {
    check_node_blocks();
    for (const auto &[block, what] : used_) {
      expect(block < buffer_.nextBlock, "block ", block, " was never taken and is ", what);
      const bool lost = block >= buffer_.firstLostBlock && block < buffer_.firstLostBlock + buffer_.lostBlockCount;
      expect(!lost, "block ", block, " is to become a hole and is ", what);
    }
    expect(buffer_.nextBlock <= buffer_.blocksPerFile, "the file has too many blocks");
  }

  void claim(std::uint32_t block, const std::string &what) {
    const auto [at, first] = used_.emplace(block, what);
    expect(first || (what == "audio" && at->second == what), "block ", block, " is ", what, " and ", at->second);
  }

  const BTAudioBuffer &buffer_;
  std::ostringstream problems_;
  std::map<std::uint32_t, std::vector<std::uint8_t>> from_file_;
  std::set<BTAudioBID> nodes_;
  std::map<unsigned, std::vector<Node>> levels_;
  std::vector<BTAudioRecord> records_;
  std::vector<BTAudioFreeBlock> free_records_;
  std::map<std::uint32_t, std::string> used_;
};

}  // namespace auspool::testing
