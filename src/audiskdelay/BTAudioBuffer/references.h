// Owners of references to cache blocks and nodes.
#pragma once

#include <memory>

#include "audiskdelay/BTAudioBuffer/context.h"
#include "base/handle.h"

namespace auspool::audiskdelay {

// Gives a reference back; null is nothing. What nobody uses can be evicted, the longest unused first.
void BTAudioBlockRelease(BTAudioCacheBlock *block);
void BTAudioNodeRelease(BTAudioNode *node);

using BTAudioBlockOwner = std::unique_ptr<BTAudioCacheBlock, DestroyWith<BTAudioBlockRelease>>;
using BTAudioNodeOwner = std::unique_ptr<BTAudioNode, DestroyWith<BTAudioNodeRelease>>;

}  // namespace auspool::audiskdelay
