// What a record shares with the recording that runs on it.
#pragma once

#include <cstdint>
#include <memory>

#include "auspool/ausampler.h"
#include "auspool/rbuffer.h"
#include "auspool/smeter.h"
#include "base/handle.h"
#include "base/relaxed.h"
#include "platform/semaphore.h"
#include "platform/spin_lock.h"

namespace auspool {

using RingPtr = std::unique_ptr<rbuffer, DestroyWith<rbuffer_destroy>>;
using SamplerPtr = std::unique_ptr<ausampler, DestroyWith<ausampler_destroy>>;
using MeterPtr = std::unique_ptr<smeter, DestroyWith<smeter_destroy>>;

enum SilenceMode : std::int32_t { kSilenceOff = 0, kSilenceSkip = 1, kSilenceSplit = 2, kSilenceStop = 3 };

// The control thread writes the settings while worker and audio thread read them.
struct ext_vars_t {
  // Read and written as one: a number of the one unit is never met with the other.
  struct alignas(8) Limit {
    std::int32_t value;  // seconds or bytes, 0 for none
    std::int32_t limit_is_time;
  };
  Relaxed<Limit> limit{Limit{0, 0}};
  Relaxed<std::uint32_t> skip_handler_action{0};
  platform::Semaphore semaphore;  // wakes the worker
  RingPtr ring;                   // interleaved stereo float frames, written by the audio thread, read by the worker
  platform::SpinLock ring_lock;   // held while the ring's storage is changed or written
  SamplerPtr sampler;             // the worker's
  MeterPtr meter;                 // the audio thread's while a recording runs
  Relaxed<std::int32_t> silence_mode{kSilenceOff};
  Relaxed<float> silence_time{0};  // seconds of silence that arm the mode
  // What the control thread wishes of the meter; the audio thread, whose meter it is, follows at its next block.
  Relaxed<float> silence_threshold_db{-120.0f};
  Relaxed<std::uint32_t> meter_resets{0};
};

}  // namespace auspool
