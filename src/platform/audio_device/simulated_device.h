// One simulated device: its properties, its IO procs, and the cycles that it runs.
#pragma once

#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "auspool/audevice_simulated.h"
#include "platform/audio_device/property_store.h"

namespace auspool::platform {

// What a script hears of the cycles.
struct AudioCallbacks {
  ausim_audio_callback input = nullptr, output = nullptr;
  void *input_context = nullptr, *output_context = nullptr;
  bool stamps_valid = true;
};

inline bool is_usable_rate(double rate) {
  return rate >= 1.0 && rate <= 1e7;
}

// The buffers of one direction.
class SimulatedBuffers {
public:
  explicit SimulatedBuffers(std::span<const std::uint32_t> channels);

  // For so many frames; the data stays where it is while they do not change.
  void resize(std::uint32_t frames);
  void clear();
  void copy_from(const SimulatedBuffers &other);
  void mix_in(const SimulatedBuffers &other);

  std::uint32_t channels() const { return channels_; }
  std::uint32_t count() const;
  // Null without a buffer.
  BufferList *list() { return channels_ == 0 ? nullptr : reinterpret_cast<BufferList *>(memory_.data()); }
  void show(ausim_audio_callback callback, void *context, ObjectId device, std::uint32_t frames);
  // Frame n is a sawtooth on the left and its negative on the right.
  void fill_with_sawtooth(std::uint64_t first_frame);

private:
  std::uint32_t channels_ = 0;
  std::uint32_t frames_ = 0;
  std::vector<std::uint64_t> memory_;  // the list: a head of 8 bytes and 16 bytes a buffer
  std::vector<float> samples_;
};

class SimulatedDevice {
public:
  SimulatedDevice(ObjectId number, const ausim_device &description);

  // Runs one cycle at `time`. Waits while another runs; `model` is the lock of all properties and procs.
  void run_cycle(std::mutex &model, std::uint64_t time, const AudioCallbacks &callbacks);
  // Waits while a cycle runs. Not from inside one.
  void wait_for_cycle() { const std::lock_guard lock(cycle_); }

  // The rest is guarded by the model's lock.
  DeviceStatus set(const PropertyAddress &address, std::span<const std::byte> value,
                   std::vector<PropertyAddress> &changed);
  // As the system changes it: anything goes.
  void change(const PropertyAddress &address, std::span<const std::byte> value, std::vector<PropertyAddress> &changed);

  void create_proc(IoProc proc, void *client, IoProcId proc_id);
  bool destroy_proc(IoProcId proc_id);
  bool set_running(IoProcId proc_id, bool running, std::uint64_t now);
  bool is_running() const;
  void stop_all();
  // The cycle after one at `time`, at which the next begins.
  std::uint64_t step(std::uint64_t time);

  const ObjectId id;
  PropertyStore properties;
  bool makes_sawtooth = false;
  std::uint64_t due = 0;  // when the next cycle begins, while procs run

private:
  struct Proc {
    IoProcId id;
    IoProc proc;
    void *client;
    bool running;
    SimulatedBuffers input, output;  // its own: it may leave something in either
  };

  double rate() const { return properties.get(kNominalRate, 0.0); }
  std::uint32_t buffer_frames() const { return properties.get(kBufferFrames, std::uint32_t{0}); }
  void set_rate(double rate, std::vector<PropertyAddress> &changed);
  void describe_streams(const ausim_device &description);
  TimeStamp stamp(std::uint64_t time, double frames_off, bool valid) const;

  const std::uint32_t least_frames_, most_frames_, output_latency_, input_latency_;
  std::vector<std::shared_ptr<Proc>> procs_;
  std::vector<std::uint32_t> input_layout_, output_layout_;
  double fraction_ = 0.0;  // of a nanosecond, that cycles so far were longer
  std::uint64_t frames_run_ = 0;

  std::mutex cycle_;  // held while a cycle runs; guards what follows
  std::vector<std::shared_ptr<Proc>> running_;
  SimulatedBuffers input_, output_;
};

}  // namespace auspool::platform
