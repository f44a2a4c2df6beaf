// The connection with the sound server: made when it can be, made again when it was lost, and what the server tells
// through it. Of libpipewire this and stream.cpp are all that the library sees.
#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <string>

#include "platform/audio_device/pipewire/node.h"

struct pw_context;
struct pw_core;
struct pw_registry;
struct pw_thread_loop;
struct spa_dict;
struct spa_source;

namespace auspool::platform {

// Hears what the server tells, on the connection's thread with its lock held.
class ServerClient {
public:
  virtual void node_came(const Node &node) = 0;
  virtual void node_went(std::uint32_t number) = 0;
  virtual void default_changed(bool is_input, const std::string &name) = 0;  // empty for none
  virtual void setting_changed(const char *key, const char *value) = 0;
  virtual void server_came() = 0;
  // Of all nodes and defaults nothing is heard any more. Streams must be gone when this returns.
  virtual void server_went() = 0;
  virtual void session_manager_came() = 0;
  virtual void streams_changed() = 0;
  // Half a second after `try_again_later`.
  virtual void try_again() = 0;

protected:
  ~ServerClient() = default;
};

class Server {
public:
  // Waits for what there is at first, for a second at most. Throws std::bad_alloc.
  explicit Server(ServerClient &client);
  // Nothing is heard afterwards. Streams must be gone.
  ~Server();

  // Guards all that the client knows, and the streams; std::lock_guard takes it.
  void lock();
  void unlock();

  // With the lock held, which is given up meanwhile: waits until `done` is true, for a second at most, and says whether
  // it is.
  template <typename Done>
  bool wait_until(const Done &done) {
    const Deadline deadline(*this);
    while (!done()) {
      if (!deadline.wait()) return done();
    }
    return true;
  }

  // What follows is called with the lock held.
  bool is_connected() const { return ready_; }
  // Somebody connects streams with devices; without such a session manager none ever plays.
  bool has_session_manager() const;
  // Asks for another default; whether that could be asked.
  bool ask_for_default(bool is_input, const std::string &name);
  void try_again_later();
  pw_core *core() const { return core_; }

  // From any thread, without lock or wait: lets the client hear streams_changed.
  void note_stream();
  // Wakes those who wait: with the lock held.
  void wake();

private:
  struct Watched;   // a node or a metadata of the server's, as a proxy
  struct Handlers;  // the tables of what libpipewire calls
  struct CoreListener;
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
  void watch(std::uint32_t number, const char *type, const spa_dict *properties);
  void forget(std::uint32_t number);

  ServerClient &client_;
  pw_thread_loop *loop_ = nullptr;
  pw_context *context_ = nullptr;
  pw_core *core_ = nullptr;
  pw_registry *registry_ = nullptr;
  std::unique_ptr<CoreListener> listener_;
  spa_source *timer_ = nullptr, *stream_event_ = nullptr, *lost_event_ = nullptr;
  std::list<Watched> watched_;
  int sequence_ = 0, round_ = 0;
  bool ready_ = false;
};

}  // namespace auspool::platform
