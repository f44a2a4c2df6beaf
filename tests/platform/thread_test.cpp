#include "platform/thread.h"

#include <atomic>
#include <csignal>

#include "support/watch.h"

using namespace auspool::platform;
using namespace auspool::testing;

namespace {

TEST(Thread, RunsAndIsJoined) {
  Thread thread;
  EXPECT_FALSE(thread.joinable());
  std::atomic<int> value{0};
  ASSERT_TRUE(thread.start(
      "test", 0, [](void *at) { *static_cast<std::atomic<int> *>(at) = 7; }, &value));
  EXPECT_TRUE(thread.joinable());
  thread.join();
  EXPECT_EQ(value, 7);
  EXPECT_FALSE(thread.joinable());
  thread.join();
}

TEST(Thread, CanBeStartedAgain) {
  Thread thread;
  std::atomic<int> count{0};
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(thread.start(
        "test", 0, [](void *at) { ++*static_cast<std::atomic<int> *>(at); }, &count));
    thread.join();
  }
  EXPECT_EQ(count, 3);
}

TEST(Thread, TheDestructorWaits) {
  std::atomic<bool> ended{false};
  {
    Thread thread;
    ASSERT_TRUE(thread.start(
        "test", 0, [](void *at) { *static_cast<std::atomic<bool> *>(at) = true; }, &ended));
  }
  EXPECT_TRUE(ended);
}

TEST(Thread, AFailureIsReported) {
  Thread thread;
  const CallFailer failer("pthread_create", 2, EAGAIN);
  EXPECT_TRUE(thread.start(
      "test", 0, [](void *) {}, nullptr));
  thread.join();
  EXPECT_FALSE(thread.start(
      "test", 0, [](void *) {}, nullptr));
  EXPECT_FALSE(thread.joinable());
  EXPECT_TRUE(thread.start(
      "test", 0, [](void *) {}, nullptr));
}

// What the thread finds about itself.
struct Seen {
  std::size_t stack = 0;
  char name[16] = {};
  sigset_t blocked;

  static void look(void *at) {
    Seen &seen = *static_cast<Seen *>(at);
    pthread_attr_t attributes;
    pthread_getattr_np(pthread_self(), &attributes);
    pthread_attr_getstacksize(&attributes, &seen.stack);
    pthread_attr_destroy(&attributes);
    pthread_sigmask(SIG_SETMASK, nullptr, &seen.blocked);
  }
};

TEST(Thread, TheStackIsAtLeastAsLargeAsAsked) {
  std::size_t usual = 0;
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_getstacksize(&attributes, &usual);
  pthread_attr_destroy(&attributes);
  for (const std::size_t wanted : {std::size_t{0}, std::size_t{65536}, usual + (4 << 20)}) {
    Seen seen;
    Thread thread;
    ASSERT_TRUE(thread.start("test", wanted, Seen::look, &seen));
    thread.join();
    EXPECT_GE(seen.stack, std::max(wanted, usual)) << "never below the default";
  }
}

TEST(Thread, AllSignalsAreBlockedOnIt) {
  Seen seen;
  Thread thread;
  ASSERT_TRUE(thread.start("test", 0, Seen::look, &seen));
  thread.join();
  for (const int signal : {SIGINT, SIGTERM, SIGALRM, SIGUSR1}) EXPECT_EQ(sigismember(&seen.blocked, signal), 1);
  sigset_t own;
  pthread_sigmask(SIG_SETMASK, nullptr, &own);
  EXPECT_EQ(sigismember(&own, SIGUSR1), 0) << "and on no other";
}

TEST(Thread, IsPreferredWhereTheSystemAllowsIt) {
  struct Found {
    bool preferred = false;
    int policy = -1;
    static void look(void *at) {
      Found &found = *static_cast<Found *>(at);
      found.preferred = prefer_this_thread();
      sched_param parameters{};
      pthread_getschedparam(pthread_self(), &found.policy, &parameters);
    }
  } found;
  Thread thread;
  ASSERT_TRUE(thread.start("test", 0, Found::look, &found));
  thread.join();
  EXPECT_EQ(found.policy, found.preferred ? SCHED_FIFO : SCHED_OTHER);
  int own = -1;
  sched_param parameters{};
  pthread_getschedparam(pthread_self(), &own, &parameters);
  EXPECT_EQ(own, SCHED_OTHER) << "and no other thread is";
}

}  // namespace
