// What makes simulated devices move: a script by hand, or a thread by the clock.
#include <algorithm>
#include <chrono>
#include <new>

#include "platform/audio_device/simulated.h"
#include "platform/clock.h"

namespace auspool::platform {
namespace {

constexpr std::uint64_t kMostBehind = 500000000;  // ticks; later than this a device starts anew
constexpr std::chrono::seconds kIdle(1);

}  // namespace

// ---- Scripts ----

bool SimulatedBackend::begin_script() {
  std::unique_lock lock(model_);
  if (scripted_) return false;
  scripted_ = true;
  time_ = clock_ticks();
  realtime_ = false;
  lock.unlock();
  try {
    remove_all_devices();
  } catch (const std::bad_alloc &) {
    lock.lock();
    scripted_ = false;
    lock.unlock();
    set_realtime(true);
    throw;
  }
  return true;
}

void SimulatedBackend::end_script() {
  const std::lock_guard lock(model_);
  scripted_ = realtime_ = false;
  callbacks_ = {};
  operation_callback_ = nullptr;
}

void SimulatedBackend::set_realtime(bool realtime) {
  const std::lock_guard lock(model_);
  time_ = now_locked();
  realtime_ = realtime;
  for (const DevicePointer &device : devices_) device->due = now_locked();
  wake_.notify_all();
}

std::uint64_t SimulatedBackend::now_locked() const {
  return realtime_ ? clock_ticks() : time_;
}

std::uint64_t SimulatedBackend::time() const {
  const std::lock_guard lock(model_);
  return now_locked();
}

void SimulatedBackend::set_time(std::uint64_t ticks) {
  const std::lock_guard lock(model_);
  time_ = ticks;
  for (const DevicePointer &device : devices_) device->due = ticks;
}

void SimulatedBackend::set_operation_callback(ausim_operation_callback callback, void *context) {
  const std::lock_guard lock(model_);
  operation_callback_ = callback;
  operation_context_ = context;
}

void SimulatedBackend::set_ducking(bool offered) {
  const std::lock_guard lock(model_);
  ducking_ = offered;
}

// ---- Cycles ----

// A cycle for which there is no memory is left out.
void SimulatedBackend::run_cycle(const DevicePointer &device, std::uint64_t time) try {
  std::unique_lock lock(model_);
  const AudioCallbacks callbacks = callbacks_;
  lock.unlock();
  device->run_cycle(model_, time, callbacks);
} catch (const std::bad_alloc &) {
}

DeviceStatus SimulatedBackend::run(ObjectId id, std::uint32_t cycles) {
  deliver_from_script();
  for (std::uint32_t i = 0; i < cycles; ++i) {
    std::unique_lock lock(model_);
    const DevicePointer device = find_locked(id);
    if (!device) return AUDEVICE_BAD_OBJECT;
    const std::uint64_t time = time_;
    lock.unlock();
    run_cycle(device, time);
    lock.lock();
    time_ = device->step(time);
    lock.unlock();
    deliver_from_script();
  }
  return 0;
}

SimulatedBackend::DevicePointer SimulatedBackend::next_due_locked(std::uint64_t end) const {
  DevicePointer next;
  for (const DevicePointer &device : devices_) {
    if (device->is_running() && device->due <= end && (!next || device->due < next->due)) next = device;
  }
  return next;
}

void SimulatedBackend::advance(std::uint64_t ticks) {
  deliver_from_script();
  std::unique_lock lock(model_);
  const std::uint64_t end = time_ + ticks;
  while (const DevicePointer device = next_due_locked(end)) {
    const std::uint64_t time = time_ = std::max(time_, device->due);
    lock.unlock();
    run_cycle(device, time);
    deliver_from_script();
    lock.lock();
    device->step(time);
  }
  time_ = end;
}

// ---- Listeners, and the thread ----

void SimulatedBackend::deliver() {
  std::unique_lock lock(model_);
  if (delivering_) return;
  delivering_ = true;
  while (!changes_.empty()) {
    const Change change = changes_.front();
    changes_.erase(changes_.begin());
    lock.unlock();
    listeners_.call(change.object, change.address);
    lock.lock();
  }
  delivering_ = false;
}

void SimulatedBackend::deliver_from_script() {
  std::unique_lock lock(model_);
  const bool by_hand = !realtime_;
  lock.unlock();
  if (by_hand) deliver();
}

void SimulatedBackend::enter(void *self) {
  static_cast<SimulatedBackend *>(self)->run_by_clock();
}

void SimulatedBackend::run_by_clock() {
  for (std::unique_lock lock(model_); !ending_;) {
    if (!realtime_) {
      wake_.wait(lock);
      continue;
    }
    if (!changes_.empty() && !delivering_) {
      lock.unlock();
      deliver();
      lock.lock();
      continue;
    }
    const std::uint64_t now = clock_ticks();
    const DevicePointer device = next_due_locked(UINT64_MAX);
    if (!device || device->due > now) {
      wake_.wait_for(lock, device ? std::chrono::nanoseconds(device->due - now) : std::chrono::nanoseconds(kIdle));
      continue;
    }
    if (now - device->due > kMostBehind) device->due = now;
    const std::uint64_t time = device->due;
    lock.unlock();
    run_cycle(device, time);
    lock.lock();
    device->step(time);
  }
}

}  // namespace auspool::platform
