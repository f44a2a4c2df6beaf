#include "platform/audio_device/pipewire/server.h"

#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>
#include <spa/pod/parser.h>
#include <spa/utils/json.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <string_view>

namespace auspool::platform {
namespace {

constexpr std::int64_t kLongestWait = 1000000000;  // ns
constexpr timespec kRetryDelay = {0, 500000000};
// The server answers in order. The first answer says that all objects are known, the second that they have described
// themselves, the third that their parameters are there.
constexpr int kRoundsUntilReady = 3;

// Callbacks come from C: an object for which memory runs out is one that we do not see.
template <typename Work>
void guarded(const Work &work) noexcept {
  try {
    work();
  } catch (const std::bad_alloc &) {
  }
}

std::string look_up(const spa_dict *properties, const char *key) {
  const char *const value = properties ? spa_dict_lookup(properties, key) : nullptr;
  return value ? value : "";
}

// The value of "name" in {"name": "..."}.
std::string name_in_json(const char *json) {
  if (!json) return {};
  spa_json outer, object;
  spa_json_init(&outer, json, std::strlen(json));
  if (spa_json_enter_object(&outer, &object) <= 0) return {};
  char key[64];
  std::string value(std::strlen(json) + 1, '\0');
  while (spa_json_get_string(&object, key, sizeof key) > 0) {
    if (spa_json_get_string(&object, value.data(), static_cast<int>(value.size())) <= 0) break;
    if (std::string_view(key) == "name") return value.c_str();
  }
  return {};
}

std::string json_with_name(const std::string &name) {
  std::string text(2 * name.size() + 3, '\0');
  const int length = spa_json_encode_string(text.data(), static_cast<int>(text.size()), name.c_str());
  text.resize(static_cast<std::size_t>(std::max(length, 0)));
  return "{\"name\":" + text + "}";
}

std::uint32_t channel_at(const std::vector<std::uint32_t> &positions, std::uint32_t position) {
  const auto found = std::ranges::find(positions, position);
  return found == positions.end() ? 0 : static_cast<std::uint32_t>(found - positions.begin()) + 1;
}

enum class Kind { kOther, kSink, kSource };

Kind kind_of(const std::string &media_class) {
  if (media_class == "Audio/Sink") return Kind::kSink;
  if (media_class == "Audio/Source" || media_class == "Audio/Source/Virtual") return Kind::kSource;
  return Kind::kOther;
}

}  // namespace

struct Server::CoreListener {
  spa_hook core{}, registry{};
};

struct Server::Watched {
  Watched(Server &owner, std::uint32_t id) : server(owner) { node.number = id; }
  Watched(const Watched &) = delete;
  Watched &operator=(const Watched &) = delete;
  ~Watched() {
    if (!proxy) return;
    spa_hook_remove(&listener);
    pw_proxy_destroy(proxy);
  }

  // Says what the channels are, once that is known. Other channels make another device of it.
  void describe(std::vector<std::uint32_t> positions) {
    if (positions == node.positions) return;
    if (!node.positions.empty()) server.client_.node_went(node.number);
    node.positions = std::move(positions);
    node.left_channel = channel_at(node.positions, SPA_AUDIO_CHANNEL_FL);
    node.right_channel = channel_at(node.positions, SPA_AUDIO_CHANNEL_FR);
    if (!node.positions.empty()) server.client_.node_came(node);
  }

