#include "audiskdelay/BTAudioBuffer/nodes.h"

#include "audiskdelay/BTAudioBuffer/cache.h"
#include "audiskdelay/BTAudioBuffer/checks.h"
#include "audiskdelay/BTAudioBuffer/node.h"

namespace auspool::audiskdelay {
namespace {

// The first use of a node keeps the reference that fetching its block gave; later ones drop theirs.
BTAudioNodeOwner use(BTAudioBlockOwner fetched, BTAudioBID bid) {
  BTAudioNode *const node = &fetched->nodes[node_place_of(bid)];
  if (++node->refcnt == 1) {
    node->bid = bid;
    fetched.release();
  } else {
    constexpr std::int32_t extra = 1;
    assert_that(fetched->refcnt > extra, "block->refcnt > extra");
  }
  return BTAudioNodeOwner(node);
}

}  // namespace

void BTAudioNodeRelease(BTAudioNode *node) {
  if (!node) return;
  assert_that(node->refcnt >= 1, "node->refcnt >= 1");
  if (--node->refcnt == 0) BTAudioBlockRelease(node->block);
}

BTAudioNodeOwner BTAudioBufferGetNode(BTAudioBuffer *buffer, BTAudioBID bid) {
  BTAudioBlockOwner block = BTAudioBufferGetCacheBlockWithBID(buffer, bid);
  return block ? use(std::move(block), bid) : nullptr;
}

void BTAudioBufferAddFreeNodes(BTAudioBuffer *buffer, BTAudioCacheBlock *block) {
  for (std::uint32_t place = kBTAudioNodesPerBlock; place-- > 0;) {
    BTAudioNode *const node = &block->nodes[place];
    node->bid = block->bid | place;
    if (node->bid != 0) BTAudioBufferFreeNode(buffer, node);
  }
}

BTAudioNodeOwner BTAudioBufferGetFreeNode(BTAudioBuffer *buffer) {
  if (buffer->firstFreeNode == 0) {
    const std::uint64_t before = buffer->treeChanges;
    const BTAudioBlockOwner block = BTAudioBufferGetCacheBlock(buffer, true, 0);
    if (!block) return nullptr;
    BTAudioBufferAddFreeNodes(buffer, block.get());
    if (buffer->treeChanges != before) return nullptr;
  }
  BTAudioNodeOwner node = BTAudioBufferGetNode(buffer, buffer->firstFreeNode);
  if (!node) return nullptr;
  BTAudioNodeDescriptor *const descriptor = BTAudioNodeGetDescriptor(node.get());
  buffer->firstFreeNode = descriptor->next;
  --buffer->freeNodeCount;
  descriptor->next = 0;
  node->block->dirty = 1;
  return node;
}

void BTAudioBufferFreeNode(BTAudioBuffer *buffer, BTAudioNode *node) {
  BTAudioNodeReset(node);
  BTAudioNodeGetDescriptor(node)->next = buffer->firstFreeNode;
  buffer->firstFreeNode = node->bid;
  ++buffer->freeNodeCount;
}

}  // namespace auspool::audiskdelay
