// The second generation: a store of 16-bit audio that knows silence and gaps.
#pragma once

#include <memory>
#include <mutex>

#include "audiskdelay/BTAudioBuffer/BTAudioBuffer.h"
#include "auspool/audiskdelay2.h"
#include "auspool/rbuffer.h"
#include "base/handle.h"
#include "base/relaxed.h"
#include "platform/power.h"
#include "platform/thread.h"

struct audiskdelay2 {
  using Ring = std::unique_ptr<rbuffer, auspool::DestroyWith<rbuffer_destroy>>;
  using Store = std::unique_ptr<auspool::audiskdelay::BTAudioBuffer,
                                auspool::DestroyWith<auspool::audiskdelay::BTAudioBufferDestroy>>;
  static constexpr std::int32_t kScratchBytes = 16384;

  float rate = 0;
  std::int32_t bytes_per_frame = 4;  // two samples of 16 bits
  std::uint64_t delay_frames = 0;    // in the store, not yet moved to the read ring
  std::uint64_t silent_frames = 0;   // of the present run of frames that are all zero
  std::uint64_t silence_threshold = 0, max_frames = 0;
  Store store;
  Ring write_ring, read_ring;
  std::unique_ptr<std::uint8_t[]> scratch;  // the worker's
  std::uint32_t thread_started = 0;
  auspool::Relaxed<std::uint32_t> quit = 0;
  auspool::platform::Thread thread;
  std::mutex lock;  // guards `store`, `delay_frames`, `silent_frames` and `sleep_time`
  auspool::Relaxed<std::uint32_t> zero_delay_writeonly = 0;
  float last_reported = 0;  // seconds
  void *callback_context = nullptr;
  void (*size_callback)(void *context, float seconds) = nullptr;
  std::uint64_t sleep_time = 0;               // microseconds of the day at which sleep began, 0 when awake
  auspool::platform::PowerNotifier notifier;  // last: it ends before what its thread uses
};

namespace auspool::audiskdelay {

// Without its worker, and without listening for sleep.
std::unique_ptr<audiskdelay2, DestroyWith<audiskdelay2_destroy>> make_delay2(std::int32_t seconds,
                                                                             const audiskdelay2_callbacks *callbacks,
                                                                             float rate);

// What the worker does at one moment; whether audio moved.
bool pass(audiskdelay2 &delay);

// On the notifier's thread.
void power_callback(void *delay, std::uint32_t message_type);

}  // namespace auspool::audiskdelay
