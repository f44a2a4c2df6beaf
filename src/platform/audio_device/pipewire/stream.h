// The audio of one IO proc on its way to a sink or from a source of the sound server.
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "platform/audio_device/pipewire/io_cycle.h"
#include "platform/audio_device/pipewire/node.h"
#include "platform/audio_device/pipewire/server.h"

struct pw_stream;

namespace auspool::platform {

// What is asked of the graph for a device.
struct GraphWish {
  double rate = 0.0;         // the one that it has, or shall have
  bool forces_rate = false;  // not only if nothing else runs
  std::uint32_t frames = 0;  // a cycle; 0 for no wish
};

class IoStream {
public:
  // Connects, with the server's lock held; when it runs the client hears streams_changed. Throws std::bad_alloc; what
  // else fails shows in has_failed.
  IoStream(Server &server, const Node &node, ObjectId device, IoProc proc, void *client, const GraphWish &wish);
  // With the lock held. Waits while the proc runs.
  ~IoStream();
  IoStream(const IoStream &) = delete;
  IoStream &operator=(const IoStream &) = delete;

  // With the lock held.
  void wish(const GraphWish &wish);
  bool runs() const { return runs_; }
  bool has_failed() const { return failed_; }
  // The frames a second and a cycle that the proc gets; 0 before anything runs.
  double rate() const { return rate_.load(std::memory_order_relaxed); }
  std::uint32_t frames() const { return frames_.load(std::memory_order_relaxed); }

private:
  struct Handlers;
  struct Hook;

  void connect(const Node &node);
  void process();

  Server &server_;
  const bool is_input_;
  const std::uint32_t channels_;
  IoCycle cycle_;
  std::unique_ptr<Hook> hook_;
  pw_stream *stream_ = nullptr;
  bool runs_ = false, failed_ = false;
  std::atomic<std::uint32_t> rate_ = 0, frames_ = 0;  // the thread of the connection and the real-time one
};

}  // namespace auspool::platform
