#include <auspool/auptrbuf.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace auspool {
namespace {

std::atomic<long> destroyed_sum;

void destroy(void *ptr) {
  auto *value = static_cast<long *>(ptr);
  destroyed_sum += *value;
  delete value;
}

TEST(PointerQueueThreads, EveryPointerComesOutOnceAndIsDestroyedOnce) {
  constexpr int kProducers = 3;
  constexpr long kEach = 20000;
  destroyed_sum = 0;
  auptrbuf *queue = auptrbuf_create(destroy);
  std::vector<std::thread> producers;
  for (int p = 0; p < kProducers; ++p) {
    producers.emplace_back([&] {
      for (long i = 1; i <= kEach; ++i) auptrbuf_add(queue, new long(i));
    });
  }
  long taken = 0, sum = 0;
  while (taken < kProducers * kEach) {
    auptrbuf_node *node = auptrbuf_get_and_remove_node(queue);
    if (!node) {
      std::this_thread::yield();
      continue;
    }
    sum += *static_cast<long *>(auptrbuf_node_get_ptr(node));
    ++taken;
    auptrbuf_free_node(queue, node);
  }
  for (std::thread &producer : producers) producer.join();
  auptrbuf_destroy(queue);
  const long expected = kProducers * kEach * (kEach + 1) / 2;
  EXPECT_EQ(sum, expected);
  EXPECT_EQ(destroyed_sum, expected);
}

}  // namespace
}  // namespace auspool
