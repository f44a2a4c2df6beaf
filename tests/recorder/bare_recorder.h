// A recorder without a format, for what all formats share. Its worker only accepts audio until the end; a test calls
// the worker's steps itself, with `flush` as the format.
#pragma once

#include <functional>

#include "buffers/ring.h"
#include "recorder/aurec_record.h"
#include "recorder/recorder.h"
#include "support/recording_host.h"

namespace auspool::testing {

class BareRecorder final : public Recorder {
public:
  // Puts a recorder on the record, with an empty ring. The record owns it.
  static BareRecorder &on(::aurec *rec, float rate_out = 44100.0f) {
    aurec_stop(rec);
    rbuffer_set_size(rec->ext_vars.ring.get(), static_cast<std::int32_t>(aurec_buffer_size(rec)));
    auto *const recorder = new BareRecorder(rec);
    recorder->rate_out = rate_out;
    rec->recorder = recorder;
    return *recorder;
  }

  // As if the worker were recording audio of this rate, though none runs.
  void pretend(float rate) {
    ausampler_reset(ext_vars->sampler.get());
    rate_in = rate;
    started = true;
    recording = true;
  }

  AuRecOutputType type() const override { return 77; }
  std::uint32_t os_type() const override { return 0; }
  std::size_t stack_size() const override { return stack; }

  std::size_t stack = 0;
  std::function<std::int32_t(bool pad)> flush = [](bool) { return 0; };
  std::function<void()> core;  // instead of accepting audio until the end

  using Recorder::begin_file;
  using Recorder::close_books;
  using Recorder::core_loop;
  using Recorder::drain;
  using Recorder::end_recording;
  using Recorder::file_frames;
  using Recorder::file_index;
  using Recorder::file_open;
  using Recorder::file_token;
  using Recorder::fill_post_proc_data;
  using Recorder::get_audio;
  using Recorder::log_error;
  using Recorder::open_fp;
  using Recorder::path;
  using Recorder::rate_in;
  using Recorder::rate_out;
  using Recorder::recording;
  using Recorder::started;
  using Recorder::total_bytes;
  using Recorder::total_frames;

private:
  explicit BareRecorder(::aurec *rec) : Recorder(rec, &rec->ext_vars) {}

  void run_core() override {
    if (core) return core();
    recording = true;
    while (is_recording()) std::this_thread::sleep_for(std::chrono::microseconds(100));
    end_recording();
  }
  std::int32_t flush_buffer(std::FILE *, bool pad) override { return flush(pad); }
};

inline rbuffer *ring_of(Host &host) {
  return host.rec()->ext_vars.ring.get();
}
inline std::int32_t frames_in_ring(Host &host) {
  return rbuffer_used_space(ring_of(host)) / 8;
}

// A request for a new file does not wake the worker, and a block that is not written looks to it like an empty ring.
inline void wake_worker(Host &host) {
  host.rec()->ext_vars.semaphore.post();
}

// Asks for a new file and waits for it.
inline void split(Host &host) {
  const std::size_t files = host.count("start");
  host.wait_until_ring_is_empty();
  aurec_make_new_file(host);
  host.wait_until(
      [&] {
        wake_worker(host);
        return host.count("start") > files;
      },
      "the next file");
  host.wait_until_recording();
}

// Keeps the worker from reading the ring, so that it finds whole blocks when it may again.
class RingHeld {
public:
  explicit RingHeld(Host &host) : host_(host) { ring_of(host)->read_lock.lock(); }
  ~RingHeld() {
    ring_of(host_)->read_lock.unlock();
    wake_worker(host_);
  }
  RingHeld(const RingHeld &) = delete;
  RingHeld &operator=(const RingHeld &) = delete;

private:
  Host &host_;
};

// Takes all that waits in the ring, as interleaved frames.
inline Samples take_from_ring(Host &host) {
  Samples frames(2 * static_cast<std::size_t>(frames_in_ring(host)));
  rbuffer_read(ring_of(host), frames.data(), static_cast<std::int32_t>(4 * frames.size()));
  return frames;
}

}  // namespace auspool::testing
