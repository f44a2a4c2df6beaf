#include "audiskdelay/BTAudioBuffer/checks.h"
#include "audiskdelay/BTAudioBuffer/node.h"
#include "audiskdelay/BTAudioBuffer/nodes.h"
#include "audiskdelay/BTAudioBuffer/tree.h"

namespace auspool::audiskdelay {
namespace {

BTAudioNodeOwner find_leaf(BTAudioBuffer *buffer, BTAudioKey key) {
  if (buffer->root == 0) return nullptr;
  BTAudioNodeOwner node = BTAudioBufferGetNode(buffer, buffer->root);
  while (node && BTAudioNodeGetDescriptor(node.get())->type == kBTAudioIndexNode) {
    node = child_at(buffer, node.get(), choose_child(node.get(), key));
  }
  if (node) {
    assert_that((BTAudioNodeGetDescriptor(node.get()))->type == kBTAudioLeafNode,
                "(BTAudioNodeGetDescriptor(node))->type == kBTAudioLeafNode");
  }
  return node;
}

// The record before the one at `*index`, in this leaf or the one at its left.
BTAudioNodeOwner find_record_before(BTAudioBuffer *buffer, BTAudioNodeOwner node, BTAudioKey key,
                                    std::uint32_t *index) {
  if (*index == 0) {
    const BTAudioBID prev = BTAudioNodeGetDescriptor(node.get())->prev;
    if (prev == 0) return nullptr;
    node = BTAudioBufferGetNode(buffer, prev);
    if (!node) return nullptr;
    const std::uint32_t recordCount = record_count(node.get());
    assert_that(recordCount > 0, "recordCount > 0");
    *index = recordCount;
  }
  --*index;
  // Kinds do not mix: before one of another kind there are only more of that.
  return key_at(node.get(), *index)->sorts_with(key) ? std::move(node) : nullptr;
}

}  // namespace

BTAudioNodeOwner BTAudioBufferFindRecord(BTAudioBuffer *buffer, const BTAudioKey *key, bool exact,
                                         std::uint32_t *index) {
  return undisturbed(buffer, [&]() -> BTAudioNodeOwner {
    BTAudioNodeOwner node = find_leaf(buffer, *key);
    if (!node) return nullptr;
    *index = lower_bound(node.get(), *key);
    if (holds(node.get(), *index, *key)) return node;
    return exact ? nullptr : find_record_before(buffer, std::move(node), *key, index);
  });
}

BTAudioNodeOwner child_at(BTAudioBuffer *buffer, const BTAudioNode *node, std::uint32_t index) {
  return BTAudioBufferGetNode(buffer, record_at<BTAudioChild>(node, index)->bid);
}

}  // namespace auspool::audiskdelay
