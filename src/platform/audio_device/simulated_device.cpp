#include "platform/audio_device/simulated_device.h"

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

}  // namespace auspool::platform
