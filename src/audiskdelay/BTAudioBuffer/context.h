// The store's record in memory, with its cache.
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "audiskdelay/BTAudioBuffer/BTAudioBuffer.h"
#include "audiskdelay/BTAudioBuffer/block_map.h"
#include "audiskdelay/BTAudioBuffer/format.h"
#include "platform/locked_memory.h"
#include "platform/uncached_file.h"

namespace auspool::audiskdelay {

inline constexpr std::uint32_t kBTAudioCacheBlocks = 32;
inline constexpr std::uint64_t kBTAudioDefaultFrames = 158760000;  // an hour at 44,100 Hz

// A node that is in use.
struct BTAudioNode {
  BTAudioCacheBlock *block;  // holds its bytes, and one reference as long as the node has any
  std::uint8_t *bytes;
  std::int32_t refcnt;
  BTAudioBID bid;
};

// A block of memory: free, in use (one reference or more) or on the list of those that nobody uses at present.
struct BTAudioCacheBlock {
  BTAudioCacheBlock *next, *prev;  // on that list
  BTAudioBuffer *owner;
  std::uint8_t *data;
  std::int32_t refcnt;
  BTAudioBID bid;  // of the file's block, with the low 14 bits clear
  std::array<BTAudioNode, kBTAudioNodesPerBlock> nodes;
  std::uint8_t full;   // no more audio comes into it
  std::uint8_t dirty;  // not in the file as it is here
};

// The memory of the cache.
class BTAudioCacheMemory {
public:
  static constexpr std::size_t kBytes = std::size_t{kBTAudioCacheBlocks} * kBTAudioBlockSize;

  BTAudioCacheMemory() : pages_(platform::allocate_pages(kBytes)) {
    if (!pages_) return;
    platform::prefer_large_pages(pages_, kBytes);
    pinned_ = platform::pin_pages(pages_, kBytes) == 0;
  }
  ~BTAudioCacheMemory() {
    if (pinned_) platform::unpin_pages(pages_, kBytes);
    platform::release_pages(pages_, kBytes);
  }
  BTAudioCacheMemory(const BTAudioCacheMemory &) = delete;
  BTAudioCacheMemory &operator=(const BTAudioCacheMemory &) = delete;

  std::uint8_t *base() const { return static_cast<std::uint8_t *>(pages_); }

private:
  void *pages_;
  bool pinned_ = false;
};

struct BTAudioBuffer {
  std::unique_ptr<platform::UncachedFile> file;
  std::uint64_t fileSize = 0;  // bytes written so far: all below has been written, and nothing beyond

  std::array<BTAudioCacheBlock, kBTAudioCacheBlocks> blocks{};
  BTAudioBlockSet freeCacheBlocks;
  BTAudioCacheMemory memory;
  BTAudioBlockMap cacheBlocks;           // by the block's BID
  BTAudioCacheBlock *lruHead = nullptr;  // the most recently released
  BTAudioCacheBlock *lruTail = nullptr;

  std::uint32_t nextBlock = 0;       // index of the first block that has never been used
  std::uint32_t consuming = 0;       // room is being made of the oldest audio: what needs room meanwhile fails
  std::uint32_t freeBlockCount = 0;  // blocks of the file that are free for audio again, and their records
  std::uint64_t firstFreeID = 0;
  std::uint64_t nextFreeID = 1;

  std::uint32_t freeNodeCount = 0;
  BTAudioBID firstFreeNode = 0;
  BTAudioBID firstLeaf = 0, lastLeaf = 0, root = 0;

  std::uint64_t maxFrames = 0;
  std::uint64_t startFrame = 0;    // the oldest held
  std::uint64_t endFrame = 0;      // one past the newest
  std::uint64_t physicalTime = 0;  // endFrame and all gaps
  BTAudioBID writeBID = 0;         // where the next audio goes, 0 for a fresh block
  std::int64_t lastErrorTime = 0;  // of the last message about a failed write, seconds of the wall clock

  // How often the tree gained or lost records, and how often there was no room in the cache.
  std::uint64_t treeChanges = 0;
  std::uint64_t starvations = 0;

  std::uint32_t blocksPerFile = kBTAudioBlocksPerFile;
  // Neighbouring blocks of the file that will never be used again, whose disk space has not been given back yet.
  std::uint32_t firstLostBlock = 0, lostBlockCount = 0;
};

// What tests make small.
struct BTAudioBufferLimits {
  std::uint64_t maxFrames = kBTAudioDefaultFrames;
  std::uint32_t blocksPerFile = kBTAudioBlocksPerFile;
  std::uint32_t cacheBlocks = kBTAudioCacheBlocks;
};

// A store over this file; null without a file or memory.
BTAudioBuffer *create_on(std::unique_ptr<platform::UncachedFile> file, const BTAudioBufferLimits &limits) noexcept;

// To fetch a block takes room in the cache, and that may have to be made of the oldest records. So a fetch either gives
// the block and has left the tree alone, or gives null. Where null comes of such a change, what the caller knows of the
// tree is out of date, and what he did is done again from its start: this repeats what fails (gives false or null) for
// as long as it fails because of that. It ends, for there are ever fewer records.
template <typename Attempt>
auto undisturbed(const BTAudioBuffer *buffer, const Attempt &attempt) {
  for (;;) {
    const std::uint64_t before = buffer->treeChanges;
    auto result = attempt();
    if (result || buffer->treeChanges == before) return result;
  }
}

}  // namespace auspool::audiskdelay
