// Writing cache blocks to the file, and evicting those that are written.
#pragma once

#include "audiskdelay/BTAudioBuffer/context.h"

namespace auspool::audiskdelay {

// Writes blocks that nobody uses: those that get no more audio, and the half that has not been used for longest. How
// many are in the file now.
std::uint32_t BTAudioBufferFlushCacheBlocks(BTAudioBuffer *buffer);

// Empties that many clean cache blocks, those not used for longest first; 2 if `flushed` is 0.
void evict(BTAudioBuffer *buffer, std::uint32_t flushed);

}  // namespace auspool::audiskdelay
