// IO procs, from their creation to their end.
#include <mutex>
#include <new>

#include "platform/audio_device/backend_support.h"
#include "platform/audio_device/pipewire/backend.h"

namespace auspool::platform {

DeviceStatus PipeWireBackend::create_io_proc(ObjectId device, IoProc proc, void *client, IoProcId *id) {
  return guarded([&]() -> DeviceStatus {
    const std::lock_guard lock(server_);
    PipeWireDevice *const found = find(device);
    if (!found) return AUDEVICE_BAD_OBJECT;
    found->procs.push_back({last_proc_ + 1, proc, client, false, nullptr});
    *id = ++last_proc_;
    return 0;
  });
}

DeviceStatus PipeWireBackend::destroy_io_proc(ObjectId device, IoProcId id) {
  const std::lock_guard lock(server_);
  PipeWireDevice *const found = find(device);
  if (!found) return AUDEVICE_BAD_OBJECT;
  return std::erase_if(found->procs, [&](const PipeWireProc &proc) { return proc.id == id; }) ? 0 : AUDEVICE_BAD_PROC;
}

DeviceStatus PipeWireBackend::start(ObjectId device, IoProcId id) {
  return guarded([&]() -> DeviceStatus {
    const std::lock_guard lock(server_);
    PipeWireDevice *const found = find(device);
    if (!found) return AUDEVICE_BAD_OBJECT;
    PipeWireProc *const proc = found->find(id);
    if (!proc) return AUDEVICE_BAD_PROC;
    if (proc->started) return 0;
    if (!server_.has_session_manager()) return AUDEVICE_NOT_RUNNING;
    try {
      found->start(*proc, server_);
    } catch (const std::bad_alloc &) {
      PipeWireDevice::stop(*proc);
      throw;
    }
    return run(device, id);
  });
}

// Waits until the stream runs. One that takes longer is not given up.
DeviceStatus PipeWireBackend::run(ObjectId device, IoProcId id) {
  const auto stream = [&]() -> const IoStream * {
    PipeWireDevice *const found = find(device);
    const PipeWireProc *const proc = found ? found->find(id) : nullptr;
    return proc ? proc->stream.get() : nullptr;
  };
  server_.wait_until([&] { return !stream() || stream()->runs() || stream()->has_failed(); });
  if (!find(device)) return AUDEVICE_BAD_OBJECT;
  if (!stream() || !stream()->has_failed()) return 0;
  PipeWireDevice::stop(*find(device)->find(id));
  return AUDEVICE_NOT_RUNNING;
}

DeviceStatus PipeWireBackend::stop(ObjectId device, IoProcId id) {
  return guarded([&]() -> DeviceStatus {
    const std::lock_guard lock(server_);
    PipeWireDevice *const found = find(device);
    if (!found) return AUDEVICE_BAD_OBJECT;
    PipeWireProc *const proc = found->find(id);
    if (!proc) return AUDEVICE_BAD_PROC;
    PipeWireDevice::stop(*proc);
    update(*found);
    return 0;
  });
}

}  // namespace auspool::platform
