// The record behind the handle of auspool/aurec.h.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#include "auspool/aurec.h"
#include "recorder/ext_vars.h"

namespace auspool {
class Recorder;

constexpr std::int64_t kDefaultBufferSize = 10485760;
}  // namespace auspool

struct aurec {
  void *ext_ref = nullptr;
  aurec_path_cb path_cb = nullptr;
  aurec_file_cb start_cb = nullptr;
  aurec_file_cb finalize_cb = nullptr;
  aurec_file_cb done_cb = nullptr;
  AuRecOutputType output_type = AuRecOutputTypeAIFF;
  AuRecOptionsPCM pcm_options;
  AuRecOptionsMP3 mp3_options;
  AuRecOptionsAAC aac_options;
  AuRecOptionsALAC alac_options;
  AuRecOptionsFLAC flac_options;
  std::int64_t buffer_size = auspool::kDefaultBufferSize;
  aurec_error_log_cb error_log_cb = nullptr;
  std::atomic<aurec_state_changed_cb> state_changed_cb{nullptr};
  auspool::ext_vars_t ext_vars;
  std::atomic<auspool::Recorder *> recorder{nullptr};
  std::uint32_t thread_count = 0;  // background file jobs that still run
  std::mutex thread_mutex;         // guards thread_count

  bool ending = false;  // the control thread is in end_recorder: a callback of it comes back in
  // How many calls are inside `recorder` from threads that do not control the record: see UseOfRecorder.
  mutable std::atomic<std::uint32_t> uses{0};
};

namespace auspool {

// Borrows the recorder on any thread, above all the audio thread's: what it sees cannot be deleted in this scope.
//
// The use is counted before the pointer is read, and forget_recorder clears the pointer before it reads the count.
// Both are sequentially consistent, so one of the two sees the other.
class UseOfRecorder {
public:
  explicit UseOfRecorder(const aurec *rec) : uses_(rec->uses) {
    uses_.fetch_add(1, std::memory_order_seq_cst);
    recorder_ = rec->recorder.load(std::memory_order_seq_cst);
  }
  ~UseOfRecorder() { uses_.fetch_sub(1, std::memory_order_release); }
  UseOfRecorder(const UseOfRecorder &) = delete;
  UseOfRecorder &operator=(const UseOfRecorder &) = delete;

  explicit operator bool() const { return recorder_ != nullptr; }
  Recorder &operator*() const { return *recorder_; }

private:
  std::atomic<std::uint32_t> &uses_;
  Recorder *recorder_;
};

// Takes the recorder out of reach and waits until no use is left. The control thread's.
void forget_recorder(aurec *rec);

}  // namespace auspool
