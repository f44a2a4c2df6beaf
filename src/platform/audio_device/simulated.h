// The backend "simulated": devices inside the process, moved by a script or by a thread.
#pragma once

#include <condition_variable>
#include <mutex>
#include <vector>

#include "platform/audio_device/listeners.h"
#include "platform/audio_device/simulated_device.h"
#include "platform/thread.h"

namespace auspool::platform {

class SimulatedBackend : public AudioBackend {
public:
  SimulatedBackend();  // with the default devices, run by a thread
  ~SimulatedBackend() override;

  DeviceStatus get_property(ObjectId object, const PropertyAddress &address, std::uint32_t *bytes,
                            void *value) override;
  DeviceStatus property_size(ObjectId object, const PropertyAddress &address, std::uint32_t *bytes) override;
  DeviceStatus set_property(ObjectId object, const PropertyAddress &address, std::uint32_t bytes,
                            const void *value) override;
  DeviceStatus add_listener(ObjectId object, const PropertyAddress &address, PropertyListener listener,
                            void *client) override;
  DeviceStatus remove_listener(ObjectId object, const PropertyAddress &address, PropertyListener listener,
                               void *client) override;
  DeviceStatus create_io_proc(ObjectId device, IoProc proc, void *client, IoProcId *id) override;
  DeviceStatus destroy_io_proc(ObjectId device, IoProcId id) override;
  DeviceStatus start(ObjectId device, IoProcId id) override;
  DeviceStatus stop(ObjectId device, IoProcId id) override;
  bool can_duck() const override;
  DeviceStatus duck(ObjectId device, float level, float ramp_seconds) override;

  // ---- The script's side ----
  bool begin_script();
  void end_script();
  ObjectId add_device(const ausim_device &description);
  DeviceStatus remove_device(ObjectId id);
  DeviceStatus change_property(ObjectId object, const PropertyAddress &address, std::span<const std::byte> value);
  DeviceStatus run(ObjectId id, std::uint32_t cycles);
  void advance(std::uint64_t ticks);
  void set_realtime(bool realtime);
  std::uint64_t time() const;
  void set_time(std::uint64_t ticks);
  void set_operation_callback(ausim_operation_callback callback, void *context);
  void set_ducking(bool offered);
  // Calls `change` on what scripts hear of cycles, under the lock.
  template <typename Change>
  void change_callbacks(const Change &change) {
    const std::lock_guard lock(model_);
    change(callbacks_);
  }

private:
  using DevicePointer = std::shared_ptr<SimulatedDevice>;
  struct Change {
    ObjectId object;
    PropertyAddress address;
  };

  // Of these, those whose names end in _locked are called with the model's lock held.
  DeviceStatus ask_script(const ausim_operation &operation);
  DevicePointer find_locked(ObjectId id) const;
  // Lets go of the model's lock.
  DeviceStatus wait_for_last_cycle(ObjectId id, std::unique_lock<std::mutex> &lock);
  const PropertyStore *properties_locked(ObjectId object) const;
  DevicePointer add_device_locked(const ausim_device &description);
  void remove_all_devices();
  void device_list_changed_locked();
  void queue_locked(ObjectId object, const std::vector<PropertyAddress> &changed);
  DeviceStatus set_running(ObjectId device, IoProcId id, bool running);
  void run_cycle(const DevicePointer &device, std::uint64_t time);
  DevicePointer next_due_locked(std::uint64_t end) const;

  void deliver();  // tells listeners what changed; at once if this is the script's thread
  void deliver_from_script();
  static void enter(void *self);
  void run_by_clock();
  std::uint64_t now_locked() const;

  mutable std::mutex model_;  // guards what follows
  std::condition_variable wake_;
  PropertyStore system_;
  std::vector<DevicePointer> devices_;
  std::vector<DevicePointer> leaving_;  // no longer there, but their last cycle may run
  std::vector<Change> changes_;         // that listeners have not been told of
  bool delivering_ = false;
  IoProcId last_proc_ = 0;
  bool scripted_ = false, realtime_ = true, ending_ = false, ducking_ = true;
  std::uint64_t time_ = 0;  // while the clock is moved by hand
  AudioCallbacks callbacks_;
  ausim_operation_callback operation_callback_ = nullptr;
  void *operation_context_ = nullptr;

  Listeners listeners_;
  Thread thread_;
};

}  // namespace auspool::platform
