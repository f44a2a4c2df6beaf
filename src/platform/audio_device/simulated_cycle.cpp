// The IO procs of a simulated device, and the cycles that run them.
#include <algorithm>
#include <cmath>

#include "platform/audio_device/simulated_device.h"

namespace auspool::platform {

void SimulatedDevice::create_proc(IoProc proc, void *client, IoProcId proc_id) {
  procs_.push_back(std::make_shared<Proc>(
      Proc{proc_id, proc, client, false, SimulatedBuffers(input_layout_), SimulatedBuffers(output_layout_)}));
}

bool SimulatedDevice::destroy_proc(IoProcId proc_id) {
  return std::erase_if(procs_, [&](const auto &proc) { return proc->id == proc_id; }) != 0;
}

bool SimulatedDevice::set_running(IoProcId proc_id, bool running, std::uint64_t now) {
  const auto found = std::ranges::find(procs_, proc_id, [](const auto &proc) { return proc->id; });
  if (found == procs_.end()) return false;
  if (running && !is_running()) {
    due = now;
    frames_run_ = 0;
    fraction_ = 0.0;
  }
  (*found)->running = running;
  return true;
}

bool SimulatedDevice::is_running() const {
  return std::ranges::any_of(procs_, [](const auto &proc) { return proc->running; });
}

void SimulatedDevice::stop_all() {
  for (const auto &proc : procs_) proc->running = false;
}

std::uint64_t SimulatedDevice::step(std::uint64_t time) {
  const double length = is_usable_rate(rate()) ? buffer_frames() * 1e9 / rate() + fraction_ : 1e6;
  const double whole = std::floor(length);
  fraction_ = length - whole;
  frames_run_ += buffer_frames();
  return due = time + static_cast<std::uint64_t>(whole);
}

TimeStamp SimulatedDevice::stamp(std::uint64_t time, double frames_off, bool valid) const {
  const double sample_time = static_cast<double>(frames_run_) + frames_off;
  const auto ticks = static_cast<std::int64_t>(is_usable_rate(rate()) ? frames_off * 1e9 / rate() : 0.0);
  const std::uint32_t flags = valid ? TimeStamp::kSampleTimeValid | TimeStamp::kHostTimeValid : 0;
  return {sample_time, time + static_cast<std::uint64_t>(ticks), flags};
}

void SimulatedDevice::run_cycle(std::mutex &model, std::uint64_t time, const AudioCallbacks &callbacks) {
  const std::lock_guard cycle(cycle_);
  std::unique_lock lock(model);
  const std::uint32_t frames = buffer_frames();
  const TimeStamp now = stamp(time, 0.0, callbacks.stamps_valid);
  const TimeStamp input_time = stamp(time, -static_cast<double>(frames + input_latency_), callbacks.stamps_valid);
  const TimeStamp output_time = stamp(time, static_cast<double>(frames + output_latency_), callbacks.stamps_valid);
  const std::uint64_t first_frame = frames_run_;
  running_.clear();
  std::ranges::copy_if(procs_, std::back_inserter(running_), [](const auto &proc) { return proc->running; });
  lock.unlock();

  for (const auto &proc : running_) {
    proc->input.resize(frames);
    proc->output.resize(frames);
    proc->output.clear();
  }
  input_.resize(frames);
  input_.clear();
  output_.resize(frames);
  output_.clear();
  if (makes_sawtooth) input_.fill_with_sawtooth(first_frame);
  input_.show(callbacks.input, callbacks.input_context, id, frames);
  for (const auto &proc : running_) {
    proc->input.copy_from(input_);
    proc->proc(id, &now, proc->input.list(), &input_time, proc->output.list(), &output_time, proc->client);
    output_.mix_in(proc->output);
  }
  output_.show(callbacks.output, callbacks.output_context, id, frames);
}

}  // namespace auspool::platform
