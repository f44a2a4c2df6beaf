#include "audiskdelay/BTAudioBuffer/node.h"
#include "audiskdelay/BTAudioBuffer/nodes.h"
#include "audiskdelay/BTAudioBuffer/tree.h"

namespace auspool::audiskdelay {
namespace {

// About seven eighths: the left node gets no more records.
std::uint32_t split_index(std::uint32_t records) {
  const std::uint32_t a = (records + 1) / 2;
  const std::uint32_t b = (records + 1 - a) / 2;
  const std::uint32_t c = (records + 1 - a - b) / 2;
  return a + b + c;
}

void move_tail(BTAudioNode *from, std::uint32_t index, BTAudioNode *to) {
  const std::uint32_t count = record_count(from);
  if (index >= count) return;
  for (std::uint32_t i = index; i < count; ++i) {
    BTAudioNodeInsertRecord(to, i - index, BTAudioNodeGetRecord(from, i), BTAudioNodeGetRecordSize(from, i));
  }
  // The table's entry of the first record that left is where free space begins now.
  BTAudioNodeGetDescriptor(from)->records = static_cast<std::uint16_t>(index);
  from->block->dirty = 1;
}

}  // namespace

BTAudioNodeOwner BTAudioBufferSplitNode(BTAudioBuffer *buffer, BTAudioNode *node) {
  BTAudioNodeOwner added = BTAudioBufferGetFreeNode(buffer);
  if (!added) return nullptr;
  BTAudioNodeDescriptor *const left = BTAudioNodeGetDescriptor(node);
  BTAudioNodeDescriptor *const right = BTAudioNodeGetDescriptor(added.get());
  BTAudioNodeOwner neighbour;
  if (left->next != 0 && !(neighbour = BTAudioBufferGetNode(buffer, left->next))) {
    BTAudioBufferFreeNode(buffer, added.get());
    return nullptr;
  }
  right->type = left->type;
  right->level = left->level;
  right->prev = node->bid;
  right->next = left->next;
  move_tail(node, split_index(left->records), added.get());
  left->next = added->bid;
  if (neighbour) {
    BTAudioNodeGetDescriptor(neighbour.get())->prev = added->bid;
    neighbour->block->dirty = 1;
  }
  if (buffer->lastLeaf == node->bid) buffer->lastLeaf = added->bid;
  node->block->dirty = added->block->dirty = 1;
  return added;
}

}  // namespace auspool::audiskdelay
