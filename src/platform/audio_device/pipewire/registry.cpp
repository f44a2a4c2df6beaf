#include "platform/audio_device/pipewire/registry.h"

#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

#include <algorithm>
#include <new>
#include <string_view>
#include <vector>

#include "platform/audio_device/pipewire/default_name.h"

namespace auspool::platform {
namespace {

constexpr const char *kDefaultKeys[] = {"default.audio.sink", "default.audio.source"};  // by whether it is an input
constexpr const char *kWishKeys[] = {"default.configured.audio.sink", "default.configured.audio.source"};

std::string look_up(const spa_dict *properties, const char *key) {
  const char *const value = properties ? spa_dict_lookup(properties, key) : nullptr;
  return value ? value : "";
}

std::uint32_t channel_at(const std::vector<std::uint32_t> &positions, std::uint32_t position) {
  const auto found = std::ranges::find(positions, position);
  return found == positions.end() ? 0 : static_cast<std::uint32_t>(found - positions.begin()) + 1;
}

enum class Kind { kOther, kSink, kSource, kDefaults, kSettings };

Kind kind_of(std::string_view type, const spa_dict *properties) {
  const std::string media_class = look_up(properties, PW_KEY_MEDIA_CLASS);
  const std::string metadata = look_up(properties, PW_KEY_METADATA_NAME);
  if (type == PW_TYPE_INTERFACE_Node) {
    if (media_class == "Audio/Sink") return Kind::kSink;
    if (media_class == "Audio/Source" || media_class == "Audio/Source/Virtual") return Kind::kSource;
  } else if (type == PW_TYPE_INTERFACE_Metadata) {
    if (metadata == "default") return Kind::kDefaults;
    if (metadata == "settings") return Kind::kSettings;
  }
  return Kind::kOther;
}

// Of a node that is not converted for the graph: what its ports carry is not told.
std::vector<std::uint32_t> positions_of_ports(const pw_node_info &info, bool is_input) {
  const std::uint32_t ports = is_input ? info.n_output_ports : info.n_input_ports;
  return std::vector<std::uint32_t>(std::min<std::uint32_t>(ports, SPA_AUDIO_MAX_CHANNELS), SPA_AUDIO_CHANNEL_UNKNOWN);
}

// Empty where the parameter says nothing of channels.
std::vector<std::uint32_t> positions_of_port_config(const spa_pod *param) {
  const spa_pod *format = nullptr;
  spa_audio_info_raw raw{};
  spa_pod_parse_object(param, SPA_TYPE_OBJECT_ParamPortConfig, nullptr, SPA_PARAM_PORT_CONFIG_format,
                       SPA_POD_OPT_Pod(&format));
  if (!format || spa_format_audio_raw_parse(format, &raw) < 0) return {};
  return {raw.position, raw.position + std::min<std::uint32_t>(raw.channels, SPA_AUDIO_MAX_CHANNELS)};
}

}  // namespace

struct Registry::Hook {
  spa_hook listener{};
};

struct Registry::Watched {
  Watched(Registry &all, Kind its_kind) : registry(all), kind(its_kind) {}
  Watched(const Watched &) = delete;
  Watched &operator=(const Watched &) = delete;
  ~Watched() {
    if (!proxy) return;
    spa_hook_remove(&listener);
    pw_proxy_destroy(proxy);
  }

  bool is_node() const { return kind == Kind::kSink || kind == Kind::kSource; }

  // Says what the channels are, once that is known. Other channels make another device of it.
  void describe(std::vector<std::uint32_t> positions) {
    if (positions == node.positions) return;
    if (!node.positions.empty()) registry.client_.node_went(node.number);
    node.positions = std::move(positions);
    node.left_channel = channel_at(node.positions, SPA_AUDIO_CHANNEL_FL);
    node.right_channel = channel_at(node.positions, SPA_AUDIO_CHANNEL_FR);
    if (!node.positions.empty()) registry.client_.node_came(node);
  }

  // Without a key all are taken away.
  void tell_default(std::string_view key, const char *value) {
    for (const bool is_input : {false, true}) {
      if (!key.empty() && key != kDefaultKeys[is_input]) continue;
      registry.client_.default_changed(is_input, key.empty() ? std::string() : name_in_json(value));
    }
  }

  Registry &registry;
  const Kind kind;
  pw_proxy *proxy = nullptr;
  spa_hook listener{};
  Node node;
  bool tells_channels = false;  // in a parameter
};

struct Registry::Handlers {
  static void node_info(void *data, const pw_node_info *info) {
    auto &watched = *static_cast<Watched *>(data);
    const bool tells = std::any_of(info->params, info->params + info->n_params, [](const spa_param_info &param) {
      return param.id == SPA_PARAM_PortConfig && (param.flags & SPA_PARAM_INFO_READ) != 0;
    });
    if (tells && !watched.tells_channels) {
      std::uint32_t wanted[] = {SPA_PARAM_PortConfig};
      pw_node_subscribe_params(reinterpret_cast<pw_node *>(watched.proxy), wanted, 1);
    }
    watched.tells_channels |= tells;
    if (watched.tells_channels) return;
    without_throwing([&] { watched.describe(positions_of_ports(*info, watched.node.is_input)); });
  }