  Server &server;
  pw_proxy *proxy = nullptr;
  spa_hook listener{};
  Node node;
  bool asked = false;       // a node's parameters
  std::string defaults[2];  // a metadata's: sink, source
  bool is_defaults = false, is_settings = false;
};

struct Server::Handlers {
  // ---- Nodes ----
  static void node_info(void *data, const pw_node_info *info) {
    auto &watched = *static_cast<Watched *>(data);
    const auto end = info->params + info->n_params;
    const bool tells = std::any_of(info->params, end, [](const spa_param_info &param) {
      return param.id == SPA_PARAM_PortConfig && (param.flags & SPA_PARAM_INFO_READ) != 0;
    });
    if (tells && !watched.asked) {
      std::uint32_t wanted[] = {SPA_PARAM_PortConfig};
      watched.asked = true;
      pw_node_subscribe_params(reinterpret_cast<pw_node *>(watched.proxy), wanted, 1);
    }
    if (tells || watched.asked) return;
    const std::uint32_t all = watched.node.is_input ? info->n_output_ports : info->n_input_ports;
    const std::uint32_t ports = std::min<std::uint32_t>(all, SPA_AUDIO_MAX_CHANNELS);
    guarded([&] { watched.describe(std::vector<std::uint32_t>(ports, SPA_AUDIO_CHANNEL_UNKNOWN)); });
    watched.server.wake();
  }

  static void node_param(void *data, int, std::uint32_t, std::uint32_t, std::uint32_t, const spa_pod *param) {
    auto &watched = *static_cast<Watched *>(data);
    const spa_pod *format = nullptr;
    spa_audio_info_raw raw{};
    if (!param) return;
    spa_pod_parse_object(param, SPA_TYPE_OBJECT_ParamPortConfig, nullptr, SPA_PARAM_PORT_CONFIG_format,
                         SPA_POD_OPT_Pod(&format));
    if (!format || spa_format_audio_raw_parse(format, &raw) < 0 || raw.channels == 0) return;
    const std::size_t channels = std::min<std::size_t>(raw.channels, SPA_AUDIO_MAX_CHANNELS);
    guarded([&] { watched.describe({raw.position, raw.position + channels}); });
    watched.server.wake();
  }

  // ---- Metadata ----
  static int property(void *data, std::uint32_t subject, const char *key, const char *, const char *value) {
    auto &watched = *static_cast<Watched *>(data);
    if (subject != 0) return 0;
    guarded([&] {
      if (watched.is_settings && key) watched.server.client_.setting_changed(key, value);
      if (watched.is_defaults) default_property(watched, key ? key : std::string_view(), value);
    });
    watched.server.wake();
    return 0;
  }

  // Without a key all are taken away.
  static void default_property(Watched &watched, std::string_view key, const char *value) {
    for (const bool is_input : {false, true}) {
      if (!key.empty() && key != (is_input ? "default.audio.source" : "default.audio.sink")) continue;
      watched.server.client_.default_changed(is_input, key.empty() ? std::string() : name_in_json(value));
    }
  }

  // ---- Registry and core ----
  static void global(void *data, std::uint32_t id, std::uint32_t, const char *type, std::uint32_t,
                     const spa_dict *properties) {
    guarded([&] { static_cast<Server *>(data)->watch(id, type, properties); });
  }
  static void global_remove(void *data, std::uint32_t id) {
    guarded([&] { static_cast<Server *>(data)->forget(id); });
  }
  static void core_done(void *data, std::uint32_t id, int sequence) {
    if (id == PW_ID_CORE) guarded([&] { static_cast<Server *>(data)->advance(sequence); });
  }
  // Only this one error ends the connection; others are told of objects that went meanwhile, and the like.
  static void core_error(void *data, std::uint32_t id, int, int result, const char *) {
    const auto &server = *static_cast<Server *>(data);
    if (id != PW_ID_CORE || result != -EPIPE) return;
    pw_loop_signal_event(pw_thread_loop_get_loop(server.loop_), server.lost_event_);  // not from inside its own call
  }

  // ---- The loop ----
  static void lost(void *data, std::uint64_t) {
    auto &server = *static_cast<Server *>(data);
    guarded([&] { server.disconnect(); });
    server.try_again_later();
    server.wake();
  }
  static void timeout(void *data, std::uint64_t) {
    auto &server = *static_cast<Server *>(data);
    guarded([&] {
      if (server.core_) {
        server.client_.try_again();
      } else if (!server.connect()) {
        server.try_again_later();
      }
    });
  }
  static void stream_event(void *data, std::uint64_t) {
    guarded([&] { static_cast<Server *>(data)->client_.streams_changed(); });
  }

