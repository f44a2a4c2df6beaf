#include "platform/audio_device/pipewire/device.h"

#include <algorithm>
#include <span>
#include <string_view>

#include "platform/audio_device/backend_support.h"

namespace auspool::platform {
namespace {

void put_text(PropertyStore &properties, const PropertyAddress &address, std::string_view text) {
  properties.put(address, std::as_bytes(std::span(text)));
}

}  // namespace

PipeWireDevice::PipeWireDevice(ObjectId number, const Node &found, const GraphSettings &settings)
    : id(number), node(found) {
  const auto channels = static_cast<std::uint32_t>(node.positions.size());
  put_text(properties, kName, node.title);
  put_text(properties, kUid, node.name);
  properties.put(channel_count(kInput), node.is_input ? channels : 0);
  properties.put(channel_count(kOutput), node.is_input ? 0 : channels);
  const std::uint32_t pair[2] = {node.left_channel, node.right_channel};
  if (pair[0] != 0 && pair[1] != 0) properties.put(stereo_pair(scope()), pair);
  update(settings);
}

const IoStream *PipeWireDevice::running() const {
  for (const PipeWireProc &proc : procs) {
    if (proc.stream && proc.stream->runs() && proc.stream->rate() != 0.0) return proc.stream.get();
  }
  return nullptr;
}

std::vector<PropertyAddress> PipeWireDevice::update(const GraphSettings &settings) {
  const IoStream *const stream = running();
  const double now = stream ? stream->rate() : settings.rate_for(wished_rate_);
  const std::uint32_t frames = stream && stream->frames() != 0 ? stream->frames() : settings.frames_for(wished_frames_);
  std::vector<PropertyAddress> changed;
  changed.reserve(3);
  if (properties.put(kNominalRate, now)) {
    changed.push_back(kNominalRate);
    properties.put(stream_format(scope()), float_format(now, static_cast<std::uint32_t>(node.positions.size())));
    changed.push_back(stream_format(scope()));
    // The server takes frames as a time.
    if (wished_frames_ != 0) without_throwing([this] { tell_streams(); });
  }
  if (properties.put(kBufferFrames, frames)) changed.push_back(kBufferFrames);
  return changed;
}

// ---- Wishes ----

GraphWish PipeWireDevice::wish() const {
  return {wished_rate_ != 0.0 ? wished_rate_ : rate(), wished_rate_ != 0.0, wished_frames_};
}

void PipeWireDevice::tell_streams() {
  for (PipeWireProc &proc : procs) {
    if (proc.stream) proc.stream->wish(wish());
  }
}

DeviceStatus PipeWireDevice::wish_rate(double rate, const GraphSettings &settings, Server &server) {
  if (!settings.allows_rate(rate)) return AUDEVICE_BAD_VALUE;
  wished_rate_ = rate;
  for (PipeWireProc &proc : procs) {
    if (proc.started && (!proc.stream || proc.stream->rate() != rate)) start(proc, server);
  }
  return 0;
}

// What was asked of the graph in the meantime must not stay with the streams.
void PipeWireDevice::take_back_rate(double wished_before, Server &server) {
  wished_rate_ = wished_before;
  for (PipeWireProc &proc : procs) {
    if (proc.started) start(proc, server);
  }
}

DeviceStatus PipeWireDevice::wish_frames(std::uint32_t frames, const GraphSettings &settings) {
  if (!settings.allows_frames(frames)) return AUDEVICE_BAD_VALUE;
  wished_frames_ = frames;
  tell_streams();
  return 0;
}

// ---- IO ----

PipeWireProc *PipeWireDevice::find(IoProcId proc_id) {
  const auto found = std::ranges::find(procs, proc_id, &PipeWireProc::id);
  return found == procs.end() ? nullptr : &*found;
}

void PipeWireDevice::start(PipeWireProc &proc, Server &server) {
  proc.started = true;
  proc.stream.reset();
  proc.stream = std::make_unique<IoStream>(server, node, id, proc.proc, proc.client, wish());
}

void PipeWireDevice::stop(PipeWireProc &proc) {
  proc.started = false;
  proc.stream.reset();
}

bool PipeWireDevice::has_failed_streams() const {
  return std::ranges::any_of(procs, &PipeWireProc::has_failed);
}

bool PipeWireDevice::has_idle_streams() const {
  return std::ranges::any_of(procs, [](const PipeWireProc &proc) { return proc.stream && !proc.stream->runs(); });
}

void PipeWireDevice::restart_failed_streams(Server &server) {
  for (PipeWireProc &proc : procs) {
    if (proc.has_failed()) without_throwing([&] { start(proc, server); });
  }
}

}  // namespace auspool::platform
