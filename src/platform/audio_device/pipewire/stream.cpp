#include "platform/audio_device/pipewire/stream.h"

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

#include <algorithm>
#include <new>

namespace auspool::platform {
namespace {

// As the server reads them: in a stream's properties a wish is a text.
void describe(pw_properties *properties, const GraphWish &wish) {
  const auto rate = static_cast<unsigned>(wish.rate);
  if (wish.forces_rate) pw_properties_setf(properties, PW_KEY_NODE_FORCE_RATE, "%u", rate);
  if (wish.frames != 0) pw_properties_setf(properties, PW_KEY_NODE_LATENCY, "%u/%u", wish.frames, rate);
}

CycleMoment moment_of(pw_stream *stream, double rate) {
  pw_time time{};
  CycleMoment moment;
  moment.rate = rate;
  if (pw_stream_get_time_n(stream, &time, sizeof time) < 0 || time.rate.denom == 0 || rate == 0.0) return moment;
  moment.host_time = static_cast<std::uint64_t>(time.now);
  const double waiting =
      static_cast<double>(time.queued + time.buffered) / rate;  // queued: frames, as we say in `size`
  moment.latency = static_cast<double>(time.delay) * time.rate.num / time.rate.denom + waiting;
  return moment;
}

}  // namespace

struct IoStream::Hook {
  spa_hook listener{};
};

struct IoStream::Handlers {
  static void state_changed(void *data, pw_stream_state, pw_stream_state state, const char *) {
    auto &stream = *static_cast<IoStream *>(data);
    stream.runs_ = state == PW_STREAM_STATE_STREAMING;
    stream.failed_ |= state == PW_STREAM_STATE_ERROR;
    stream.server_.note_stream();
  }

  static void param_changed(void *data, std::uint32_t id, const spa_pod *param) {
    auto &stream = *static_cast<IoStream *>(data);
    spa_audio_info_raw format{};
    if (id != SPA_PARAM_Format || !param || spa_format_audio_raw_parse(param, &format) < 0) return;
    stream.rate_.store(format.rate, std::memory_order_relaxed);
    stream.server_.note_stream();
  }

  static void process(void *data) { static_cast<IoStream *>(data)->process(); }

  static constexpr pw_stream_events kStream = [] {
    pw_stream_events events{};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.state_changed = state_changed;
    events.param_changed = param_changed;
    events.process = process;
    return events;
  }();
};

IoStream::IoStream(Server &server, const Node &node, ObjectId device, IoProc proc, void *client, const GraphWish &wish)
    : server_(server),
      is_input_(node.is_input),
      channels_(static_cast<std::uint32_t>(node.positions.size())),
      cycle_(device, channels_, proc, client),
      hook_(std::make_unique<Hook>()) {
  // The stream stays where it is put: it ends with its device, and no remembered target of an earlier run counts.
  pw_properties *const properties = pw_properties_new(
      PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, is_input_ ? "Capture" : "Playback", PW_KEY_TARGET_OBJECT,
      node.serial.c_str(), PW_KEY_NODE_DONT_RECONNECT, "true", "state.restore-target", "false", nullptr);
  if (!properties) throw std::bad_alloc();
  describe(properties, wish);
  stream_ = pw_stream_new(server.core(), pw_get_prgname(), properties);
  if (!stream_) throw std::bad_alloc();
  pw_stream_add_listener(stream_, &hook_->listener, &Handlers::kStream, this);
  connect(node);
}

IoStream::~IoStream() {
  pw_stream_destroy(stream_);
}

// No rate is given: the stream then runs at the graph's, and changes with it.
void IoStream::connect(const Node &node) {
  spa_audio_info_raw format{};
  format.format = SPA_AUDIO_FORMAT_F32;
  format.channels = channels_;
  std::ranges::copy(node.positions, format.position);
  std::uint8_t room[1024];
  spa_pod_builder builder{};
  spa_pod_builder_init(&builder, room, sizeof room);
  const spa_pod *params[] = {spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format)};
  constexpr int kFlags = PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS;
  failed_ |= pw_stream_connect(stream_, is_input_ ? PW_DIRECTION_INPUT : PW_DIRECTION_OUTPUT, PW_ID_ANY,
                               static_cast<pw_stream_flags>(kFlags), params, 1) < 0;
}

void IoStream::wish(const GraphWish &wish) {
  pw_properties *const properties = pw_properties_new(nullptr, nullptr);
  if (!properties) throw std::bad_alloc();
  describe(properties, wish);
  pw_stream_update_properties(stream_, &properties->dict);
  pw_properties_free(properties);
}

// The real-time thread. What libpipewire does here it does for any stream; ours takes no lock, allocates nothing and
// makes one system call, which cannot block, when the size of cycles changes.
void IoStream::process() {
  pw_buffer *const buffer = pw_stream_dequeue_buffer(stream_);
  if (!buffer) return;
  spa_data &data = buffer->buffer->datas[0];
  const std::uint32_t frame_bytes = 4 * channels_;
  const CycleMoment moment = moment_of(stream_, rate());
  std::uint32_t frames = 0;
  if (data.data && is_input_) {
    const std::uint32_t offset = std::min(data.chunk->offset, data.maxsize);
    frames = std::min(data.chunk->size, data.maxsize - offset) / frame_bytes;
    cycle_.capture(reinterpret_cast<const float *>(static_cast<const std::byte *>(data.data) + offset), frames, moment);
  } else if (data.data) {
    const std::uint32_t room = data.maxsize / frame_bytes;
    frames = buffer->requested != 0 ? std::min(room, static_cast<std::uint32_t>(buffer->requested)) : room;
    cycle_.play(static_cast<float *>(data.data), frames, moment);
    data.chunk->offset = 0;
    data.chunk->stride = static_cast<std::int32_t>(frame_bytes);
    data.chunk->size = frames * frame_bytes;
  }
  buffer->size = frames;
  pw_stream_queue_buffer(stream_, buffer);
  if (frames != 0 && frames_.exchange(frames, std::memory_order_relaxed) != frames) server_.note_stream();
}

}  // namespace auspool::platform
