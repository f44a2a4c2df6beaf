#include "platform/audio_device/pipewire/watched.h"

#include <pipewire/extensions/metadata.h>
#include <spa/param/audio/format-utils.h>

#include <algorithm>

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

struct Watched::Handlers {
  static void node_info(void *data, const pw_node_info *info) {
    auto &watched = *static_cast<Watched *>(data);
    const bool tells = std::any_of(info->params, info->params + info->n_params, [](const spa_param_info &param) {
      return param.id == SPA_PARAM_PortConfig && (param.flags & SPA_PARAM_INFO_READ) != 0;
    });
    if (tells && !watched.tells_channels_) {
      std::uint32_t wanted[] = {SPA_PARAM_PortConfig};
      pw_node_subscribe_params(reinterpret_cast<pw_node *>(watched.proxy_), wanted, 1);
    }
    watched.tells_channels_ |= tells;
    if (watched.tells_channels_) return;
    without_throwing([&] { watched.describe(positions_of_ports(*info, watched.node_.is_input)); });
  }

  static void node_param(void *data, int, std::uint32_t, std::uint32_t, std::uint32_t, const spa_pod *param) {
    if (!param) return;
    without_throwing([&] {
      const std::vector<std::uint32_t> positions = positions_of_port_config(param);
      if (!positions.empty()) static_cast<Watched *>(data)->describe(positions);
    });
  }

  static int property(void *data, std::uint32_t subject, const char *key, const char *, const char *value) {
    auto &watched = *static_cast<Watched *>(data);
    if (subject != 0) return 0;
    without_throwing([&] {
      if (watched.kind == Kind::kDefaults) watched.tell_default(key ? key : "", value);
      if (watched.kind == Kind::kSettings && key) watched.client_.setting_changed(key, value);
    });
    return 0;
  }

  static constexpr pw_node_events kNode = [] {
    pw_node_events events{};
    events.version = PW_VERSION_NODE_EVENTS;
    events.info = node_info;
    events.param = node_param;
    return events;
  }();
  static constexpr pw_metadata_events kMetadata = {PW_VERSION_METADATA_EVENTS, property};
};

Watched::Watched(ServerClient &client, Kind its_kind, std::uint32_t its_number, const spa_dict *properties)
    : kind(its_kind), number(its_number), client_(client) {
  node_.number = number;
  node_.serial = look_up(properties, PW_KEY_OBJECT_SERIAL);
  node_.name = look_up(properties, PW_KEY_NODE_NAME);
  node_.is_input = kind == Kind::kSource;
  for (const char *const key : {PW_KEY_NODE_DESCRIPTION, PW_KEY_NODE_NICK, PW_KEY_NODE_NAME}) {
    if (node_.title.empty()) node_.title = look_up(properties, key);
  }
}

Watched::~Watched() {
  if (!proxy_) return;
  spa_hook_remove(&listener_);
  pw_proxy_destroy(proxy_);
}

bool Watched::bind(pw_registry *registry) {
  const bool of_node = is_node();
  proxy_ = static_cast<pw_proxy *>(pw_registry_bind(registry, number,
                                                    of_node ? PW_TYPE_INTERFACE_Node : PW_TYPE_INTERFACE_Metadata,
                                                    of_node ? PW_VERSION_NODE : PW_VERSION_METADATA, 0));
  if (!proxy_) return false;
  if (of_node) {
    auto *const node = reinterpret_cast<pw_node *>(proxy_);
    pw_node_add_listener(node, &listener_, &Handlers::kNode, this);
  } else {
    auto *const metadata = reinterpret_cast<pw_metadata *>(proxy_);
    pw_metadata_add_listener(metadata, &listener_, &Handlers::kMetadata, this);
  }
  return true;
}

// Says what the channels are, once that is known. Other channels make another device of it.
void Watched::describe(const std::vector<std::uint32_t> &positions) {
  if (positions == node_.positions) return;
  if (!node_.positions.empty()) client_.node_went(node_.number);
  node_.positions = positions;
  node_.left_channel = channel_at(node_.positions, SPA_AUDIO_CHANNEL_FL);
  node_.right_channel = channel_at(node_.positions, SPA_AUDIO_CHANNEL_FR);
  if (!node_.positions.empty()) client_.node_came(node_);
}

// Without a key all are taken away.
void Watched::tell_default(std::string_view key, const char *value) {
  for (const bool is_input : {false, true}) {
    if (!key.empty() && key != kDefaultKeys[is_input]) continue;
    client_.default_changed(is_input, key.empty() ? std::string() : name_in_json(value));
  }
}

void Watched::went() {
  if (kind == Kind::kDefaults) tell_default({}, nullptr);
  if (is_node()) describe({});
}

void Watched::ask_for_default(bool is_input, const std::string &name) {
  pw_metadata_set_property(reinterpret_cast<pw_metadata *>(proxy_), 0, kWishKeys[is_input], "Spa:String:JSON",
                           json_with_name(name).c_str());
}

}  // namespace auspool::platform
