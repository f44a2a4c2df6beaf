#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "audiskdelay/BTAudioBuffer/cache.h"
#include "audiskdelay/BTAudioBuffer/checks.h"
#include "audiskdelay/BTAudioBuffer/node.h"
#include "audiskdelay/BTAudioBuffer/tree.h"

namespace auspool::audiskdelay {
namespace {

constexpr std::uint32_t kMostFramesAllocated = 512;

struct Request {
  std::uint64_t position;
  void **data;
  std::uint32_t *bytes;
};

BTAudioNodeOwner find_at(BTAudioBuffer *buffer, std::uint64_t frame, std::uint32_t *index) {
  const BTAudioKey key(kBTAudioAudioRecord, frame);
  return BTAudioBufferFindRecord(buffer, &key, false, index);
}

void check_position(const BTAudioRecord *rec, std::uint64_t position) {
  assert_that(position >= rec->frameTime(), "*froffset >= rec->key.audio.frameTime");
  assert_that(rec->frames > position - rec->frameTime(), "rec->base.frames > (*froffset - rec->key.audio.frameTime)");
  assert_that(rec->key.type() == kBTAudioAudioRecord || rec->key.type() == kBTAudioSilenceRecord, "false");
}

// The record's `count` frames from the position on, to `to`. False if they cannot be had.
bool copy_frames(BTAudioBuffer *buffer, const BTAudioRecord *frec, std::uint64_t position, void *to,
                 std::uint32_t count) {
  const std::size_t bytes = std::size_t{count} * kBTAudioFrameSize;
  if (frec->key.type() == kBTAudioSilenceRecord) {
    std::memset(to, 0, bytes);
    return true;
  }
  const std::uint64_t before = buffer->treeChanges;
  const BTAudioBlockOwner block = BTAudioBufferGetCacheBlockWithBID(buffer, frec->blocks[0]);
  if (!block) {
    check(buffer->treeChanges != before, "(block = BTAudioBufferGetCacheBlockWithBID(buffer,frec->blocks[0])) != NULL");
    return false;
  }
  const std::uint64_t start = byte_position_of(frec->blocks[0]) + (position - frec->frameTime()) * kBTAudioFrameSize;
  std::memcpy(to, block->data + start, bytes);
  return true;
}

// Gives the caller's memory or new memory its frames. How many; less than 0 if they cannot be had.
std::int64_t give_frames(BTAudioBuffer *buffer, const BTAudioRecord *record, const Request &request,
                         std::uint32_t available) {
  const std::uint32_t fits = *request.bytes / kBTAudioFrameSize;
  const std::uint32_t capacity = *request.data ? fits : std::min(fits, kMostFramesAllocated);
  const std::uint32_t count = std::min(available, capacity);
  void *to = *request.data;
  if (!to) to = std::malloc(std::max<std::size_t>(std::size_t{capacity} * kBTAudioFrameSize, 1));
  if (!to) return -1;
  if (!copy_frames(buffer, record, request.position, to, count)) {
    if (!*request.data) std::free(to);
    return -1;
  }
  *request.data = to;
  return count;
}

bool read(BTAudioBuffer *buffer, const Request &request, std::uint32_t *frames, std::uint8_t *flag) {
  if (request.position < buffer->startFrame || request.position >= buffer->endFrame) return false;
  if (request.data && !request.bytes) return false;
  std::uint32_t index = 0;
  const BTAudioNodeOwner node = find_at(buffer, request.position, &index);
  if (!check(node != nullptr, "node = BTAudioBufferFindRecord(buffer,&key,false,&recdex)")) return false;
  const auto *const record = record_at<BTAudioRecord>(node.get(), index);
  check_position(record, request.position);
  const auto available = static_cast<std::uint32_t>(record->frames - (request.position - record->frameTime()));
  const std::int64_t given = request.data ? give_frames(buffer, record, request, available) : available;
  if (given < 0) return false;
  const auto count = static_cast<std::uint32_t>(given);
  if (request.bytes) *request.bytes = count * kBTAudioFrameSize;
  if (frames) *frames = count;
  if (flag) *flag = 1;
  return true;
}

}  // namespace

bool BTAudioBufferRead(BTAudioBuffer *buffer, const std::uint64_t *froffset, void **data, std::uint32_t *bytes,
                       std::uint32_t *frames, std::uint8_t *flag) noexcept {
  const Request request = {*froffset, data, bytes};
  return undisturbed(buffer, [&] { return read(buffer, request, frames, flag); });
}

std::uint64_t BTAudioBufferGetPhysicalOffset(BTAudioBuffer *buffer, std::uint64_t frame) noexcept {
  if (frame >= buffer->endFrame) return 0;
  std::uint32_t index = 0;
  const BTAudioNodeOwner node = find_at(buffer, std::max(buffer->startFrame, frame), &index);
  if (!node) return 0;
  const auto *const record = record_at<BTAudioRecord>(node.get(), index);
  // What comes out is small; on the way there numbers may wrap around.
  return record->frameTime() + buffer->physicalTime - record->physicalTime - buffer->endFrame;
}

}  // namespace auspool::audiskdelay
