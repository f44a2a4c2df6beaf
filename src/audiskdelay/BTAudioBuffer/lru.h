// The list of cache blocks that nobody uses at present, the most recently released at its head.
#pragma once

#include "audiskdelay/BTAudioBuffer/context.h"

namespace auspool::audiskdelay {

void add_to_lru(BTAudioCacheBlock *block);
void remove_from_lru(BTAudioCacheBlock *block);

// Takes a reference on a block of the cache.
void retain(BTAudioCacheBlock *block);

}  // namespace auspool::audiskdelay
