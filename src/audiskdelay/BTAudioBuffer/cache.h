// The cache: which blocks of the file are in memory, and room for more.
#pragma once

#include "audiskdelay/BTAudioBuffer/context.h"
#include "audiskdelay/BTAudioBuffer/references.h"

namespace auspool::audiskdelay {

// Any cache block that holds nothing, or null.
BTAudioCacheBlock *BTAudioBufferGetFreeCacheBlock(BTAudioBuffer *buffer);

// A cache block for the block `key` of the file, whose contents are not read; or with `allocate` for a block of the
// file that is new or free again, and then the tree may have changed. Comes with a reference, and dirty. Null if there
// is no room, and for a `key` also if the tree changed when room was made.
BTAudioBlockOwner BTAudioBufferGetCacheBlock(BTAudioBuffer *buffer, bool allocate, BTAudioBID key);

// The block of the file in which `bid` lies. Null as above.
BTAudioBlockOwner BTAudioBufferGetCacheBlockWithBID(BTAudioBuffer *buffer, BTAudioBID bid);

// The cache block, which is clean and which nobody uses, holds nothing from now on.
void empty_cache_block(BTAudioCacheBlock *block);

}  // namespace auspool::audiskdelay
