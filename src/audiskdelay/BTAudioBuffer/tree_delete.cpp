#include "audiskdelay/BTAudioBuffer/node.h"
#include "audiskdelay/BTAudioBuffer/nodes.h"
#include "audiskdelay/BTAudioBuffer/tree.h"

namespace auspool::audiskdelay {
namespace {

// The neighbours of a node that may go, fetched before anything changes so that nothing can fail half way.
struct Neighbours {
  BTAudioNodeOwner prev, next;

  bool fetch(BTAudioBuffer *buffer, const BTAudioNode *node) {
    const BTAudioNodeDescriptor *const descriptor = BTAudioNodeGetDescriptor(node);
    return fetch(buffer, descriptor->prev, prev) && fetch(buffer, descriptor->next, next);
  }

private:
  static bool fetch(BTAudioBuffer *buffer, BTAudioBID bid, BTAudioNodeOwner &to) {
    if (bid != 0) to = BTAudioBufferGetNode(buffer, bid);
    return bid == 0 || to;
  }
};

// Links the neighbours with each other and frees the node.
void remove_node(BTAudioBuffer *buffer, BTAudioNode *node, const Neighbours &around) {
  const BTAudioBID prev = BTAudioNodeGetDescriptor(node)->prev, next = BTAudioNodeGetDescriptor(node)->next;
  if (around.prev) {
    BTAudioNodeGetDescriptor(around.prev.get())->next = next;
    around.prev->block->dirty = 1;
  }
  if (around.next) {
    BTAudioNodeGetDescriptor(around.next.get())->prev = prev;
    around.next->block->dirty = 1;
  }
  if (buffer->firstLeaf == node->bid) buffer->firstLeaf = next;
  if (buffer->lastLeaf == node->bid) buffer->lastLeaf = prev;
  BTAudioBufferFreeNode(buffer, node);
}

bool delete_from_leaf(BTAudioNode *node, BTAudioKey key) {
  const std::uint32_t index = lower_bound(node, key);
  if (!holds(node, index, key)) return false;
  BTAudioNodeDeleteRecord(node, index);
  return true;
}

bool delete_from_child(BTAudioBuffer *buffer, BTAudioNode *node, const BTAudioKey *key) {
  const std::uint32_t index = choose_child(node, *key);
  const BTAudioNodeOwner child = child_at(buffer, node, index);
  if (!child) return false;
  Neighbours around;
  if (record_count(child.get()) == 1 && !around.fetch(buffer, child.get())) return false;
  if (!BTAudioBufferDeleteNodeRecord(buffer, child.get(), key)) return false;
  if (record_count(child.get()) > 0) {
    update_child_key(node, index, child.get());
  } else {
    BTAudioNodeDeleteRecord(node, index);
    remove_node(buffer, child.get(), around);
  }
  return true;
}

}  // namespace

bool BTAudioBufferDeleteNodeRecord(BTAudioBuffer *buffer, BTAudioNode *node, const BTAudioKey *key) {
  if (BTAudioNodeGetDescriptor(node)->type == kBTAudioLeafNode) return delete_from_leaf(node, *key);
  if (record_count(node) == 0 || !delete_from_child(buffer, node, key)) return false;
  if (record_count(node) == 1 && buffer->root == node->bid) {
    buffer->root = record_at<BTAudioChild>(node, 0)->bid;  // one level at each deletion, even if more could go
    remove_node(buffer, node, {});
  }
  return true;
}

bool BTAudioBufferDeleteRecord(BTAudioBuffer *buffer, const BTAudioKey *key) {
  const bool deleted = undisturbed(buffer, [&] {
    if (buffer->root == 0) return false;
    const BTAudioNodeOwner root = BTAudioBufferGetNode(buffer, buffer->root);
    if (!root || !BTAudioBufferDeleteNodeRecord(buffer, root.get(), key)) return false;
    if (buffer->root == root->bid && record_count(root.get()) == 0) {
      BTAudioBufferFreeNode(buffer, root.get());
      buffer->firstLeaf = buffer->lastLeaf = buffer->root = 0;
    }
    return true;
  });
  if (deleted) ++buffer->treeChanges;
  return deleted;
}

}  // namespace auspool::audiskdelay
