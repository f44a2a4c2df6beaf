// What a sound server has, as it tells through one connection: sinks, sources, defaults and settings.
#pragma once

#include <list>
#include <memory>
#include <string>

#include "platform/audio_device/pipewire/server_client.h"

struct pw_core;
struct pw_registry;
struct spa_dict;

namespace auspool::platform {

class Watched;

// All with the connection's lock held.
class Registry {
public:
  Registry(pw_core *core, ServerClient &client);  // throws std::bad_alloc
  ~Registry();
  Registry(const Registry &) = delete;
  Registry &operator=(const Registry &) = delete;

  // Somebody connects streams with devices; without such a session manager none ever plays.
  bool has_session_manager() const;
  // Asks it for another default; whether there was one to ask.
  bool ask_for_default(bool is_input, const std::string &name);

private:
  struct Handlers;
  struct Hook;

  void watch(std::uint32_t number, const char *type, const spa_dict *properties);
  void forget(std::uint32_t number);

  ServerClient &client_;
  std::unique_ptr<Hook> hook_;
  pw_registry *registry_ = nullptr;
  std::list<Watched> watched_;
};

}  // namespace auspool::platform
