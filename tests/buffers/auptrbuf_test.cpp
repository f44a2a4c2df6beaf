#include <auspool/auptrbuf.h>
#include <gtest/gtest.h>

#include <vector>

#include "support/watch.h"

namespace auspool {
namespace {

std::vector<int> destroyed;  // keys, in the order of destruction

void destroy(void *ptr) {
  destroyed.push_back(*static_cast<int *>(ptr));
}

int take(auptrbuf *queue) {
  auptrbuf_node *node = auptrbuf_get_and_remove_node(queue);
  if (!node) return -1;
  const int key = *static_cast<int *>(auptrbuf_node_get_ptr(node));
  auptrbuf_free_node(queue, node);
  return key;
}

class PointerQueue : public ::testing::Test {
protected:
  void SetUp() override {
    destroyed.clear();
    queue = auptrbuf_create(destroy);
    ASSERT_NE(queue, nullptr);
  }
  void TearDown() override { auptrbuf_destroy(queue); }

  auptrbuf *queue = nullptr;
  int keys[5] = {0, 1, 2, 3, 4};
};

TEST_F(PointerQueue, GivesTheNewestFirst) {
  for (int i = 0; i < 3; ++i) auptrbuf_add(queue, &keys[i]);
  EXPECT_EQ(take(queue), 2);
  EXPECT_EQ(take(queue), 1);
  EXPECT_EQ(take(queue), 0);
  EXPECT_EQ(auptrbuf_get_and_remove_node(queue), nullptr);
}

TEST_F(PointerQueue, DestroysWhatWasGivenBackAtTheNextAddNewestFirst) {
  auptrbuf_add(queue, &keys[0]);
  auptrbuf_add(queue, &keys[1]);
  take(queue);
  take(queue);
  EXPECT_TRUE(destroyed.empty());
  auptrbuf_add(queue, &keys[2]);
  EXPECT_EQ(destroyed, (std::vector<int>{0, 1}));  // 0 was given back last
}

TEST_F(PointerQueue, DestructionTakesWhatWaitsAndThenWhatIsFinished) {
  for (int &key : keys) auptrbuf_add(queue, &key);
  take(queue);
  take(queue);
  auptrbuf_destroy(queue);
  queue = nullptr;
  EXPECT_EQ(destroyed, (std::vector<int>{2, 1, 0, 3, 4}));
}

TEST_F(PointerQueue, APointerThatFindsNoMemoryIsDestroyedAtOnce) {
  const testing::AllocationFailer failer(1);
  auptrbuf_add(queue, &keys[3]);
  EXPECT_EQ(take(queue), -1);
  EXPECT_EQ(destroyed, std::vector<int>{3});
}

TEST_F(PointerQueue, TheConsumerIsFitForTheRealTimeThread) {
  const auto consume = [&] {
    const testing::RealtimeGuard guard;
    EXPECT_NE(take(queue), -1);
  };
  for (int &key : keys) auptrbuf_add(queue, &key);
  consume();
  testing::run_without_system_calls(consume);
}

TEST(PointerQueueCreation, SurvivesAFailedAllocation) {
  EXPECT_EQ(testing::fail_each_allocation([] {
              auptrbuf *queue = auptrbuf_create(destroy);
              auptrbuf_destroy(queue);
              return queue != nullptr;
            }),
            1);
}

}  // namespace
}  // namespace auspool
