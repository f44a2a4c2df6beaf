// One node: its descriptor, and the records packed in it. Nothing here looks at another node.
#pragma once

#include "audiskdelay/BTAudioBuffer/context.h"
#include "audiskdelay/BTAudioBuffer/references.h"

namespace auspool::audiskdelay {

BTAudioNodeDescriptor *BTAudioNodeGetDescriptor(const BTAudioNode *node);

// Makes it an empty node of no type.
void BTAudioNodeReset(BTAudioNode *node);

std::uint32_t BTAudioNodeGetRecordSize(const BTAudioNode *node, std::uint32_t index);
std::uint8_t *BTAudioNodeGetRecord(const BTAudioNode *node, std::uint32_t index);

// A record in its place, until the node changes. Of silence the fields of audio are not there.
template <typename Record>
Record *record_at(const BTAudioNode *node, std::uint32_t index) {
  return reinterpret_cast<Record *>(BTAudioNodeGetRecord(node, index));
}
inline BTAudioKey *key_at(const BTAudioNode *node, std::uint32_t index) {
  return record_at<BTAudioKey>(node, index);
}
inline std::uint32_t record_count(const BTAudioNode *node) {
  return BTAudioNodeGetDescriptor(node)->records;
}

bool BTAudioNodeHasRoom(const BTAudioNode *node, std::uint32_t size);

// Puts a record before the one at `index`, or behind the last. There is room.
void BTAudioNodeInsertRecord(BTAudioNode *node, std::uint32_t index, const void *data, std::uint32_t size);
// Replaces a record by one of the same size and key.
void BTAudioNodeSetRecord(BTAudioNode *node, std::uint32_t index, const void *data, std::uint32_t size);
void BTAudioNodeDeleteRecord(BTAudioNode *node, std::uint32_t index);

// The first record that does not sort before `key`, or the number of records.
std::uint32_t lower_bound(const BTAudioNode *node, BTAudioKey key);
// Whether the record at `index` is there and sorts with `key`.
bool holds(const BTAudioNode *node, std::uint32_t index, BTAudioKey key);
// Of an index node, the child in which `key` is or would be: the last whose key is not above it, else the first.
std::uint32_t choose_child(const BTAudioNode *node, BTAudioKey key);

}  // namespace auspool::audiskdelay
