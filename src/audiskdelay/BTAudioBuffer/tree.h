// The tree: records in the order of their keys, in leaves that are linked with their neighbours, below index nodes.
//
// Frame times only rise, so nearly all that comes in goes to the right edge, and what goes out leaves at the left. That
// is why a full node keeps seven eighths when it is split, and why nodes are not merged: they go when they are empty.
// The records of free blocks sort before all others, so the first leaf may hold some of them before the oldest audio.
// A silence that is shortened gets a later key, and its parents keep the earlier one; they still lead to it.
#pragma once

#include "audiskdelay/BTAudioBuffer/context.h"
#include "audiskdelay/BTAudioBuffer/references.h"

namespace auspool::audiskdelay {

// These begin again where the tree changes because room is made for a node: what the caller learnt of the tree before
// may then be out of date.

// The leaf and the index in it of the record that sorts with `key`, or without `exact` else of the nearest before of
// the same kind (with a frame time or without). Null if there is none, or no room for a node.
BTAudioNodeOwner BTAudioBufferFindRecord(BTAudioBuffer *buffer, const BTAudioKey *key, bool exact,
                                         std::uint32_t *index);

// Adds the record of `size` bytes, which begin with `key`. One that sorts with it stays in its place, and that is
// success. False if there was no room for a node, in the cache or in the file.
bool BTAudioBufferInsertRecord(BTAudioBuffer *buffer, const BTAudioKey *key, const void *data, std::uint32_t size);

// False if there is no such record, or no room for a node; then nothing has changed.
bool BTAudioBufferDeleteRecord(BTAudioBuffer *buffer, const BTAudioKey *key);

// Steps of the above, which give up where the tree changes beneath them.

// 1 if the record is there now, 0 for failure, and -1 if the node has to be split first.
int BTAudioBufferInsertNodeRecord(BTAudioBuffer *buffer, BTAudioNode *node, const BTAudioKey *key, const void *data,
                                  std::uint32_t size);

// Moves the last eighth of a full node's records to a new neighbour at its right, which is returned; null for failure.
BTAudioNodeOwner BTAudioBufferSplitNode(BTAudioBuffer *buffer, BTAudioNode *node);

bool BTAudioBufferDeleteNodeRecord(BTAudioBuffer *buffer, BTAudioNode *node, const BTAudioKey *key);

// Of index nodes: the child at `index`, and its key brought up to date.
BTAudioNodeOwner child_at(BTAudioBuffer *buffer, const BTAudioNode *node, std::uint32_t index);
void update_child_key(BTAudioNode *node, std::uint32_t index, const BTAudioNode *child);

}  // namespace auspool::audiskdelay
