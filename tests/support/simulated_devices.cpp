#include "support/simulated_devices.h"

#include <utility>

namespace auspool::testing {
namespace {

std::string text_of(std::uint32_t code) {
  std::string text;
  for (int shift = 24; code != 0 && shift >= 0; shift -= 8) text += static_cast<char>(code >> shift);
  return text;
}

}  // namespace

ausim_device output_device(std::span<const std::uint32_t> buffers) {
  ausim_device device = {};
  device.output_buffers = buffers.data();
  device.output_buffer_count = static_cast<std::uint32_t>(buffers.size());
  return device;
}

ausim_device input_device(std::span<const std::uint32_t> buffers) {
  ausim_device device = {};
  device.input_buffers = buffers.data();
  device.input_buffer_count = static_cast<std::uint32_t>(buffers.size());
  return device;
}

SimulatedDevices::SimulatedDevices() {
  EXPECT_EQ(audevice_choose_backend("simulated"), 0);
  sim_ = ausim_create();
  if (!sim_) throw std::bad_alloc();
  ausim_set_operation_callback(
      sim_,
      [](void *self, const ausim_operation *operation) {
        return static_cast<SimulatedDevices *>(self)->note(*operation);
      },
      this);
  ausim_set_input_callback(
      sim_,
      [](void *self, std::uint32_t, const ausim_buffer *buffers, std::uint32_t count, std::uint32_t frames) {
        const auto &call = static_cast<SimulatedDevices *>(self)->on_input;
        if (call) call({buffers, count}, frames);
      },
      this);
  ausim_set_output_callback(
      sim_,
      [](void *self, std::uint32_t, const ausim_buffer *buffers, std::uint32_t count, std::uint32_t frames) {
        const auto &call = static_cast<SimulatedDevices *>(self)->on_output;
        if (call) call({buffers, count}, frames);
      },
      this);
}

SimulatedDevices::~SimulatedDevices() {
  ausim_destroy(sim_);
  EXPECT_EQ(audevice_choose_backend(nullptr), 0) << "something still uses the devices";
}

std::uint32_t SimulatedDevices::add_default_output(const ausim_device &device) {
  const std::uint32_t id = add(device);
  ausim_set_default(sim_, 0, id);
  return id;
}

std::uint32_t SimulatedDevices::add_default_input(const ausim_device &device) {
  const std::uint32_t id = add(device);
  ausim_set_default(sim_, 1, id);
  return id;
}

std::vector<DeviceOperation> SimulatedDevices::take_operations() {
  const std::lock_guard lock(mutex_);
  return std::exchange(operations_, {});
}

std::vector<DeviceOperation> SimulatedDevices::take_operations(std::int32_t kind) {
  auto operations = take_operations();
  std::erase_if(operations, [kind](const DeviceOperation &operation) { return operation.kind != kind; });
  return operations;
}

void SimulatedDevices::fail(std::int32_t kind, const std::string &selector, std::int32_t status) {
  const std::lock_guard lock(mutex_);
  std::erase_if(failures_, [&](const Failure &known) { return known.kind == kind && known.selector == selector; });
  if (status != 0) failures_.push_back({kind, selector, status});
}

std::int32_t SimulatedDevices::note(const ausim_operation &operation) {
  DeviceOperation noted{operation.kind, operation.object, text_of(operation.selector), text_of(operation.scope), {}};
  if (operation.value) noted.value.assign(static_cast<const char *>(operation.value), operation.bytes);
  const std::int32_t status = on_operation ? on_operation(noted) : 0;
  const std::lock_guard lock(mutex_);
  operations_.push_back(noted);
  for (const Failure &failure : failures_) {
    if (failure.kind == noted.kind && failure.selector == noted.selector) return failure.status;
  }
  return status;
}

std::vector<float> channel_of(const ausim_buffer &buffer, std::uint32_t channel) {
  std::vector<float> samples;
  const auto *const data = static_cast<const float *>(buffer.data);
  for (std::uint32_t i = channel; i < buffer.bytes / 4; i += buffer.channels) samples.push_back(data[i]);
  return samples;
}

}  // namespace auspool::testing
