// One thing of the sound server's that is watched: a node that is a sink or a source, or a metadata that says what the
// defaults or the settings are.
#pragma once

#include <pipewire/pipewire.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/audio_device/pipewire/node.h"
#include "platform/audio_device/pipewire/server_client.h"

namespace auspool::platform {

enum class Kind { kOther, kSink, kSource, kDefaults, kSettings };

// What an object of this type and with these properties is to us.
Kind kind_of(std::string_view type, const spa_dict *properties);

// All with the connection's lock held. The client hears what it tells.
class Watched {
public:
  Watched(ServerClient &client, Kind its_kind, std::uint32_t number, const spa_dict *properties);
  ~Watched();
  Watched(const Watched &) = delete;
  Watched &operator=(const Watched &) = delete;

  bool bind(pw_registry *registry);  // begins to listen; false where it is not there any more
  void went();                       // tells that all that it said is no more
  void ask_for_default(bool is_input, const std::string &name);

  const Kind kind;
  const std::uint32_t number;  // the server's

private:
  struct Handlers;  // what libpipewire calls

  bool is_node() const { return kind == Kind::kSink || kind == Kind::kSource; }
  void describe(const std::vector<std::uint32_t> &positions);
  void tell_default(std::string_view key, const char *value);

  ServerClient &client_;
  pw_proxy *proxy_ = nullptr;
  spa_hook listener_{};
  Node node_;
  bool tells_channels_ = false;  // in a parameter
};

}  // namespace auspool::platform
