// Cutting off the oldest audio.
#pragma once

#include "audiskdelay/BTAudioBuffer/context.h"
#include "audiskdelay/BTAudioBuffer/references.h"

namespace auspool::audiskdelay {

// With 0 frames, frees the block of the file that holds the oldest audio, with all records up to its end. Otherwise
// removes the oldest record, or that many frames of a longer silence; the block that audio was in is not used again.
// False if nothing could be removed, or not all that was to be.
bool BTAudioBufferConsumeBlock(BTAudioBuffer *buffer, std::uint64_t frames);

// The record at the start, with its index in the leaf. Null if there is none, or no room for a node.
BTAudioNodeOwner BTAudioBufferGetFirstAudioRecord(BTAudioBuffer *buffer, std::uint32_t *index);

// Takes frames off the start of a silence that is longer, in its place in the leaf: its key grows, but stays below the
// next record's.
void shorten_silence(BTAudioBuffer *buffer, BTAudioNode *node, BTAudioRecord *srec, std::uint64_t frames);

// While one is there, nothing else is consumed to make room for what consuming needs.
class ConsumingScope {
public:
  explicit ConsumingScope(BTAudioBuffer *buffer) : buffer_(buffer) { buffer->consuming = 1; }
  ~ConsumingScope() { buffer_->consuming = 0; }
  ConsumingScope(const ConsumingScope &) = delete;
  ConsumingScope &operator=(const ConsumingScope &) = delete;

private:
  BTAudioBuffer *const buffer_;
};

}  // namespace auspool::audiskdelay
