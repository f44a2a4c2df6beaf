// A recording's life: its worker, its end, and what the control thread asks for.
#include "recorder/recorder.h"

#include <chrono>

#include "recorder/aurec_record.h"

namespace auspool {
namespace {

thread_local const Recorder *recorder_of_this_thread = nullptr;

}  // namespace

std::int32_t Recorder::start(float rate) {
  started = true;
  stop_requested = false;
  in_silence = ext_vars->silence_mode == kSilenceSplit;  // this mode begins by waiting for sound
  rate_in = is_usable_rate(rate) ? rate : 0.0f;
  smeter_reset(ext_vars->meter.get());
  meter_resets = ext_vars->meter_resets;
  ausampler_reset(ext_vars->sampler.get());
  lpf_reset();
  if (thread.start("aurec", stack_size(), run_th, this)) return 0;
  started = false;
  call_state_changed_cb();
  return -1;
}

void Recorder::stop() {
  if (thread.joinable()) {
    stop_requested = true;
    ext_vars->semaphore.post();
    thread.join();
    stop_requested = false;
  }
  end_recording();
  {
    const std::lock_guard lock(fd_lock);
    fd = -1;
  }
  call_state_changed_cb();
}

void Recorder::SafeDelete() {
  stop();
  forget_recorder(aurec);
  delete this;
}

void Recorder::pause(bool wanted) {
  if (paused.exchange(wanted) != wanted) call_state_changed_cb();
}

void Recorder::make_new_file() {
  if (!is_active() || new_file_countdown != 0) return;
  const std::int32_t waiting_frames = rbuffer_used_space(ext_vars->ring.get()) / 8;
  new_file_countdown = waiting_frames > 0 ? waiting_frames : -1;
}

void Recorder::run_th(void *self) {
  auto *const recorder = static_cast<Recorder *>(self);
  recorder_of_this_thread = recorder;
  recorder->run();
}

bool Recorder::is_on_worker() const {
  return recorder_of_this_thread == this;
}

void Recorder::run() {
  call_state_changed_cb();
  while (rate_in == 0.0f) {
    wait_for_work();
    if (stop_requested) {
      started = false;
      log_error(AuRecErrorNoAudio, "An audio recording could not be created, because no audio was ever received.");
      call_state_changed_cb();
      return;
    }
  }
  run_core();
  call_state_changed_cb();
}

// A wake-up that comes just before `waiting` is set is lost: it costs the one second, after which all flags are looked
// at again.
void Recorder::wait_for_work() {
  waiting = true;
  ext_vars->semaphore.wait_for(std::chrono::seconds(1));
  waiting = false;
}

void Recorder::wake_worker() {
  if (waiting) ext_vars->semaphore.post();
}

void Recorder::end_recording() {
  recording.store(false, std::memory_order_relaxed);
  started = false;
  file_open = false;
}

void Recorder::call_state_changed_cb() {
  aurec_call_state_changed_cb(aurec);
}
void Recorder::post_state_changed() {
  aurec_call_state_changed_cb(aurec);
}

}  // namespace auspool
