#include "platform/audio_device/pipewire/registry.h"

#include <pipewire/pipewire.h>

#include <algorithm>
#include <new>

#include "platform/audio_device/pipewire/watched.h"

namespace auspool::platform {

struct Registry::Hook {
  spa_hook listener{};
};

struct Registry::Handlers {
  static void global(void *data, std::uint32_t id, std::uint32_t, const char *type, std::uint32_t,
                     const spa_dict *properties) {
    without_throwing([&] { static_cast<Registry *>(data)->watch(id, type, properties); });
  }

  static void global_remove(void *data, std::uint32_t id) {
    without_throwing([&] { static_cast<Registry *>(data)->forget(id); });
  }

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
  if (!watched_.emplace_back(client_, kind, number, properties).bind(registry_)) watched_.pop_back();
}

void Registry::forget(std::uint32_t number) {
  const auto gone = std::ranges::find(watched_, number, &Watched::number);
  if (gone == watched_.end()) return;
  gone->went();
  watched_.erase(gone);
}

bool Registry::has_session_manager() const {
  return std::ranges::find(watched_, Kind::kDefaults, &Watched::kind) != watched_.end();
}

bool Registry::ask_for_default(bool is_input, const std::string &name) {
  const auto found = std::ranges::find(watched_, Kind::kDefaults, &Watched::kind);
  if (found == watched_.end()) return false;
  found->ask_for_default(is_input, name);
  return true;
}

}  // namespace auspool::platform
