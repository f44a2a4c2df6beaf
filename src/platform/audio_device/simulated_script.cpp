// The script of simulated devices: auspool/audevice_simulated.h.
#include <cstring>
#include <new>

#include "auspool/audevice_simulated.h"
#include "platform/audio_device/simulated.h"

struct ausim {
  auspool::platform::AudioDevices devices;
  auspool::platform::SimulatedBackend *backend = nullptr;

  ~ausim() {
    if (backend) backend->end_script();
  }
};

using namespace auspool::platform;

namespace {

std::uint32_t code_of(const char *text) {
  std::uint32_t code = 0;
  for (std::size_t i = 0; i < 4 && text[i]; ++i) code = code << 8 | static_cast<unsigned char>(text[i]);
  return code;
}

}  // namespace

ausim *ausim_create(void) try {
  auto sim = std::make_unique<ausim>();
  auto *const backend = dynamic_cast<SimulatedBackend *>(&sim->devices.backend());
  if (!backend || !backend->begin_script()) return nullptr;
  sim->backend = backend;
  return sim.release();
} catch (const std::bad_alloc &) {
  return nullptr;
}

void ausim_destroy(ausim *sim) {
  delete sim;
}

uint32_t ausim_add_device(ausim *sim, const ausim_device *device) try {
  return sim->backend->add_device(*device);
} catch (const std::bad_alloc &) {
  return 0;
}

int32_t ausim_remove_device(ausim *sim, uint32_t device) try {
  return sim->backend->remove_device(device);
} catch (const std::bad_alloc &) {
  return AUDEVICE_NO_MEMORY;
}

int32_t ausim_set_default(ausim *sim, int32_t input, uint32_t device) try {
  const auto bytes = std::as_bytes(std::span(&device, 1));
  return sim->backend->change_property(kSystemObject, input ? kDefaultInput : kDefaultOutput, bytes);
} catch (const std::bad_alloc &) {
  return AUDEVICE_NO_MEMORY;
}

int32_t ausim_set_property(ausim *sim, uint32_t object, const char *selector, const char *scope, uint32_t bytes,
                           const void *value) try {
  const PropertyAddress address = {code_of(selector), code_of(scope)};
  return sim->backend->change_property(object, address, {static_cast<const std::byte *>(value), bytes});
} catch (const std::bad_alloc &) {
  return AUDEVICE_NO_MEMORY;
}

void ausim_set_operation_callback(ausim *sim, ausim_operation_callback callback, void *context) {
  sim->backend->set_operation_callback(callback, context);
}

void ausim_set_ducking(ausim *sim, int32_t offered) {
  sim->backend->set_ducking(offered != 0);
}

void ausim_set_input_callback(ausim *sim, ausim_audio_callback callback, void *context) {
  sim->backend->change_callbacks([&](AudioCallbacks &all) {
    all.input = callback;
    all.input_context = context;
  });
}

void ausim_set_output_callback(ausim *sim, ausim_audio_callback callback, void *context) {
  sim->backend->change_callbacks([&](AudioCallbacks &all) {
    all.output = callback;
    all.output_context = context;
  });
}

void ausim_set_stamps(ausim *sim, int32_t valid) {
  sim->backend->change_callbacks([&](AudioCallbacks &all) { all.stamps_valid = valid != 0; });
}

uint64_t ausim_time(const ausim *sim) {
  return sim->backend->time();
}

int32_t ausim_run(ausim *sim, uint32_t device, uint32_t cycles) {
  return sim->backend->run(device, cycles);
}

void ausim_advance(ausim *sim, uint64_t nanoseconds) {
  sim->backend->advance(nanoseconds);
}

void ausim_set_time(ausim *sim, uint64_t ticks) {
  sim->backend->set_time(ticks);
}

void ausim_set_realtime(ausim *sim, int32_t realtime) {
  sim->backend->set_realtime(realtime != 0);
}
