#include <auspool/auheap.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

#include "support/watch.h"

namespace auspool {
namespace {

struct Item {
  int key;
  int serial;
};

int earlier(const void *a, const void *b, void *calls) {
  if (calls) ++*static_cast<int *>(calls);
  return static_cast<const Item *>(a)->key < static_cast<const Item *>(b)->key;
}

using Heap = std::unique_ptr<auheap, decltype(&auheap_destroy)>;

Heap make_heap(int capacity, int *calls = nullptr) {
  return {auheap_create(capacity, earlier, calls), auheap_destroy};
}

std::vector<int> drain(auheap *heap) {
  std::vector<int> serials;
  while (const void *item = auheap_get_and_remove_minimum(heap))
    serials.push_back(static_cast<const Item *>(item)->serial);
  return serials;
}

TEST(Heap, AnEmptyOneGivesNull) {
  const Heap heap = make_heap(4);
  EXPECT_EQ(auheap_get_minimum(heap.get()), nullptr);
  EXPECT_EQ(auheap_get_and_remove_minimum(heap.get()), nullptr);
}

TEST(Heap, GivesItemsInOrder) {
  std::mt19937 random(1);
  for (int size = 1; size < 60; ++size) {
    std::vector<Item> items;
    for (int i = 0; i < size; ++i) items.push_back({i, i});
    std::shuffle(items.begin(), items.end(), random);
    const Heap heap = make_heap(size);
    for (Item &item : items) ASSERT_TRUE(auheap_add(heap.get(), &item));
    for (int i = 0; i < size; ++i) {
      EXPECT_EQ(static_cast<Item *>(auheap_get_minimum(heap.get()))->key, i);
      EXPECT_EQ(static_cast<Item *>(auheap_get_and_remove_minimum(heap.get()))->key, i);
    }
  }
}

TEST(Heap, AFullOneRefusesUntilAnItemLeaves) {
  Item items[] = {{3, 0}, {2, 1}, {1, 2}};
  const Heap heap = make_heap(2);
  EXPECT_EQ(auheap_add(heap.get(), &items[0]), 1);
  EXPECT_EQ(auheap_add(heap.get(), &items[1]), 1);
  EXPECT_EQ(auheap_add(heap.get(), &items[2]), 0);
  EXPECT_EQ(auheap_get_minimum(heap.get()), &items[1]);
  auheap_get_and_remove_minimum(heap.get());
  EXPECT_EQ(auheap_add(heap.get(), &items[2]), 1);
}

TEST(Heap, OfEqualKeysTheNewestRises) {
  Item items[] = {{1, 0}, {1, 1}};
  const Heap heap = make_heap(2);
  auheap_add(heap.get(), &items[0]);
  auheap_add(heap.get(), &items[1]);
  EXPECT_EQ(drain(heap.get()), (std::vector<int>{1, 0}));
}

TEST(Heap, OfTwoEqualChildrenTheRightOneIsTaken) {
  // In the array: 0, 5a, 5b, 9. Removing 0 brings 9 to the root; both children are equal and the right one rises.
  Item items[] = {{0, 0}, {5, 1}, {5, 2}, {9, 3}};
  const Heap heap = make_heap(4);
  for (Item &item : items) auheap_add(heap.get(), &item);
  EXPECT_EQ(drain(heap.get()), (std::vector<int>{0, 2, 1, 3}));
}

TEST(Heap, AnEqualChildDoesNotRise) {
  // In the array: 0, 5a, 7, 5b. Removing 0 brings 5b to the root, where its equal stays below it.
  Item items[] = {{0, 0}, {5, 1}, {7, 2}, {5, 3}};
  const Heap heap = make_heap(4);
  // 5b would rise above 5a when added, so it comes in first and is passed by 5a.
  for (const int i : {0, 3, 2, 1}) auheap_add(heap.get(), &items[i]);
  EXPECT_EQ(drain(heap.get()), (std::vector<int>{0, 3, 1, 2}));
}

TEST(Heap, AsksItsOrderWithTheGivenContext) {
  int calls = 0;
  Item items[] = {{1, 0}, {2, 1}};
  const Heap heap = make_heap(2, &calls);
  for (Item &item : items) auheap_add(heap.get(), &item);
  EXPECT_EQ(calls, 1);
}

int destroyed = 0;

TEST(Heap, DestroyingWithACallbackMeetsEachItemHeld) {
  Item items[] = {{1, 0}, {2, 1}, {3, 2}};
  auheap *heap = auheap_create(3, earlier, nullptr);
  for (Item &item : items) auheap_add(heap, &item);
  auheap_get_and_remove_minimum(heap);
  destroyed = 0;
  auheap_destroy_with_callback(heap, [](void *item) { destroyed += static_cast<Item *>(item)->key; });
  EXPECT_EQ(destroyed, 5);
  auheap_destroy_with_callback(auheap_create(3, earlier, nullptr), [](void *) { FAIL(); });
  auheap_destroy_with_callback(nullptr, nullptr);
  auheap_destroy(nullptr);
}

TEST(Heap, CapacitiesBelowOneHoldNothing) {
  EXPECT_EQ(auheap_create(-1, earlier, nullptr), nullptr);
  Item item = {1, 0};
  const Heap heap = make_heap(0);
  ASSERT_TRUE(heap);
  EXPECT_EQ(auheap_add(heap.get(), &item), 0);
}

TEST(Heap, CreationSurvivesAFailedAllocation) {
  EXPECT_EQ(testing::fail_each_allocation([] { return make_heap(16) != nullptr; }), 2);
}

TEST(Heap, NeverAllocatesAfterCreation) {
  Item items[] = {{3, 0}, {1, 1}, {2, 2}};
  const Heap heap = make_heap(3);
  const testing::RealtimeGuard guard;
  for (Item &item : items) auheap_add(heap.get(), &item);
  while (auheap_get_and_remove_minimum(heap.get())) {
  }
}

}  // namespace
}  // namespace auspool
