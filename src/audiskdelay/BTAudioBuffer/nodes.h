// The nodes of the file: fetching them, and the list of free ones.
#pragma once

#include "audiskdelay/BTAudioBuffer/context.h"
#include "audiskdelay/BTAudioBuffer/references.h"

namespace auspool::audiskdelay {

// The node. Null if there is no room for its block in the cache, or if the tree changed when room was made.
BTAudioNodeOwner BTAudioBufferGetNode(BTAudioBuffer *buffer, BTAudioBID bid);

// Makes all nodes of a fresh block free, those at the block's start to be used first.
void BTAudioBufferAddFreeNodes(BTAudioBuffer *buffer, BTAudioCacheBlock *block);

// A node off the list of free ones, to which a new block adds where it is empty. Null as above.
BTAudioNodeOwner BTAudioBufferGetFreeNode(BTAudioBuffer *buffer);

void BTAudioBufferFreeNode(BTAudioBuffer *buffer, BTAudioNode *node);

}  // namespace auspool::audiskdelay
