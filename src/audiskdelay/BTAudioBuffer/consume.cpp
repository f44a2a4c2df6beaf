#include "audiskdelay/BTAudioBuffer/consume.h"

#include <cstring>

#include "audiskdelay/BTAudioBuffer/checks.h"
#include "audiskdelay/BTAudioBuffer/file_blocks.h"
#include "audiskdelay/BTAudioBuffer/node.h"
#include "audiskdelay/BTAudioBuffer/tree.h"

namespace auspool::audiskdelay {
namespace {

BTAudioNodeOwner first_record(BTAudioBuffer *buffer, std::uint32_t *index, unsigned line = __builtin_LINE()) {
  BTAudioNodeOwner node = BTAudioBufferGetFirstAudioRecord(buffer, index);
  check(node != nullptr, "(node = BTAudioBufferGetFirstAudioRecord(buffer,&recdex)) != NULL", line);
  return node;
}

bool is_silence(const BTAudioRecord &record) {
  return record.key.type() == kBTAudioSilenceRecord;
}

// A copy of the first record, silence or audio.
bool copy_first(BTAudioBuffer *buffer, BTAudioRecord *record) {
  std::uint32_t index = 0;
  const BTAudioNodeOwner node = first_record(buffer, &index);
  if (!node) return false;
  std::memcpy(record, BTAudioNodeGetRecord(node.get(), index), BTAudioNodeGetRecordSize(node.get(), index));
  return true;
}

bool remove_first(BTAudioBuffer *buffer, const BTAudioRecord &record) {
  if (!check(BTAudioBufferDeleteRecord(buffer, &record.key), "BTAudioBufferDeleteRecord(buffer,&key)")) return false;
  buffer->startFrame += record.frames;
  return true;
}

bool ends_block(const BTAudioRecord &record) {
  return (record.blocks[1] & kBTAudioPositionMask) == kBTAudioPositionFull;
}

bool consume_record(BTAudioBuffer *buffer, std::uint64_t frames) {
  std::uint32_t index = 0;
  BTAudioNodeOwner node = first_record(buffer, &index);
  if (!node) return false;
  auto *const oldest = record_at<BTAudioRecord>(node.get(), index);
  if (is_silence(*oldest) && frames < oldest->frames) {
    shorten_silence(buffer, node.get(), oldest, frames);
    return true;
  }
  BTAudioRecord record{};
  std::memcpy(&record, oldest, BTAudioNodeGetRecordSize(node.get(), index));
  node.reset();
  if (!remove_first(buffer, record)) return false;
  if (!is_silence(record) && ends_block(record)) lose_file_block(buffer, block_index_of(record.blocks[0]));
  return true;
}

// Removes records up to the end of the first one's block. 0 if that could not be reached.
bool consume_to_block_end(BTAudioBuffer *buffer, std::uint32_t *blockIndex) {
  for (BTAudioRecord record{};;) {
    if (!copy_first(buffer, &record)) return false;
    if (is_silence(record)) {
      if (!remove_first(buffer, record)) return false;
      continue;
    }
    if (*blockIndex == 0) *blockIndex = block_index_of(record.blocks[0]);
    if (block_index_of(record.blocks[0]) != *blockIndex) return true;  // the next block's first, which stays
    if (!remove_first(buffer, record)) return false;
    if (block_index_of(record.blocks[1]) != *blockIndex || ends_block(record)) return true;
  }
}

}  // namespace

void shorten_silence(BTAudioBuffer *buffer, BTAudioNode *node, BTAudioRecord *srec, std::uint64_t frames) {
  assert_that(frames != 0, "frames != 0");
  assert_that(frames < srec->frames, "frames < srec->frames");
  buffer->startFrame += frames;
  srec->key = {kBTAudioSilenceRecord, srec->frameTime() + frames};
  srec->physicalTime += frames;
  srec->frames -= static_cast<std::uint32_t>(frames);
  node->block->dirty = 1;
}

BTAudioNodeOwner BTAudioBufferGetFirstAudioRecord(BTAudioBuffer *buffer, std::uint32_t *index) {
  const BTAudioKey key(kBTAudioAudioRecord, buffer->startFrame);
  return BTAudioBufferFindRecord(buffer, &key, true, index);
}

bool BTAudioBufferConsumeBlock(BTAudioBuffer *buffer, std::uint64_t frames) {
  if (frames > 0) return consume_record(buffer, frames);
  std::uint32_t blockIndex = 0;
  return consume_to_block_end(buffer, &blockIndex) && free_file_block(buffer, blockIndex);
}

}  // namespace auspool::audiskdelay
