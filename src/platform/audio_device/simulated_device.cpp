#include "platform/audio_device/simulated_device.h"

#include <cmath>
#include <string_view>

#include "platform/audio_device/backend_support.h"

namespace auspool::platform {
namespace {

std::vector<std::uint32_t> layout(const std::uint32_t *channels, std::uint32_t count) {
  return {channels, channels + (channels ? count : 0)};
}

std::uint32_t or_else(std::uint32_t value, std::uint32_t otherwise) {
  return value != 0 ? value : otherwise;
}

bool is_usable_rate(double rate) {
  return rate >= 1.0 && rate <= 1e7;
}

template <typename T>
std::span<const std::byte> bytes_of(const T &value) {
  return std::as_bytes(std::span(&value, 1));
}

}  // namespace

SimulatedDevice::SimulatedDevice(ObjectId number, const ausim_device &description)
    : id(number),
      least_frames_(or_else(description.least_buffer_frames, 16)),
      most_frames_(or_else(description.most_buffer_frames, 8192)),
      output_latency_(description.output_latency),
      input_latency_(description.input_latency),
      input_layout_(layout(description.input_buffers, description.input_buffer_count)),
      output_layout_(layout(description.output_buffers, description.output_buffer_count)),
      input_(input_layout_),
      output_(output_layout_) {
  const std::string_view name = description.name ? description.name : "Simulated device";
  properties.put(kName, std::as_bytes(std::span(name)));
  properties.put(kUid, std::as_bytes(std::span(name)));
  properties.put(kNominalRate, description.rate != 0.0 ? description.rate : 44100.0);
  properties.put(kBufferFrames, or_else(description.buffer_frames, 512));
  describe_streams(description);
}

void SimulatedDevice::describe_streams(const ausim_device &description) {
  const auto put_pair = [&](std::uint32_t scope, std::uint32_t left, std::uint32_t right) {
    const std::uint32_t pair[2] = {left, right};
    if (left != 0 || right != 0) properties.put(stereo_pair(scope), pair);
  };
  put_pair(kOutput, description.output_left, description.output_right);
  put_pair(kInput, description.input_left, description.input_right);
  if (description.data_source != 0) properties.put(data_source(kInput), description.data_source);
  for (const auto &[scope, channels] : {std::pair{kOutput, output_.channels()}, std::pair{kInput, input_.channels()}}) {
    properties.put(channel_count(scope), channels);
    if (channels == 0) continue;
    StreamFormat format = float_format(rate(), channels);
    format.format = or_else(description.format, format.format);
    properties.put(stream_format(scope), format);
  }
}

// ---- Properties ----

DeviceStatus SimulatedDevice::set(const PropertyAddress &address, std::span<const std::byte> value,
                                  std::vector<PropertyAddress> &changed) {
  if (!properties.has(address)) return AUDEVICE_UNKNOWN_PROPERTY;
  if (address == kNominalRate) {
    double rate = 0;
    if (!take(value, &rate)) return AUDEVICE_BAD_SIZE;
    if (!is_usable_rate(rate)) return AUDEVICE_BAD_VALUE;
  } else if (address == kBufferFrames) {
    std::uint32_t frames = 0;
    if (!take(value, &frames)) return AUDEVICE_BAD_SIZE;
    if (frames < least_frames_ || frames > most_frames_) return AUDEVICE_BAD_VALUE;
  } else if (address == stream_format(kInput) || address == stream_format(kOutput)) {
    StreamFormat format;
    if (!take(value, &format)) return AUDEVICE_BAD_SIZE;
    if (!is_usable_rate(format.rate)) return AUDEVICE_BAD_VALUE;
    set_rate(format.rate, changed);
    return 0;
  } else if (address == data_source(kInput)) {
    if (value.size() != sizeof(std::uint32_t)) return AUDEVICE_BAD_SIZE;
  } else {
    return AUDEVICE_READ_ONLY;
  }
  change(address, value, changed);
  return 0;
}

void SimulatedDevice::change(const PropertyAddress &address, std::span<const std::byte> value,
                             std::vector<PropertyAddress> &changed) {
  const bool is_new = value.empty() ? properties.remove(address) : properties.put(address, value);
  if (is_new) changed.push_back(address);
  StreamFormat format;
  double rate = 0;
  if (address == kNominalRate && take(value, &rate)) set_rate(rate, changed);
  if (address.selector == stream_format(kInput).selector && take(value, &format)) set_rate(format.rate, changed);
}

// The rate stands in three places.
void SimulatedDevice::set_rate(double rate, std::vector<PropertyAddress> &changed) {
  const auto put = [&](const PropertyAddress &address, const auto &value) {
    if (properties.put(address, bytes_of(value))) changed.push_back(address);
  };
  put(kNominalRate, rate);
  for (const std::uint32_t scope : {kInput, kOutput}) {
    if (!properties.has(stream_format(scope))) continue;
    auto format = properties.get(stream_format(scope), StreamFormat{});
    format.rate = rate;
    put(stream_format(scope), format);
  }
}

// ---- IO ----

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
