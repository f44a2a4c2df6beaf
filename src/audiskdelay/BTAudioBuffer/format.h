// What stands in the file: block identifiers, keys, nodes and records. Numbers are in the processor's byte order, for a
// file is never read by another process.
#pragma once

#include <cstddef>
#include <cstdint>

namespace auspool::audiskdelay {

inline constexpr std::uint32_t kBTAudioBlockSize = 131072;  // of a block of the file, and of the cache
inline constexpr std::uint32_t kBTAudioAudioEnd = 131064;   // audio fills a block up to here
inline constexpr std::uint32_t kBTAudioNodeSize = 1024;     // bytes
inline constexpr std::uint32_t kBTAudioNodesPerBlock = 128;
inline constexpr std::uint32_t kBTAudioBlocksPerFile = 262144;
inline constexpr std::uint32_t kBTAudioFrameSize = 4;  // bytes

// A block identifier (BID):
//
//   Bits      Of a node                            Of audio
//   31 .. 14  index of the block, which starts at byte index * 131072 of the file
//   13 .. 7   0                                    bytes from the block's start in units of 8;
//   6 .. 0    place in the block, in units of      16383, byte 131064, means that the block is full
//             1024 bytes
//
// 0 stands for none, so the first node of block 0 is never used. With the low 14 bits clear it names the block.
using BTAudioBID = std::uint32_t;
inline constexpr std::uint32_t kBTAudioPositionMask = 16383;
inline constexpr std::uint32_t kBTAudioPositionFull = 16383;

constexpr std::uint32_t block_index_of(BTAudioBID bid) {
  return bid >> 14;
}
constexpr BTAudioBID block_bid(std::uint32_t index) {
  return index << 14;
}
constexpr BTAudioBID block_key(BTAudioBID bid) {
  return bid & ~kBTAudioPositionMask;
}
constexpr std::uint32_t node_place_of(BTAudioBID bid) {
  return bid % kBTAudioNodesPerBlock;
}
constexpr std::uint32_t byte_position_of(BTAudioBID bid) {
  return (bid & kBTAudioPositionMask) * 8;
}
constexpr BTAudioBID audio_bid(BTAudioBID key, std::uint32_t byte_position) {
  return block_key(key) | (byte_position + 7) / 8;
}
constexpr std::uint64_t file_offset_of(BTAudioBID bid) {
  return std::uint64_t{block_index_of(bid)} * kBTAudioBlockSize;
}

// A node of the tree, 1024 bytes:
//
//   Offset     Size  Field
//   0          16    descriptor, below
//   16         ...   records, packed in the order of their keys
//   1022 - 2n  2     with n records: where free space begins
//   1022 - 2i  2     where record i begins; entry 0 is 16 in an empty node
//
// Record i takes the bytes from entry i to entry i + 1.
enum BTAudioNodeType : std::uint8_t { kBTAudioFreeNode = 0, kBTAudioIndexNode = 1, kBTAudioLeafNode = 2 };

struct BTAudioNodeDescriptor {
  char signature[4];      // 0: "node"
  BTAudioBID prev, next;  // 4, 8: the neighbours at the same level; of a free node `next` is the next free one
  BTAudioNodeType type;   // 12
  std::uint8_t level;     // 13: 1 for a leaf, one more than its children for an index node
  std::uint16_t records;  // 14: how many
};
static_assert(sizeof(BTAudioNodeDescriptor) == 16 && offsetof(BTAudioNodeDescriptor, records) == 14);

// Types of records, the top byte of their keys. A reserved one is never written.
enum BTAudioRecordType : std::uint8_t {
  kBTAudioFreeRecord = 0,
  kBTAudioAudioRecord = 1,
  kBTAudioReservedRecord = 2,
  kBTAudioSilenceRecord = 3
};

#pragma pack(push, 4)  // records follow one another at multiples of 4 bytes

// Top byte the type, low 56 bits the value: a frame time, or of a free block's record its own number.
struct BTAudioKey {
  static constexpr std::uint64_t kValueMask = (std::uint64_t{1} << 56) - 1;

  std::uint64_t word = 0;

  constexpr BTAudioKey() = default;
  constexpr BTAudioKey(BTAudioRecordType type, std::uint64_t value)
      : word(std::uint64_t{type} << 56 | (value & kValueMask)) {}
  constexpr BTAudioRecordType type() const { return static_cast<BTAudioRecordType>(word >> 56); }
  constexpr std::uint64_t value() const { return word & kValueMask; }
  // What sorts records: all that have a frame time share one order.
  constexpr std::uint64_t order() const {
    const bool timed = type() == kBTAudioReservedRecord || type() == kBTAudioSilenceRecord;
    return timed ? BTAudioKey(kBTAudioAudioRecord, value()).word : word;
  }
  // Whether an ordered neighbour is of the kind that a search for `other` is after.
  constexpr bool sorts_with(BTAudioKey other) const { return order() >> 56 == other.order() >> 56; }
};

// Less than, equal to or greater than 0, as `a` sorts before, with or after `b`.
constexpr int BTAudioCompareKeys(const BTAudioKey *a, const BTAudioKey *b) {
  const std::uint64_t left = a->order(), right = b->order();
  return left < right ? -1 : left > right;
}

// Audio, 28 bytes, or silence, the first 20 of them. Audio starts and ends in one block.
struct BTAudioRecord {
  BTAudioKey key;              // 0: its value is the frame time
  std::uint64_t physicalTime;  // 8: the frame time and all gaps before it
  std::uint32_t frames;        // 16
  BTAudioBID blocks[2];        // 20, 24: of the first byte, and just past the last, rounded up to 8 bytes

  constexpr std::uint64_t frameTime() const { return key.value(); }
};
inline constexpr std::uint32_t kBTAudioAudioRecordSize = 28;
inline constexpr std::uint32_t kBTAudioSilenceRecordSize = 20;
static_assert(sizeof(BTAudioRecord) == kBTAudioAudioRecordSize);
static_assert(offsetof(BTAudioRecord, blocks) == kBTAudioSilenceRecordSize);

// A block of the file that is free for audio again, 20 bytes.
struct BTAudioFreeBlock {
  BTAudioKey key;            // 0: its value is the record's number
  std::uint64_t next;        // 8: the number of the next such record
  std::uint32_t blockIndex;  // 16
};
static_assert(sizeof(BTAudioFreeBlock) == 20);

// A child of an index node, 12 bytes. Index nodes hold only these.
struct BTAudioChild {
  BTAudioKey key;  // 0: of the child's first record, or one before it
  BTAudioBID bid;  // 8
};
static_assert(sizeof(BTAudioChild) == 12);

#pragma pack(pop)

}  // namespace auspool::audiskdelay
