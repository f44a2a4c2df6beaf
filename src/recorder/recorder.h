// One recording. `Recorder` owns all that does not depend on the format; a class a format supplies run_core and
// flush_buffer and describes itself.
//
// A sample's road: record() on the audio thread (capture.cpp) puts it into the ring; on the worker core_loop
// (core_loop.cpp) calls flush_buffer of the format, which takes it out through get_audio (get_audio.cpp), encodes it
// and writes it to the file that open_fp (files.cpp) made.
//
// States, each with the flags that are set in it:
//
//   Idle       -                                start():               Starting
//   Starting   started                          rate known:            Opening     stop_requested: Finished, error 1
//   Opening    started                          open_fp gave a file:   Recording   null: Finished
//   Recording  started, recording, file_open    split due:             Splitting   stop_requested: Draining
//   Splitting  started, recording               open_fp gave a file:   Recording   null: Finished
//   Draining   started, file_open               ring empty, closed:    Finished
//   Finished   -                                SafeDelete()
#pragma once

#include <atomic>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <mutex>
#include <vector>

#include "auspool/aurec.h"
#include "base/biquad.h"
#include "base/relaxed.h"
#include "platform/thread.h"
#include "recorder/ext_vars.h"
#include "recorder/input_rate.h"
#include "recorder/tag_block.h"

