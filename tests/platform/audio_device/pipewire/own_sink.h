// A sink of the test's own on the sound server: it says how late it is, and keeps what it hears.
#pragma once

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>
#include <spa/param/latency-utils.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <vector>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"  // what libpipewire's methods are, as macros

namespace auspool::testing {

class OwnSink {
public:
  // Of two channels and so many frames of latency. As a fast one it runs as fast as all streams can, and nobody is
  // late.
  explicit OwnSink(const char *name, std::uint32_t latency_frames, bool fast = false) : samples_(kRoom) {
    pw_init(nullptr, nullptr);
    loop_ = pw_thread_loop_new(name, nullptr);
    context_ = pw_context_new(pw_thread_loop_get_loop(loop_), nullptr, 0);
    core_ = pw_context_connect(context_, nullptr, 0);
    pw_properties *const properties =
        pw_properties_new(PW_KEY_NODE_NAME, name, PW_KEY_MEDIA_CLASS, "Audio/Sink", nullptr);
    if (fast) pw_properties_set(properties, PW_KEY_NODE_GROUP, "pipewire.freewheel");
    stream_ = pw_stream_new(core_, name, properties);
    events_.version = PW_VERSION_STREAM_EVENTS;
    events_.process = process;
    pw_stream_add_listener(stream_, &hook_, &events_, this);
    connect(latency_frames);
    pw_thread_loop_start(loop_);
  }
  ~OwnSink() {
    pw_thread_loop_stop(loop_);
    pw_stream_destroy(stream_);
    pw_core_disconnect(core_);
    pw_context_destroy(context_);
    pw_thread_loop_destroy(loop_);
    pw_deinit();
  }
  OwnSink(const OwnSink &) = delete;
  OwnSink &operator=(const OwnSink &) = delete;

  // What it heard so far.
  std::vector<float> samples() const {
    return {samples_.begin(), samples_.begin() + static_cast<std::ptrdiff_t>(count_.load())};
  }
  std::size_t count() const { return count_; }

private:
  void connect(std::uint32_t frames) {
    std::uint8_t room[1024];
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, room, sizeof room);
    spa_audio_info_raw format{};
    format.format = SPA_AUDIO_FORMAT_F32;
    format.channels = 2;
    format.position[0] = SPA_AUDIO_CHANNEL_FL;
    format.position[1] = SPA_AUDIO_CHANNEL_FR;
    spa_latency_info latency{};
    latency.direction = SPA_DIRECTION_INPUT;
    latency.min_rate = latency.max_rate = frames;
    const spa_pod *params[] = {spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format),
                               spa_latency_build(&builder, SPA_PARAM_Latency, &latency)};
    constexpr int kFlags = PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS;
    pw_stream_connect(stream_, PW_DIRECTION_INPUT, PW_ID_ANY, static_cast<pw_stream_flags>(kFlags), params, 2);
  }

  static void process(void *self) {
    auto &sink = *static_cast<OwnSink *>(self);
    pw_buffer *const buffer = pw_stream_dequeue_buffer(sink.stream_);
    if (!buffer) return;
    const spa_data &data = buffer->buffer->datas[0];
    const auto *const samples =
        reinterpret_cast<const float *>(static_cast<const char *>(data.data) + data.chunk->offset);
    const std::size_t count = std::min<std::size_t>(data.chunk->size / 4, kRoom - sink.count_);
    std::copy_n(samples, count, sink.samples_.begin() + static_cast<std::ptrdiff_t>(sink.count_));
    sink.count_ += count;
    pw_stream_queue_buffer(sink.stream_, buffer);
  }

  static constexpr std::size_t kRoom = 1 << 21;
  pw_thread_loop *loop_ = nullptr;
  pw_context *context_ = nullptr;
  pw_core *core_ = nullptr;
  pw_stream *stream_ = nullptr;
  pw_stream_events events_{};
  spa_hook hook_{};
  std::vector<float> samples_;
  std::atomic<std::size_t> count_ = 0;
};

}  // namespace auspool::testing

#pragma GCC diagnostic pop
