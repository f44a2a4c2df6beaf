// The record of a line: its device or its timer, and the pass from either to the host's callback.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "auplayer/buffer_info.h"
#include "auspool/auline.h"
#include "base/relaxed.h"
#include "platform/audio_device.h"
#include "platform/timer.h"

struct auline {
  ~auline() { stop(); }

  std::int32_t start(auline_callback callback, void *context);
  void stop();

  auspool::platform::AudioDevices devices;
  auspool::platform::IoProcId io_proc_id = 0;
  AuLineOptions options = {};
  auspool::Relaxed<std::uint32_t> working_device = 0;
  std::uint32_t working_source = 0;
  void *context = nullptr;
  auline_callback callback = nullptr;
  auspool::Relaxed<std::int32_t> active = 0;
  auspool::Relaxed<float> rate = 0.0f;  // the listener thread changes it under the IO thread
  std::mutex rate_lock;
  std::uint32_t working_left = 0, working_right = 0;
  struct auspool::buffer_info_cache buffer_info_cache;
  auspool::platform::Timer timer;
  double silence_period = 0.0;  // seconds
  std::uint32_t silence_frames = 0;
  std::unique_ptr<float[]> silence;  // two planes

  // The pass: hands what it hears to the callback, on the device's IO thread or the timer's. Takes no lock and
  // allocates nothing.
  void line_io_proc(const auspool::platform::BufferList *buffers);

  // Looks at the rate again where the format has changed.
  static auspool::platform::DeviceStatus device_property_proc(auspool::platform::ObjectId device, std::uint32_t count,
                                                              const auspool::platform::PropertyAddress *addresses,
                                                              void *self);

private:
  std::int32_t start_silence();
  std::int32_t start_device();
  auspool::platform::DeviceStatus settle_format();
  void read_rate();
  void copy_and_call(const auspool::ChannelDescriptor (&channels)[2], std::uint32_t frames);

  static void silence_gen_timer_task(void *self);
  static auspool::platform::DeviceStatus device_io_proc(auspool::platform::ObjectId,
                                                        const auspool::platform::TimeStamp *,
                                                        const auspool::platform::BufferList *input,
                                                        const auspool::platform::TimeStamp *,
                                                        auspool::platform::BufferList *,
                                                        const auspool::platform::TimeStamp *, void *self);
};
