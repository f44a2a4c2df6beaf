#include "platform/audio_device/pipewire/server.h"

#include <pipewire/pipewire.h>

#include <cerrno>
#include <mutex>
#include <new>

namespace auspool::platform {
namespace {

constexpr std::int64_t kLongestWait = 1000000000;  // ns
constexpr timespec kRetryDelay = {0, 500000000};
// The server answers in order. The first answer says that all objects are known, the second that they have described
// themselves, the third that their parameters are there.
constexpr int kRoundsUntilReady = 3;

}  // namespace

struct Server::Hook {
  spa_hook listener{};
};

struct Server::Handlers {
  static void core_done(void *data, std::uint32_t id, int sequence) {
    if (id == PW_ID_CORE) without_throwing([&] { static_cast<Server *>(data)->advance(sequence); });
  }

  // Only this one error ends the connection; others are told of objects that went meanwhile, and the like.
  static void core_error(void *data, std::uint32_t id, int, int result, const char *) {
    const auto &server = *static_cast<Server *>(data);
    if (id != PW_ID_CORE || result != -EPIPE) return;
    pw_loop_signal_event(pw_thread_loop_get_loop(server.loop_), server.lost_event_);  // not from inside its own call
  }

  static void lost(void *data, std::uint64_t) {
    auto &server = *static_cast<Server *>(data);
    server.disconnect();
    server.try_again_later();
    server.wake();
  }

  static void timeout(void *data, std::uint64_t) {
    auto &server = *static_cast<Server *>(data);
    if (server.core_) {
      without_throwing([&] { server.client_.try_again(); });
    } else if (!server.connect()) {
      server.try_again_later();
    }
  }

  static void stream_event(void *data, std::uint64_t) {
    without_throwing([&] { static_cast<Server *>(data)->client_.streams_changed(); });
  }

  static constexpr pw_core_events kCore = [] {
    pw_core_events events{};
    events.version = PW_VERSION_CORE_EVENTS;
    events.done = core_done;
    events.error = core_error;
    return events;
  }();
};

Server::Server(ServerClient &client) : client_(client), hook_(std::make_unique<Hook>()) {
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

// ---- The loop, which is there all the time ----

void Server::open() {
  pw_init(nullptr, nullptr);
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

// ---- The connection, which comes and goes ----

bool Server::connect() {
  core_ = context_ ? pw_context_connect(context_, nullptr, 0) : nullptr;
  if (!core_) return false;
  pw_core_add_listener(core_, &hook_->listener, &Handlers::kCore, this);
  without_throwing([&] { registry_ = std::make_unique<Registry>(core_, client_); });
  if (!registry_) {
    disconnect();
    return false;
  }
  round_ = 0;
  sequence_ = pw_core_sync(core_, PW_ID_CORE, 0);
  return true;
}

void Server::disconnect() {
  if (!core_) return;
  ready_ = false;
  without_throwing([&] { client_.server_went(); });
  registry_.reset();
  spa_hook_remove(&hook_->listener);
  pw_core_disconnect(core_);
  core_ = nullptr;
}

void Server::advance(int sequence) {
  if (ready_ || sequence != sequence_) return;
  if (++round_ < kRoundsUntilReady) {
    sequence_ = pw_core_sync(core_, PW_ID_CORE, 0);
    return;
  }
  ready_ = true;
  wake();
  client_.server_came();
}

}  // namespace auspool::platform
