// What both generations of the player are: the record, its states, the device, the IO thread's pass and the host's
// side.
//
// A generation supplies what differs, the resampler and the audio callback, through the virtual functions.
//
// `control` is held by whatever starts, stops or restarts IO: the host, or the listener thread when the default device
// changes. The IO thread and device_listener_proc never take it, for who holds it waits for them. `lock` is held only
// around the writing into the ring and its resizing, so that a host's play never waits for a device. `options_lock`
// guards the options alone, so that an audio callback may ask for them while somebody stops the player. `rate_lock` is
// held from a look at the device's rate until it is stored: of two threads that look at once, none then stores the
// older.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "auplayer/buffer_info.h"
#include "auspool/auplayer.h"
#include "auspool/rbuffer.h"
#include "base/relaxed.h"
#include "platform/audio_device.h"

namespace auspool {

class Player {
public:
  Player();  // throws std::bad_alloc
  virtual ~Player() = default;
  Player(const Player &) = delete;
  Player &operator=(const Player &) = delete;

  // ---- The host's calls ----
  std::int32_t start();
  void stop();
  void set_options(const AuPlayerOptions &options);
  AuPlayerOptions read_options() const;
  bool is_playing() const;
  float buffer_length() const;
  float now_playing() const;

  // Writes a block into the ring, at any stride, unless it is being resized.
  void play(const au_channel_pair &channels, std::int32_t stride, std::uint32_t frames, float rate);
  void play_wait(const au_channel_pair &channels, std::int32_t stride, std::uint32_t frames, float rate);

  // To be called last in the constructor of a generation, and first in its destructor: the listener thread and the IO
  // thread call its functions. listen throws std::bad_alloc.
  void listen();
  void stop_listening();

  // ---- What devices call; so may any other source of passes and changes ----
  static platform::DeviceStatus hw_listener_proc(platform::ObjectId, std::uint32_t count,
                                                 const platform::PropertyAddress *addresses, void *self);
  static platform::DeviceStatus device_listener_proc(platform::ObjectId device, std::uint32_t count,
                                                     const platform::PropertyAddress *addresses, void *self);
  static platform::DeviceStatus device_io_proc(platform::ObjectId, const platform::TimeStamp *now,
                                               const platform::BufferList *, const platform::TimeStamp *,
                                               platform::BufferList *output, const platform::TimeStamp *output_time,
                                               void *self);

  static constexpr float kDefaultRate = 44100.0f;

  platform::AudioDevices devices;
  platform::IoProcId io_proc_id = 0;
  AuPlayerOptions options = {};
  Relaxed<std::uint32_t> current_device = 0;
  Relaxed<float> source_rate = kDefaultRate;
  Relaxed<float> device_rate = kDefaultRate;
  Relaxed<std::uint32_t> active = 0;
  std::mutex control;
  mutable std::mutex options_lock;
  std::mutex lock, rate_lock;
  std::unique_ptr<rbuffer2, decltype(&rbuffer2_destroy)> ring{nullptr, rbuffer2_destroy};
  std::uint32_t out_left_channel = 0, out_right_channel = 0;
  struct buffer_info_cache buffer_info_cache;
  // Seconds. Summed up in double: in float, an hour of small blocks is off by half a minute.
  std::atomic<double> play_position = 0.0;
  Relaxed<float> latency = 0.0f;
  Relaxed<float> gain = 1.0f;
  Relaxed<std::uint32_t> play_done = 0;

protected:
  // The most frames, of the ring or of the device, that a pass works on at once: so its place on the stack is bounded.
  static constexpr std::int32_t kMostFrames = platform::kMostCycleFrames;

  // ---- What differs ----
  // No IO runs.
  virtual void reset_resampler() = 0;
  // While IO may run, on any thread: the IO thread resets what has to be reset.
  virtual void source_rate_changes() = 0;
  virtual void device_rate_changed() = 0;
  virtual bool has_audio_callback() const = 0;
  // The IO thread's. `interleaved` has room for the frames, at most kMostFrames of them.
  virtual void call_audio_callback(float *interleaved, std::int32_t frames) = 0;
  // Takes over rates that have changed. How many frames of the ring this pass of so many will take; 0 ends it.
  virtual std::int32_t begin_pass(std::int32_t frames) = 0;
  virtual std::int32_t frames_in(std::int32_t frames) const = 0;
  // Takes `needed` frames, frames_in of `frames`, of the ring.
  virtual void render(float *interleaved, std::int32_t frames, std::int32_t needed) = 0;

  // Stops the player and lets `change` set the callback.
  template <typename Change>
  void change_audio_callback(const Change &change) {
    const std::lock_guard hold(control);
    stop_held();
    change();
  }

private:
  // Of these, those whose names end in _held are called with `control` held.
  void stop_held();
  platform::DeviceStatus start_audio_io_held();
  platform::DeviceStatus start_device_held(platform::ObjectId device, std::uint32_t buffer_frames);
  void tear_down_held();
  void restart_on_default_device();
  std::int32_t set_ring_bytes(std::uint64_t bytes);
  void read_device_rate(platform::ObjectId device);

  void write_to_ring(const au_channel_pair &channels, std::int32_t stride, std::uint32_t frames);
  void move_position(std::uint32_t frames, float rate);
  std::int32_t used_bytes() const;

  void player_io_proc(platform::BufferList *output, float latency_measure);
  void smooth_latency(float measure);
  void pass(const ChannelDescriptor (&channels)[2], std::uint32_t frames);
  std::int32_t make_part(float *interleaved, std::int32_t frames);
};

}  // namespace auspool
