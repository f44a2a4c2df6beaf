#include "platform/audio_device/notifier.h"

#include <gtest/gtest.h>

#include <atomic>
#include <new>

#include "support/sound_server.h"
#include "support/watch.h"

namespace auspool::platform {
namespace {

DeviceStatus count(ObjectId, std::uint32_t, const PropertyAddress *, void *calls) {
  ++*static_cast<std::atomic<int> *>(calls);
  return 0;
}

TEST(Notifier, CallsWhoListensToWhatIsPosted) {
  std::atomic<int> rate = 0, frames = 0;
  Notifier notifier;
  notifier.listeners.add(2, kNominalRate, count, &rate);
  notifier.listeners.add(2, kBufferFrames, count, &frames);
  notifier.post(2, kNominalRate);
  notifier.post(3, kBufferFrames);
  EXPECT_TRUE(testing::eventually([&] { return rate == 1; }));
  EXPECT_EQ(frames, 0);
}

TEST(Notifier, PostsWithoutMemoryOnceThereIsRoom) {
  std::atomic<int> calls = 0;
  Notifier notifier;
  notifier.listeners.add(2, kNominalRate, count, &calls);
  {
    const testing::AllocationFailer first(1);
    EXPECT_THROW(notifier.make_room(), std::bad_alloc);
  }
  notifier.make_room();
  const testing::AllocationFailer first(1);
  notifier.post(2, kNominalRate);
  EXPECT_FALSE(first.failed());
  EXPECT_TRUE(testing::eventually([&] { return calls == 1; }));
}

}  // namespace
}  // namespace auspool::platform
