#include <algorithm>
#include <cstring>

#include "audiskdelay/BTAudioBuffer/cache.h"
#include "audiskdelay/BTAudioBuffer/checks.h"
#include "audiskdelay/BTAudioBuffer/consume.h"
#include "audiskdelay/BTAudioBuffer/node.h"
#include "audiskdelay/BTAudioBuffer/tree.h"

namespace auspool::audiskdelay {
namespace {

// Audio that is still to be stored.
struct Rest {
  const std::uint8_t *data;
  std::uint32_t frames;
};

// The newest record, if there is one; null also if there is no room for its node.
BTAudioNodeOwner find_last(BTAudioBuffer *buffer, std::uint32_t *index) {
  if (buffer->lastLeaf == 0) return nullptr;
  const BTAudioKey key(kBTAudioAudioRecord, buffer->endFrame);
  return BTAudioBufferFindRecord(buffer, &key, false, index);
}

// Whether what comes now follows the record without a gap.
bool can_be_extended(const BTAudioBuffer *buffer, const BTAudioRecord *record) {
  return buffer->endFrame == record->frameTime() + record->frames &&
         buffer->physicalTime == record->physicalTime + record->frames;
}

void advance(BTAudioBuffer *buffer, std::uint32_t frames) {
  buffer->endFrame += frames;
  buffer->physicalTime += frames;
}

// Copies as many frames as fit to the block from this byte on. How many; 0 if the block cannot be had.
std::uint32_t copy_to_block(BTAudioBuffer *buffer, BTAudioBID bid, std::uint32_t position, const Rest &rest) {
  const BTAudioBlockOwner block = BTAudioBufferGetCacheBlockWithBID(buffer, bid);
  if (!block) return 0;
  const std::uint32_t count = std::min(rest.frames, (kBTAudioAudioEnd - position) / kBTAudioFrameSize);
  std::memcpy(block->data + position, rest.data, std::size_t{count} * kBTAudioFrameSize);
  block->dirty = 1;
  return count;
}

void stored(BTAudioBuffer *buffer, Rest &rest, std::uint32_t frames) {
  rest.data += std::size_t{frames} * kBTAudioFrameSize;
  rest.frames -= frames;
  advance(buffer, frames);
}

// Fills up the block in which the newest record lies, if audio follows it. True if that was all there was to do.
bool extend_audio(BTAudioBuffer *buffer, Rest &rest) {
  std::uint32_t index = 0;
  const BTAudioNodeOwner node = find_last(buffer, &index);
  if (!node || key_at(node.get(), index)->type() != kBTAudioAudioRecord) return true;
  BTAudioRecord record = *record_at<BTAudioRecord>(node.get(), index);
  const bool in_one_block = block_key(record.blocks[0]) == block_key(record.blocks[1]);
  // Not blocks[1], which is rounded up.
  const std::uint32_t position = byte_position_of(record.blocks[0]) + record.frames * kBTAudioFrameSize;
  if (!can_be_extended(buffer, &record) || !in_one_block || position == kBTAudioAudioEnd) return true;
  const std::uint32_t count = copy_to_block(buffer, record.blocks[0], position, rest);
  if (count == 0) return false;
  record.frames += count;
  record.blocks[1] = audio_bid(record.blocks[0], position + count * kBTAudioFrameSize);
  BTAudioNodeSetRecord(node.get(), index, &record, kBTAudioAudioRecordSize);
  buffer->writeBID = record.blocks[1];
  stored(buffer, rest, count);
  return true;
}

bool close_block(BTAudioBuffer *buffer) {
  const BTAudioBlockOwner block = BTAudioBufferGetCacheBlockWithBID(buffer, buffer->writeBID);
  if (!block) return false;
  block->full = 1;
  buffer->writeBID = 0;
  return true;
}

bool open_block(BTAudioBuffer *buffer) {
  const BTAudioBlockOwner block = BTAudioBufferGetCacheBlock(buffer, true, 0);
  if (!block) return false;
  buffer->writeBID = block->bid;
  return true;
}

bool add_audio(BTAudioBuffer *buffer, Rest &rest) {
  const std::uint32_t position = byte_position_of(buffer->writeBID);
  const std::uint32_t count = copy_to_block(buffer, buffer->writeBID, position, rest);
  if (count == 0) return false;
  const BTAudioRecord record = {{kBTAudioAudioRecord, buffer->endFrame},
                                buffer->physicalTime,
                                count,
                                {buffer->writeBID, audio_bid(buffer->writeBID, position + count * kBTAudioFrameSize)}};
  if (!BTAudioBufferInsertRecord(buffer, &record.key, &record, kBTAudioAudioRecordSize)) return false;
  buffer->writeBID = record.blocks[1];
  stored(buffer, rest, count);
  return true;
}

// One step on the way to have all audio in records.
bool store_more(BTAudioBuffer *buffer, Rest &rest) {
  if (buffer->writeBID == 0) return open_block(buffer);
  if ((buffer->writeBID & kBTAudioPositionMask) == kBTAudioPositionFull) return close_block(buffer);
  return add_audio(buffer, rest);
}

bool write_audio(BTAudioBuffer *buffer, const void *data, std::uint32_t bytes, std::uint32_t frames) {
  if (bytes != std::uint64_t{frames} * kBTAudioFrameSize) return false;
  Rest rest = {static_cast<const std::uint8_t *>(data), frames};
  if (!undisturbed(buffer, [&] { return extend_audio(buffer, rest); })) return false;
  while (rest.frames > 0) {
    if (!undisturbed(buffer, [&] { return store_more(buffer, rest); })) return false;
  }
  return true;
}

std::uint32_t extend_silence(BTAudioBuffer *buffer, std::uint32_t frames) {
  std::uint32_t index = 0;
  const BTAudioNodeOwner node = find_last(buffer, &index);
  if (!node || key_at(node.get(), index)->type() != kBTAudioSilenceRecord) return 0;
  auto *const record = record_at<BTAudioRecord>(node.get(), index);
  if (!can_be_extended(buffer, record)) return 0;
  const std::uint32_t count = std::min(frames, UINT32_MAX - record->frames);
  record->frames += count;
  node->block->dirty = 1;
  advance(buffer, count);
  return count;
}

bool write_silence(BTAudioBuffer *buffer, std::uint32_t frames) {
  frames -= extend_silence(buffer, frames);
  if (frames == 0) return true;
  const BTAudioRecord record = {{kBTAudioSilenceRecord, buffer->endFrame}, buffer->physicalTime, frames, {}};
  if (!BTAudioBufferInsertRecord(buffer, &record.key, &record, kBTAudioSilenceRecordSize)) return false;
  advance(buffer, frames);
  return true;
}

void trim(BTAudioBuffer *buffer) {
  const ConsumingScope scope(buffer);
  for (;;) {
    const std::uint64_t length = buffer->endFrame - buffer->startFrame;
    if (length <= buffer->maxFrames || !BTAudioBufferConsumeBlock(buffer, length - buffer->maxFrames)) return;
  }
}

}  // namespace

bool BTAudioBufferWrite(BTAudioBuffer *buffer, const void *data, std::uint32_t bytes, std::uint64_t frames,
                        bool isAudio) noexcept {
  const auto count = static_cast<std::uint32_t>(frames);
  if (count == 0) return true;
  assert_that(isAudio || !data, "false");
  if (!isAudio) {
    buffer->physicalTime += count;
    return true;
  }
  const bool written = data ? write_audio(buffer, data, bytes, count) : write_silence(buffer, count);
  trim(buffer);
  return written;
}

}  // namespace auspool::audiskdelay
