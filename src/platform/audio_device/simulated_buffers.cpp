#include <algorithm>
#include <numeric>

#include "platform/audio_device/simulated_device.h"

namespace auspool::platform {

SimulatedBuffers::SimulatedBuffers(std::span<const std::uint32_t> channels)
    : channels_(std::accumulate(channels.begin(), channels.end(), std::uint32_t{0})), memory_(1 + 2 * channels.size()) {
  auto *const list = reinterpret_cast<BufferList *>(memory_.data());
  list->count = static_cast<std::uint32_t>(channels.size());
  for (std::size_t i = 0; i < channels.size(); ++i) list->buffers()[i].channels = channels[i];
}

std::uint32_t SimulatedBuffers::count() const {
  return reinterpret_cast<const BufferList *>(memory_.data())->count;
}

void SimulatedBuffers::resize(std::uint32_t frames) {
  if (frames == frames_) return;
  frames_ = frames;
  samples_.assign(std::size_t{frames} * channels_, 0.0f);
  float *data = samples_.data();
  for (DeviceBuffer &buffer : std::span(reinterpret_cast<BufferList *>(memory_.data())->buffers(), count())) {
    const std::uint32_t samples = frames * buffer.channels;
    buffer.bytes = samples * 4;
    buffer.data = data;
    data += samples;
  }
}

void SimulatedBuffers::clear() {
  std::ranges::fill(samples_, 0.0f);
}

void SimulatedBuffers::copy_from(const SimulatedBuffers &other) {
  std::ranges::copy(other.samples_, samples_.begin());
}

void SimulatedBuffers::mix_in(const SimulatedBuffers &other) {
  std::ranges::transform(samples_, other.samples_, samples_.begin(), std::plus());
}

void SimulatedBuffers::show(ausim_audio_callback callback, void *context, ObjectId device, std::uint32_t frames) {
  static_assert(sizeof(ausim_buffer) == sizeof(DeviceBuffer) && offsetof(ausim_buffer, data) == 8);
  if (!callback) return;
  const auto *const buffers = reinterpret_cast<const ausim_buffer *>(memory_.data() + 1);
  callback(context, device, buffers, channels_ == 0 ? 0 : count(), frames);
}

void SimulatedBuffers::fill_with_sawtooth(std::uint64_t first_frame) {
  if (channels_ != 2 || count() != 1) return;
  for (std::size_t i = 0; i < frames_; ++i) {
    const float value = static_cast<float>(static_cast<int>((first_frame + i) % 32768) - 16384) / 32768.0f;
    samples_[2 * i] = value;
    samples_[2 * i + 1] = -value;
  }
}

}  // namespace auspool::platform
