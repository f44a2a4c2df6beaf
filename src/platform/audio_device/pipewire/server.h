// The connection with the sound server: made when it can be, and made again when it was lost.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/audio_device/pipewire/registry.h"
#include "platform/audio_device/pipewire/server_client.h"

struct pw_context;
struct pw_core;
struct pw_thread_loop;
struct spa_source;

namespace auspool::platform {

class Server {
public:
  // Waits for what there is at first, for a second at most. Throws std::bad_alloc.
  explicit Server(ServerClient &client);
  // Nothing is heard afterwards. Streams must be gone.
  ~Server();
  Server(const Server &) = delete;
  Server &operator=(const Server &) = delete;

  // Guards all that the client knows, and the streams; std::lock_guard takes it.
  void lock();
  void unlock();

  // What follows is called with the lock held. The wait gives it up meanwhile, until `done` is true, for a second at
  // most, and says whether it is.
  template <typename Done>
  bool wait_until(const Done &done) {
    const Deadline deadline(*this);
    while (!done()) {
      if (!deadline.wait()) return done();
    }
    return true;
  }
  void wake();  // those who wait

  bool is_connected() const { return ready_; }
  bool has_session_manager() const { return registry_ && registry_->has_session_manager(); }
  bool ask_for_default(bool is_input, const std::string &name) {
    return registry_ && registry_->ask_for_default(is_input, name);
  }
  void try_again_later();
  pw_core *core() const { return core_; }

  // From any thread, without lock or wait: lets the client hear streams_changed.
  void note_stream();

private:
  struct Handlers;  // what libpipewire calls
  struct Hook;
  class Deadline {
  public:
    explicit Deadline(Server &server);
    bool wait() const;  // false when it is past

  private:
    Server &server_;
    std::int64_t seconds_ = 0, nanoseconds_ = 0;
  };

  void open();
  void close();
  bool connect();
  void disconnect();
  void advance(int sequence);

  ServerClient &client_;
  std::unique_ptr<Hook> hook_;
  pw_thread_loop *loop_ = nullptr;
  pw_context *context_ = nullptr;
  spa_source *timer_ = nullptr, *stream_event_ = nullptr, *lost_event_ = nullptr;
  pw_core *core_ = nullptr;
  std::unique_ptr<Registry> registry_;
  int sequence_ = 0, round_ = 0;
  bool ready_ = false;
};

}  // namespace auspool::platform
