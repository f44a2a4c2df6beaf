// What a host asks of the recording that runs.
#include "auspool/aurec.h"
#include "recorder/aurec_record.h"
#include "recorder/recorder.h"

using namespace auspool;

namespace {

// The answer of the recorder, or 0 without one.
template <typename Ask>
auto ask(const aurec *rec, Ask question) {
  const UseOfRecorder recorder(rec);
  using Answer = decltype(question(*recorder));
  return recorder ? question(*recorder) : Answer{};
}

}  // namespace

std::int32_t aurec_record(aurec *rec, float rate, const float *const channels[2], std::int32_t frames) {
  return ask(rec, [&](Recorder &recorder) { return recorder.record(rate, channels, frames); });
}

// The control thread deletes the recorder, so it may use it as it is.
void aurec_pause(aurec *rec, std::int32_t pause) {
  if (Recorder *const recorder = rec->recorder.load(std::memory_order_relaxed)) recorder->pause(pause != 0);
}

void aurec_make_new_file(aurec *rec) {
  if (Recorder *const recorder = rec->recorder.load(std::memory_order_relaxed)) recorder->make_new_file();
}

std::int32_t aurec_is_recording(const aurec *rec) {
  return ask(rec, [](Recorder &recorder) -> std::int32_t { return recorder.is_recording(); });
}

std::int32_t aurec_is_active(const aurec *rec) {
  return ask(rec, [](Recorder &recorder) -> std::int32_t { return recorder.is_active(); });
}

std::int32_t aurec_has_active_files(aurec *rec) {
  if (aurec_is_active(rec)) return 1;
  const std::lock_guard lock(rec->thread_mutex);
  return rec->thread_count != 0;
}

std::int32_t aurec_is_paused(const aurec *rec) {
  return ask(rec, [](Recorder &recorder) -> std::int32_t { return recorder.is_paused(); });
}

std::int32_t aurec_buffer_available_space(const aurec *rec) {
  return rbuffer_free_space(rec->ext_vars.ring.get());
}

std::int64_t aurec_file_size(const aurec *rec) {
  return ask(rec, [](Recorder &recorder) { return recorder.file_size(); });
}

std::int64_t aurec_total_size(const aurec *rec) {
  return ask(rec, [](Recorder &recorder) { return recorder.total_size(); });
}

double aurec_file_time(const aurec *rec) {
  return ask(rec, [](Recorder &recorder) { return recorder.file_time(); });
}

double aurec_total_time(const aurec *rec) {
  return ask(rec, [](Recorder &recorder) { return recorder.total_time(); });
}