  static void node_param(void *data, int, std::uint32_t, std::uint32_t, std::uint32_t, const spa_pod *param) {
    if (!param) return;
    without_throwing([&] {
      std::vector<std::uint32_t> positions = positions_of_port_config(param);
      if (!positions.empty()) static_cast<Watched *>(data)->describe(std::move(positions));
    });
  }

  static int property(void *data, std::uint32_t subject, const char *key, const char *, const char *value) {
    auto &watched = *static_cast<Watched *>(data);
    if (subject != 0) return 0;
    without_throwing([&] {
      if (watched.kind == Kind::kDefaults) watched.tell_default(key ? key : "", value);
      if (watched.kind == Kind::kSettings && key) watched.registry.client_.setting_changed(key, value);
    });
    return 0;
  }

  static void global(void *data, std::uint32_t id, std::uint32_t, const char *type, std::uint32_t,
                     const spa_dict *properties) {
    without_throwing([&] { static_cast<Registry *>(data)->watch(id, type, properties); });
  }

  static void global_remove(void *data, std::uint32_t id) {
    without_throwing([&] { static_cast<Registry *>(data)->forget(id); });
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
};

Registry::Registry(pw_core *core, ServerClient &client) : client_(client), hook_(std::make_unique<Hook>()) {
  registry_ = pw_core_get_registry(core, PW_VERSION_REGISTRY, 0);
  if (!registry_) throw std::bad_alloc();
  pw_registry_add_listener(registry_, &hook_->listener, &Handlers::kRegistry, this);
}

Registry::~Registry() {
  watched_.clear();
  spa_hook_remove(&hook_->listener);
  pw_proxy_destroy(reinterpret_cast<pw_proxy *>(registry_));
}

void Registry::watch(std::uint32_t number, const char *type, const spa_dict *properties) {
  const Kind kind = kind_of(type, properties);
  if (kind == Kind::kOther) return;
  Watched &watched = watched_.emplace_back(*this, kind);
  watched.node.number = number;
  watched.node.serial = look_up(properties, PW_KEY_OBJECT_SERIAL);
  watched.node.name = look_up(properties, PW_KEY_NODE_NAME);
  watched.node.is_input = kind == Kind::kSource;
  for (const char *const key : {PW_KEY_NODE_DESCRIPTION, PW_KEY_NODE_NICK, PW_KEY_NODE_NAME}) {
    if (watched.node.title.empty()) watched.node.title = look_up(properties, key);
  }
  if (!bind(watched)) watched_.pop_back();
}

bool Registry::bind(Watched &watched) {
  const bool is_node = watched.is_node();
  watched.proxy = static_cast<pw_proxy *>(
      pw_registry_bind(registry_, watched.node.number, is_node ? PW_TYPE_INTERFACE_Node : PW_TYPE_INTERFACE_Metadata,
                       is_node ? PW_VERSION_NODE : PW_VERSION_METADATA, 0));
  if (!watched.proxy) return false;
  if (is_node) {
    auto *const node = reinterpret_cast<pw_node *>(watched.proxy);
    pw_node_add_listener(node, &watched.listener, &Handlers::kNode, &watched);
  } else {
    auto *const metadata = reinterpret_cast<pw_metadata *>(watched.proxy);
    pw_metadata_add_listener(metadata, &watched.listener, &Handlers::kMetadata, &watched);
  }
  return true;
}

void Registry::forget(std::uint32_t number) {
  const auto gone = std::ranges::find(watched_, number, [](const Watched &watched) { return watched.node.number; });
  if (gone == watched_.end()) return;
  if (gone->kind == Kind::kDefaults) gone->tell_default({}, nullptr);
  if (gone->is_node()) gone->describe({});
  watched_.erase(gone);
}

bool Registry::has_session_manager() const {
  return std::ranges::find(watched_, Kind::kDefaults, &Watched::kind) != watched_.end();
}

bool Registry::ask_for_default(bool is_input, const std::string &name) {
  const auto found = std::ranges::find(watched_, Kind::kDefaults, &Watched::kind);
  if (found == watched_.end()) return false;
  pw_metadata_set_property(reinterpret_cast<pw_metadata *>(found->proxy), 0, kWishKeys[is_input], "Spa:String:JSON",
                           json_with_name(name).c_str());
  return true;
}

}  // namespace auspool::platform
