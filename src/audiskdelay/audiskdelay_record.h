// The older generation: a plain ring in a file, and values out of band.
#pragma once

#include <memory>
#include <mutex>

#include "audiskdelay/oob_values.h"
#include "audiskdelay/ring_file.h"
#include "auspool/audiskdelay.h"
#include "auspool/rbuffer.h"
#include "base/handle.h"
#include "base/relaxed.h"
#include "platform/spin_lock.h"
#include "platform/thread.h"

struct audiskdelay {
  using Ring = std::unique_ptr<rbuffer, auspool::DestroyWith<rbuffer_destroy>>;
  static constexpr std::uint32_t kScratchBytes = 262144;

  float rate = 0;
  std::int32_t frame_size = 0;  // bytes
  auspool::audiskdelay::RingFile file;
  audiskdelay_callbacks callbacks{};
  Ring write_ring, read_ring;
  std::unique_ptr<std::uint8_t[]> scratch;  // the worker's

  std::uint32_t thread_started = 0;
  auspool::Relaxed<std::uint32_t> quit = 0;
  auspool::platform::Thread thread;
  std::mutex lock;  // guards `file`, `flush_pending`, `last_reported`, and changes of `oob_values` and `read_ring_end`

  auspool::Relaxed<std::uint32_t> zero_delay_writeonly = 0;
  bool flush_pending = false;  // the read ring holds what audio that was lost came after
  float last_reported = 0;     // seconds

  // Guards `read_ring_end` and whatever changes it together with what the ring holds. The reader only tries it.
  auspool::platform::SpinLock place_lock;
  std::uint64_t read_ring_end = 0;  // bytes of the stream up to the end of the read ring
  auspool::audiskdelay::OobValues oob_values;
  std::int64_t told_position = -1;  // the reader's: which entry oob_callback was last told

  double bytes_per_second() const { return static_cast<double>(rate) * frame_size; }
};

namespace auspool::audiskdelay {

// Without its worker.
std::unique_ptr<::audiskdelay, DestroyWith<audiskdelay_destroy>> make_delay(std::int32_t seconds, std::int32_t compact,
                                                                            const audiskdelay_callbacks *callbacks,
                                                                            float rate);

// What the worker does at one moment; whether audio moved.
bool pass(::audiskdelay &delay);

// Places in the stream, in frames: of what is stored next, for which the lock must be held, and of what is read next,
// for which it need not.
std::int64_t frame_stored_next(::audiskdelay &delay);
std::int64_t frame_read_next(::audiskdelay &delay);

// Under the lock.
void flush_read_ring(::audiskdelay &delay);

}  // namespace auspool::audiskdelay
