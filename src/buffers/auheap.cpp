#include <auspool/auheap.h>

#include <memory>
#include <new>
#include <utility>

struct auheap {
  std::unique_ptr<void *[]> items;  // the children of item i are items 2 i + 1 and 2 i + 2
  std::uint32_t count;
  std::uint32_t capacity;
  auheap_less_than less_than;
  void *context;

  bool less(std::uint32_t a, std::uint32_t b) const { return less_than(items[a], items[b], context) != 0; }
};

namespace {

// Moves the item at `i` towards the root. It passes a parent that compares equal.
void sift_up(auheap &heap, std::uint32_t i) {
  void *const item = heap.items[i];
  while (i > 0) {
    const std::uint32_t parent = (i - 1) / 2;
    if (heap.less_than(heap.items[parent], item, heap.context)) break;
    heap.items[i] = heap.items[parent];
    i = parent;
  }
  heap.items[i] = item;
}

// Moves the item at the root down among the first `size` items. Of two equal children the right one rises.
void sift_down(auheap &heap, std::uint32_t size) {
  void *const moved = heap.items[0];
  std::uint32_t i = 0;
  for (std::uint32_t child = 1; child < size; child = 2 * i + 1) {
    if (child + 1 < size && !heap.less(child, child + 1)) ++child;
    if (!heap.less_than(heap.items[child], moved, heap.context)) break;
    heap.items[i] = heap.items[child];
    i = child;
  }
  heap.items[i] = moved;
}

}  // namespace

auheap *auheap_create(std::int32_t capacity, auheap_less_than less_than, void *context) {
  if (capacity < 0) return nullptr;
  const auto places = static_cast<std::uint32_t>(capacity);
  std::unique_ptr<void *[]> items(new (std::nothrow) void *[places]());
  if (!items) return nullptr;
  return new (std::nothrow) auheap{std::move(items), 0, places, less_than, context};
}

void auheap_destroy(auheap *heap) {
  delete heap;
}

void auheap_destroy_with_callback(auheap *heap, void (*callback)(void *item)) {
  if (!heap) return;
  for (std::uint32_t i = 0; i < heap->count; ++i) callback(heap->items[i]);
  delete heap;
}

int auheap_add(auheap *heap, void *item) {
  if (heap->count >= heap->capacity) return 0;
  heap->items[heap->count] = item;
  sift_up(*heap, heap->count++);
  return 1;
}

void *auheap_get_minimum(const auheap *heap) {
  return heap->count > 0 ? heap->items[0] : nullptr;
}

void *auheap_get_and_remove_minimum(auheap *heap) {
  if (heap->count == 0) return nullptr;
  void *const minimum = heap->items[0];
  std::swap(heap->items[0], heap->items[--heap->count]);
  sift_down(*heap, heap->count);
  return minimum;
}