  static constexpr pw_node_events kNode = [] {
    pw_node_events events{};
    events.version = PW_VERSION_NODE_EVENTS;
    events.info = node_info;
    events.param = node_param;
    return events;
  }();
  static constexpr pw_metadata_events kMetadata = {PW_VERSION_METADATA_EVENTS, property};
  static constexpr pw_registry_events kRegistry = {PW_VERSION_REGISTRY_EVENTS, global, global_remove};
  static constexpr pw_core_events kCore = [] {
    pw_core_events events{};
    events.version = PW_VERSION_CORE_EVENTS;
    events.done = core_done;
    events.error = core_error;
    return events;
  }();
};

// ---- The connection ----

Server::Server(ServerClient &client) : client_(client), listener_(std::make_unique<CoreListener>()) {
  pw_init(nullptr, nullptr);
  open();
  const std::lock_guard lock(*this);
  if (connect()) {
    wait_until([&] { return ready_ || !core_; });
  } else {
    try_again_later();
  }
}

Server::~Server() {
  close();
}

void Server::open() {
  loop_ = pw_thread_loop_new("auspool sound", nullptr);
  pw_loop *const loop = loop_ ? pw_thread_loop_get_loop(loop_) : nullptr;
  if (loop) {
    // With this configuration the server's own way of getting real-time priority is used.
    context_ = pw_context_new(loop, pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf", nullptr), 0);
    timer_ = pw_loop_add_timer(loop, Handlers::timeout, this);
    stream_event_ = pw_loop_add_event(loop, Handlers::stream_event, this);
    lost_event_ = pw_loop_add_event(loop, Handlers::lost, this);
  }
  if (timer_ && stream_event_ && lost_event_ && pw_thread_loop_start(loop_) == 0) return;
  close();
  throw std::bad_alloc();
}

void Server::close() {
  if (loop_) {
    pw_thread_loop_stop(loop_);
    disconnect();
    pw_loop *const loop = pw_thread_loop_get_loop(loop_);
    for (spa_source *const source : {timer_, stream_event_, lost_event_}) {
      if (source) pw_loop_destroy_source(loop, source);
    }
    if (context_) pw_context_destroy(context_);
    pw_thread_loop_destroy(loop_);
  }
  pw_deinit();
}

bool Server::connect() {
  core_ = context_ ? pw_context_connect(context_, nullptr, 0) : nullptr;
  if (!core_) return false;
  pw_core_add_listener(core_, &listener_->core, &Handlers::kCore, this);
  registry_ = pw_core_get_registry(core_, PW_VERSION_REGISTRY, 0);
  if (registry_) pw_registry_add_listener(registry_, &listener_->registry, &Handlers::kRegistry, this);
  round_ = 0;
  sequence_ = pw_core_sync(core_, PW_ID_CORE, 0);
  return true;
}

void Server::disconnect() {
  if (!core_) return;
  ready_ = false;
  client_.server_went();
  watched_.clear();
  spa_hook_remove(&listener_->core);
  if (registry_) {
    spa_hook_remove(&listener_->registry);
    pw_proxy_destroy(reinterpret_cast<pw_proxy *>(registry_));
  }
  pw_core_disconnect(core_);
  core_ = nullptr;
  registry_ = nullptr;
}

void Server::advance(int sequence) {
  if (ready_ || sequence != sequence_) return;
  if (++round_ < kRoundsUntilReady) {
    sequence_ = pw_core_sync(core_, PW_ID_CORE, 0);
    return;
  }
  ready_ = true;
  client_.server_came();
  wake();
}

// ---- What the server has ----

void Server::watch(std::uint32_t number, const char *type, const spa_dict *properties) {
  const bool is_metadata = std::string_view(type) == PW_TYPE_INTERFACE_Metadata;
  const std::string metadata = look_up(properties, PW_KEY_METADATA_NAME);
  const Kind kind = kind_of(look_up(properties, PW_KEY_MEDIA_CLASS));
  const bool is_node = std::string_view(type) == PW_TYPE_INTERFACE_Node && kind != Kind::kOther;
  if (!is_node && !(is_metadata && (metadata == "default" || metadata == "settings"))) return;

  Watched &watched = watched_.emplace_back(*this, number);
  watched.is_defaults = is_metadata && metadata == "default";
  watched.is_settings = is_metadata && metadata == "settings";
  watched.node.serial = look_up(properties, PW_KEY_OBJECT_SERIAL);
  watched.node.name = look_up(properties, PW_KEY_NODE_NAME);
  for (const char *const key : {PW_KEY_NODE_DESCRIPTION, PW_KEY_NODE_NICK, PW_KEY_NODE_NAME}) {
    if (watched.node.title.empty()) watched.node.title = look_up(properties, key);
  }
  watched.node.is_input = kind == Kind::kSource;
  const std::uint32_t version = is_node ? PW_VERSION_NODE : PW_VERSION_METADATA;
  watched.proxy = static_cast<pw_proxy *>(pw_registry_bind(registry_, number, type, version, 0));
  if (!watched.proxy) {
    watched_.pop_back();
    return;
  }
  if (is_node) {
    pw_node_add_listener(reinterpret_cast<pw_node *>(watched.proxy), &watched.listener, &Handlers::kNode, &watched);
  } else {
    pw_metadata_add_listener(reinterpret_cast<pw_metadata *>(watched.proxy), &watched.listener, &Handlers::kMetadata,
                             &watched);
  }
  if (watched.is_defaults) client_.session_manager_came();
}

void Server::forget(std::uint32_t number) {
  const auto gone = std::ranges::find(watched_, number, [](const Watched &watched) { return watched.node.number; });
  if (gone == watched_.end()) return;
  if (gone->is_defaults) Handlers::default_property(*gone, {}, nullptr);
  gone->describe({});
  watched_.erase(gone);
  wake();
}

bool Server::has_session_manager() const {
  return std::ranges::any_of(watched_, &Watched::is_defaults);
}

bool Server::ask_for_default(bool is_input, const std::string &name) {
  const auto found = std::ranges::find_if(watched_, &Watched::is_defaults);
  if (found == watched_.end()) return false;
  const char *const key = is_input ? "default.configured.audio.source" : "default.configured.audio.sink";
  pw_metadata_set_property(reinterpret_cast<pw_metadata *>(found->proxy), 0, key, "Spa:String:JSON",
                           json_with_name(name).c_str());
  return true;
}

// ---- The loop ----

void Server::lock() {
  pw_thread_loop_lock(loop_);
}

void Server::unlock() {
  pw_thread_loop_unlock(loop_);
}

void Server::wake() {
  pw_thread_loop_signal(loop_, false);
}

void Server::note_stream() {
  pw_loop_signal_event(pw_thread_loop_get_loop(loop_), stream_event_);
}

void Server::try_again_later() {
  timespec delay = kRetryDelay;
  pw_loop_update_timer(pw_thread_loop_get_loop(loop_), timer_, &delay, nullptr, false);
}

Server::Deadline::Deadline(Server &server) : server_(server) {
  timespec end{};
  pw_thread_loop_get_time(server.loop_, &end, kLongestWait);
  seconds_ = end.tv_sec;
  nanoseconds_ = end.tv_nsec;
}

bool Server::Deadline::wait() const {
  timespec end{};
  end.tv_sec = seconds_;
  end.tv_nsec = nanoseconds_;
  return pw_thread_loop_timed_wait_full(server_.loop_, &end) == 0;
}

}  // namespace auspool::platform
