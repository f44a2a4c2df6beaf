// The record of `aupacketplayer`.
#pragma once

#include <cstdint>
#include <memory>

#include "auplayer/aupacketplayer/packets.h"
#include "auplayer/aupacketplayer/states.h"
#include "auspool/auheap.h"
#include "auspool/aupacketplayer.h"
#include "auspool/auptrbuf.h"
#include "auspool/ausampler.h"
#include "base/handle.h"
#include "base/relaxed.h"

namespace auspool {

inline constexpr std::int32_t kSampleBufferFrames = 81920;

inline void destroy_with_packets(auheap *heap) {
  auheap_destroy_with_callback(heap, free_heap_node);
}

}  // namespace auspool

// The control thread sets the callbacks, and shares the Relaxed words with the thread that gets frames. All else that
// moves belongs to the latter.
struct aupacketplayer {
  aupacketplayer_callbacks callbacks = {};
  aupacketplayer_log_callback log_callback;
  void *log_context;
  float sample_rate;
  auspool::Relaxed<double> time_adjustment = 0.0;
  auspool::Relaxed<std::uint32_t> pads_missing_audio = 1;
  auspool::Relaxed<std::uint32_t> resample_continuously = 1;
  std::unique_ptr<auptrbuf, auspool::DestroyWith<auptrbuf_destroy>> packets = nullptr;
  std::unique_ptr<auheap, auspool::DestroyWith<auspool::destroy_with_packets>> heap = nullptr;
  std::unique_ptr<ausampler, auspool::DestroyWith<ausampler_destroy>> sampler = nullptr;
  std::unique_ptr<float[]> sample_buffer = nullptr;  // what is left of the packet being played, or of padding
  std::int32_t sample_buffer_size = auspool::kSampleBufferFrames;
  std::int32_t sample_buffer_count = 0;   // frames held
  double last_timestamp = 0.0;            // of the last packet started
  double next_timestamp = 0.0;            // when the next packet is expected; 0 for unknown
  auspool::Relaxed<double> offset = 0.0;  // seconds, smoothed, from the playing time to the next packet's timestamp
  double previous_error = 0.0;
  double error_sum = 0.0;
  auspool::Relaxed<double> rate_correction = 0.0;
  std::uint32_t skip_derivative = 0;  // silence was inserted: the next step of the controller ignores the jump
  auspool::Relaxed<auspool::State> state = auspool::State::created;
  // Where the frames held begin in sample_buffer. Moving up to 640 KiB to its front would cost the real-time thread
  // more than all the rest.
  std::int32_t sample_buffer_start = 0;
};
