#include "buffers/auptrbuf.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <new>

#include "platform/spin_lock.h"

namespace {

using Stack = std::atomic<auptrbuf_node *>;

void push(Stack &stack, auptrbuf_node *node) {
  node->next = stack.load(std::memory_order_relaxed);
  while (!stack.compare_exchange_weak(node->next, node, std::memory_order_release, std::memory_order_relaxed)) {
  }
}

// For the stack's only popper. Nothing but the head can change under it, and no node is freed before the popper has
// given it back, so the head's `next` may be read without more ado.
auptrbuf_node *pop(Stack &stack) {
  auptrbuf_node *head = stack.load(std::memory_order_acquire);
  while (head && !stack.compare_exchange_weak(head, head->next, std::memory_order_acquire)) {
  }
  return head;
}

void destroy_all(Stack &stack, auptrbuf_free_callback free_callback) {
  auptrbuf_node *node = stack.exchange(nullptr, std::memory_order_acquire);
  while (node) {
    const std::unique_ptr<auptrbuf_node> owner(node);
    free_callback(node->ptr);
    node = node->next;
  }
}

}  // namespace

struct auptrbuf {
  auptrbuf_free_callback free_callback;
  Stack pending{nullptr};   // added, waiting for the consumer
  Stack finished{nullptr};  // given back by the consumer
  auspool::platform::SpinLock lock;
};

auptrbuf *auptrbuf_create(auptrbuf_free_callback free_callback) {
  return new (std::nothrow) auptrbuf{.free_callback = free_callback, .lock = {}};
}

void auptrbuf_destroy(auptrbuf *queue) {
  if (!queue) return;
  destroy_all(queue->pending, queue->free_callback);
  destroy_all(queue->finished, queue->free_callback);
  delete queue;
}

void auptrbuf_add(auptrbuf *queue, void *ptr) {
  auto *node = new (std::nothrow) auptrbuf_node{nullptr, ptr};
  if (!node) {
    queue->free_callback(ptr);
    return;
  }
  const std::lock_guard hold(queue->lock);
  push(queue->pending, node);
  destroy_all(queue->finished, queue->free_callback);
}

auptrbuf_node *auptrbuf_get_and_remove_node(auptrbuf *queue) {
  return pop(queue->pending);
}

void *auptrbuf_node_get_ptr(const auptrbuf_node *node) {
  return node->ptr;
}

void auptrbuf_free_node(auptrbuf *queue, auptrbuf_node *node) {
  push(queue->finished, node);
}