namespace auspool {

struct CloseFile {
  void operator()(std::FILE *file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, CloseFile>;

// What work that outlives the Recorder takes with it.
struct post_proc_data_t {
  void *ext_ref;
  ::aurec *aurec;
  aurec_file_cb done_cb;
  void *file_token;
  std::int32_t type;
  std::int32_t file_index;
  float duration;  // seconds
  bool flag;
};

class Recorder {
public:
  Recorder(::aurec *owner, ext_vars_t *shared) : aurec(owner), ext_vars(shared) {}
  Recorder(const Recorder &) = delete;
  Recorder &operator=(const Recorder &) = delete;

  // Ends the recording, takes the object from the record and deletes it. The control thread's.
  virtual void SafeDelete();
  virtual std::size_t stack_size() const { return 0; }  // bytes that the worker needs; 0: the default will do
  virtual AuRecOutputType type() const = 0;
  virtual std::uint32_t os_type() const = 0;  // four-character codes
  virtual std::uint32_t creator() const { return 0; }

protected:
  virtual ~Recorder() = default;
  virtual void run_core() = 0;
  // Moves one block from the ring to the file and returns the frames written. `pad` fills a format's last packet up.
  virtual std::int32_t flush_buffer(std::FILE *file, bool pad) = 0;

public:
  // The control thread's (recorder.cpp).
  std::int32_t start(float rate);  // 0, or -1 if the worker could not be started
  void stop();
  void pause(bool wanted);
  void make_new_file();
  // For a host that calls from a callback: on the worker nothing can wait for the worker.
  bool is_on_worker() const;
  void request_stop() { stop_requested = true; }

  // The audio thread's (capture.cpp).
  std::int32_t record(float rate, const float *const channels[2], std::int32_t frames);

  // Any thread's (progress.cpp).
  bool is_recording() const { return recording.load(std::memory_order_acquire) && !stop_requested; }
  bool is_active() const { return started || file_open; }
  bool is_paused() const { return paused; }
  std::int64_t file_size() const;
  std::int64_t total_size() const;
  double file_time() const;
  double total_time() const;

protected:
  // The worker's, in the order in which a format's run_core calls them.
  FilePtr open_fp(TagsOfFile &tags);
  void begin_file(std::FILE *file);  // audio is accepted from here on
  bool core_loop(std::FILE *file);   // true to go on in a new file, false to end
  void drain(std::FILE *file);       // accepts no more and writes what the ring holds
  void close_books();                // adds the file's size to the total; the descriptor is not looked at any more
  bool delete_empty_file();          // true if it held no audio
  bool keep_or_delete_file();        // true if it holds audio, of which the host is told
  void end_recording();              // nothing is accepted, no file is open

  std::int32_t get_audio(float *buffer, std::int32_t frames, bool want_full, bool pad);
  void count_frames(std::int32_t frames);
  void set_file_ostype_creator(const char *file_path) const;
  void file_finalize();
  void file_done();
  void fill_post_proc_data(post_proc_data_t *data, bool flag) const;
  void call_state_changed_cb();
  void post_state_changed();
  void log_error(AuRecErrorCode code, const char *format, ...) __attribute__((format(printf, 3, 4)));

private:
  // recorder.cpp
  static void run_th(void *self);
  void run();
  void wait_for_work();
  void wake_worker();

  // capture.cpp
  enum class Verdict { kKeep, kKeepAndSplit, kDiscard };
  void change_rate(float rate);
  void recover_from_overrun();
  void follow_meter_settings();
  Verdict judge_silence(std::int32_t mode, float rate, const float *const channels[2], std::int32_t frames);
  Verdict on_silence(std::int32_t mode);
  std::int32_t write_to_ring(const float *const channels[2], std::int32_t frames);
  void arm_split_in_silence();

  // core_loop.cpp
  bool countdown_ended(std::int32_t frames_written);
  bool limit_passed();
  bool size_is_beyond(std::int64_t bytes);

  // files.cpp
  bool may_ask_again(int error);
  void log_open_error(int error);

  // get_audio.cpp
  using InputLock = std::unique_lock<platform::SpinLock>;
  float follow_input_rate();
  std::int32_t read_ring(float *buffer, std::uint32_t frames);
  std::int32_t get_audio_as_it_is(float *buffer, std::int32_t frames, bool want_full, bool pad);
  std::int32_t get_audio_converted(InputLock lock, float rate, float *buffer, std::int32_t frames, bool want_full,
                                   bool pad);
  float *conversion_memory(std::uint32_t frames);
  void lpf_reset();
  void lpf_process(float *buffer, std::int32_t frames, float cutoff);

  std::int64_t size_on_disk() const;

protected:
  Relaxed<std::int64_t> file_frames{0};
  Relaxed<std::int64_t> total_frames{0};
  Relaxed<std::int64_t> total_bytes{0};  // of all completed files
  Relaxed<float> rate_in{0};             // of incoming audio; 0 while not known
  Relaxed<float> rate_out{0};
  int fd = -1;                  // of the current file; changed under fd_lock
  std::int32_t file_index = 0;  // of the current file
  void *file_token = nullptr;   // what path_cb returned for it
  char path[AUREC_PATH_BYTES] = {};
  std::atomic<bool> recording{false};  // the worker accepts audio
  Relaxed<bool> started{false};        // the recording as a whole is under way
  Relaxed<bool> file_open{false};      // a file exists and is being written
  ::aurec *const aurec;                // the owner

private:
  platform::Thread thread;
  Relaxed<bool> waiting{false};  // the worker sleeps: a hint that spares the audio thread a system call
  Relaxed<bool> stop_requested{false};
  bool overrun = false;                         // the last block was not written whole; the audio thread's
  bool in_silence = false;                      // silence mode 2 holds audio back; the audio thread's
  Relaxed<std::int32_t> new_file_countdown{0};  // frames until the next split; -1 at once, 0 none
  Relaxed<bool> paused{false};
  float lpf_cutoff = 0;  // the worker's, like all that follows
  BiquadCoefficients lpf;
  BiquadState lpf_state[2];

protected:
  ext_vars_t *const ext_vars;

private:
  // Held by the worker from its look at the input's rate until it has read the audio, and by the audio thread while it
  // changes both: so audio is never taken for that of another rate.
  platform::SpinLock input_lock;
  std::uint32_t rate_changes = 0;        // under input_lock
  std::uint32_t rate_changes_seen = 0;   // by the filters
  std::uint32_t meter_resets = 0;        // that the meter has seen; the audio thread's
  std::vector<float> conversion_buffer;  // input frames on their way to the sampler
  std::int64_t size_at_last_look = -1;   // of the file on the disk; -1 before the first look
  std::int64_t frames_at_last_look = 0;  // file_frames at that moment
  int refusals_after_stop = 0;           // names of files that exist, since the end was asked for
  mutable std::mutex fd_lock;            // no descriptor is closed while another thread asks for its size
};

}  // namespace auspool
