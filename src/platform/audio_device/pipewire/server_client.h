// Who hears what the sound server tells.
#pragma once

#include <cstdint>
#include <string>

#include "platform/audio_device/pipewire/node.h"

namespace auspool::platform {

// Called on the connection's thread with its lock held.
class ServerClient {
public:
  virtual void node_came(const Node &node) = 0;
  virtual void node_went(std::uint32_t number) = 0;
  virtual void default_changed(bool is_input, const std::string &name) = 0;  // empty for none
  virtual void setting_changed(const char *key, const char *value) = 0;      // null: it was taken away
  virtual void server_came() = 0;
  // Of all nodes and defaults nothing is heard any more. Streams must be gone when this returns.
  virtual void server_went() = 0;
  virtual void streams_changed() = 0;
  // Half a second after `try_again_later`.
  virtual void try_again() = 0;

protected:
  ~ServerClient() = default;
};

// Callbacks come from C: what cannot be done because memory runs out stays undone.
template <typename Work>
void without_throwing(const Work &work) noexcept {
  try {
    work();
  } catch (const std::bad_alloc &) {
  }
}

}  // namespace auspool::platform
