#include "audiskdelay/BTAudioBuffer/BTAudioBuffer.h"

#include <algorithm>
#include <new>

#include "audiskdelay/BTAudioBuffer/cache.h"
#include "audiskdelay/BTAudioBuffer/context.h"
#include "audiskdelay/BTAudioBuffer/nodes.h"

namespace auspool::audiskdelay {
namespace {

void prepare(BTAudioBuffer *buffer, std::uint32_t cache_blocks) {
  std::uint8_t *data = buffer->memory.base();
  for (std::uint32_t i = 0; i < cache_blocks; ++i, data += kBTAudioBlockSize) {
    BTAudioCacheBlock *const block = &buffer->blocks[i];
    block->owner = buffer;
    block->data = data;
    for (std::uint32_t place = 0; place < kBTAudioNodesPerBlock; ++place) {
      block->nodes[place] = {block, data + std::size_t{place} * kBTAudioNodeSize, 0, 0};
    }
    buffer->freeCacheBlocks.add(block);
  }
}

}  // namespace

BTAudioBuffer *create_on(std::unique_ptr<platform::UncachedFile> file, const BTAudioBufferLimits &limits) noexcept {
  if (!file) return nullptr;
  std::unique_ptr<BTAudioBuffer> buffer(new (std::nothrow) BTAudioBuffer);
  if (!buffer || !buffer->memory.base()) return nullptr;
  buffer->file = std::move(file);
  buffer->maxFrames = limits.maxFrames ? limits.maxFrames : kBTAudioDefaultFrames;
  buffer->blocksPerFile = limits.blocksPerFile;
  prepare(buffer.get(), limits.cacheBlocks);
  if (const BTAudioBlockOwner block = BTAudioBufferGetCacheBlock(buffer.get(), true, 0)) {
    BTAudioBufferAddFreeNodes(buffer.get(), block.get());
  }
  return buffer.release();
}

BTAudioBuffer *BTAudioBufferCreate(std::uint64_t max_frames) noexcept {
  return create_on(platform::create_uncached_file(platform::UncachedFile::Pieces::pages), {.maxFrames = max_frames});
}

void BTAudioBufferDestroy(BTAudioBuffer *buffer) noexcept {
  delete buffer;
}

void BTAudioBufferGetInfo(const BTAudioBuffer *buffer, std::uint64_t *start_frame, std::uint64_t *length_frames,
                          std::uint64_t *file_bytes) noexcept {
  if (start_frame) *start_frame = buffer->startFrame;
  if (length_frames) *length_frames = buffer->endFrame - buffer->startFrame;
  if (file_bytes) *file_bytes = buffer->fileSize;
}

}  // namespace auspool::audiskdelay
