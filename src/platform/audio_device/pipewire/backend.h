// The backend "pipewire": the sinks and sources of a PipeWire server as devices.
//
// Everything is guarded by one lock, that of the connection with the server. A proc has a stream of its own, which
// libpipewire's data thread runs; the server mixes them. Listeners are called on a thread of their own.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/audio_device/notifier.h"
#include "platform/audio_device/pipewire/device.h"
#include "platform/audio_device/pipewire/server.h"

namespace auspool::platform {

class PipeWireBackend : public AudioBackend, private ServerClient {
public:
  PipeWireBackend();
  ~PipeWireBackend() override;

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

private:
  using DevicePointer = std::unique_ptr<PipeWireDevice>;
  static constexpr PropertyAddress kDefaults[] = {kDefaultOutput, kDefaultInput};  // by whether it is an input

  // ---- From the server ----
  void node_came(const Node &node) override;
  void node_went(std::uint32_t number) override;
  void default_changed(bool is_input, const std::string &name) override;
  void setting_changed(const char *key, const char *value) override;
  void server_came() override;
  void server_went() override;
  void streams_changed() override;
  void try_again() override;

  // All with the lock held.
  PipeWireDevice *find(ObjectId id);
  DeviceStatus properties_of(ObjectId object, const PropertyStore **properties);
  DeviceStatus set_system(const PropertyAddress &address, std::span<const std::byte> value);
  DeviceStatus set_default(bool is_input, ObjectId id);
  DeviceStatus set_device(ObjectId id, const PropertyAddress &address, std::span<const std::byte> value);
  DeviceStatus set_rate(ObjectId id, double rate);
  DeviceStatus run(ObjectId device, IoProcId id);
  void remove(std::vector<DevicePointer>::iterator device);
  void try_failed_streams_later();
  void update(PipeWireDevice &device);
  void update_all();
  void update_system();

  Notifier notifier_;
  GraphSettings settings_;
  PropertyStore system_;
  std::vector<DevicePointer> devices_;
  std::string defaults_[2];  // names of the sink and of the source
  IoProcId last_proc_ = 0;
  Server server_;  // the last: it calls from the moment when it is there
};

}  // namespace auspool::platform
