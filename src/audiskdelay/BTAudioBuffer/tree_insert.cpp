#include "audiskdelay/BTAudioBuffer/node.h"
#include "audiskdelay/BTAudioBuffer/nodes.h"
#include "audiskdelay/BTAudioBuffer/tree.h"

namespace auspool::audiskdelay {
namespace {

bool plant(BTAudioBuffer *buffer) {
  const BTAudioNodeOwner leaf = BTAudioBufferGetFreeNode(buffer);
  if (!leaf) return false;
  BTAudioNodeDescriptor *const descriptor = BTAudioNodeGetDescriptor(leaf.get());
  descriptor->type = kBTAudioLeafNode;
  descriptor->level = 1;
  buffer->firstLeaf = buffer->lastLeaf = buffer->root = leaf->bid;
  return true;
}

void insert_child(BTAudioNode *node, std::uint32_t index, const BTAudioNode *child) {
  const BTAudioChild record = {*key_at(child, 0), child->bid};
  BTAudioNodeInsertRecord(node, index, &record, sizeof record);
}

// Splits the root and puts a new one above both halves.
bool grow(BTAudioBuffer *buffer, BTAudioNode *root) {
  const BTAudioNodeOwner top = BTAudioBufferGetFreeNode(buffer);
  if (!top) return false;
  const BTAudioNodeOwner right = BTAudioBufferSplitNode(buffer, root);
  if (!right) {
    BTAudioBufferFreeNode(buffer, top.get());
    return false;
  }
  BTAudioNodeDescriptor *const descriptor = BTAudioNodeGetDescriptor(top.get());
  descriptor->type = kBTAudioIndexNode;
  descriptor->level = static_cast<std::uint8_t>(BTAudioNodeGetDescriptor(root)->level + 1);
  insert_child(top.get(), 0, root);
  insert_child(top.get(), 1, right.get());
  buffer->root = top->bid;
  return true;
}

int insert_into_leaf(BTAudioNode *node, const BTAudioKey *key, const void *data, std::uint32_t size) {
  if (!BTAudioNodeHasRoom(node, size)) return -1;
  const std::uint32_t index = lower_bound(node, *key);
  if (!holds(node, index, *key)) BTAudioNodeInsertRecord(node, index, data, size);
  return 1;
}

// Splits the child at `index`.
int split_child(BTAudioBuffer *buffer, BTAudioNode *node, std::uint32_t index, BTAudioNode *child) {
  if (!BTAudioNodeHasRoom(node, sizeof(BTAudioChild))) return -1;
  const BTAudioNodeOwner right = BTAudioBufferSplitNode(buffer, child);
  if (!right) return 0;
  insert_child(node, index + 1, right.get());
  return 1;
}

}  // namespace

int BTAudioBufferInsertNodeRecord(BTAudioBuffer *buffer, BTAudioNode *node, const BTAudioKey *key, const void *data,
                                  std::uint32_t size) {
  if (BTAudioNodeGetDescriptor(node)->type == kBTAudioLeafNode) return insert_into_leaf(node, key, data, size);
  if (record_count(node) == 0) return 0;
  for (;;) {
    const std::uint32_t index = choose_child(node, *key);
    const BTAudioNodeOwner child = child_at(buffer, node, index);
    if (!child) return 0;
    const int inserted = BTAudioBufferInsertNodeRecord(buffer, child.get(), key, data, size);
    if (inserted > 0) update_child_key(node, index, child.get());
    if (inserted >= 0) return inserted;
    const int split = split_child(buffer, node, index, child.get());
    if (split <= 0) return split;
  }
}

bool BTAudioBufferInsertRecord(BTAudioBuffer *buffer, const BTAudioKey *key, const void *data, std::uint32_t size) {
  const auto attempt = [&] {
    if (buffer->root == 0 && !plant(buffer)) return false;
    for (;;) {
      const BTAudioNodeOwner root = BTAudioBufferGetNode(buffer, buffer->root);
      const int inserted = root ? BTAudioBufferInsertNodeRecord(buffer, root.get(), key, data, size) : 0;
      if (inserted >= 0) return inserted > 0;
      if (!grow(buffer, root.get())) return false;
    }
  };
  if (!undisturbed(buffer, attempt)) return false;
  ++buffer->treeChanges;
  return true;
}

void update_child_key(BTAudioNode *node, std::uint32_t index, const BTAudioNode *child) {
  BTAudioKey *const key = key_at(node, index);
  if (key->word == key_at(child, 0)->word) return;
  *key = *key_at(child, 0);
  node->block->dirty = 1;
}

}  // namespace auspool::audiskdelay
