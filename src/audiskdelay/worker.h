// The thread that moves audio between rings and disk, the same in both generations. A delay has the words `quit`,
// `thread_started` and `thread`, and `bool pass(Delay &)` does what there is to do at one moment and tells whether any
// audio moved. All of a pass runs under the delay's lock.
#pragma once

#include <unistd.h>

#include <mutex>

#include "platform/thread.h"

namespace auspool::audiskdelay {

template <typename Delay>
void delay_loop_run(void *argument) {
  constexpr useconds_t kIdle = 1000;
  auto &delay = *static_cast<Delay *>(argument);
  (void)platform::prefer_this_thread();
  while (!delay.quit) {
    if (!pass(delay)) usleep(kIdle);
  }
}

template <typename Delay>
bool start_worker(Delay &delay) {
  delay.thread_started = delay.thread.start("auspool delay", 0, delay_loop_run<Delay>, &delay);
  return delay.thread_started;
}

template <typename Delay>
void stop_worker(Delay &delay) {
  if (!delay.thread_started) return;
  delay.quit = 1;
  delay.thread.join();
}

}  // namespace auspool::audiskdelay
