// The way from a recording, or a background job of it, to the host.
#include <cstdarg>

#include "auspool/aurec.h"
#include "recorder/aurec_record.h"

void *aurec_call_path_cb(aurec *rec, void *previous, char path[AUREC_PATH_BYTES], AuRecOutputType type,
                         std::int32_t index, audict **tags) {
  return rec->path_cb ? rec->path_cb(rec->ext_ref, previous, path, type, index, tags) : nullptr;
}

void aurec_call_start_cb(aurec *rec, void *token) {
  if (rec->start_cb) rec->start_cb(rec->ext_ref, token);
}

void aurec_call_finalize_cb(aurec *rec, void *token) {
  if (rec->finalize_cb) rec->finalize_cb(rec->ext_ref, token);
}

void aurec_call_done_cb(aurec *rec, void *token) {
  if (rec->done_cb) rec->done_cb(rec->ext_ref, token);
}

void aurec_call_error_log_cb(aurec *rec, void *token, AuRecErrorCode code, const char *format, ...) {
  if (!rec->error_log_cb) return;
  va_list args;
  va_start(args, format);
  rec->error_log_cb(rec->ext_ref, token, code, format, args);
  va_end(args);
}

void aurec_call_state_changed_cb(aurec *rec) {
  const aurec_state_changed_cb cb = rec->state_changed_cb.load(std::memory_order_relaxed);
  if (cb) cb(rec->ext_ref);
}

void *aurec_get_ext_ref(const aurec *rec) {
  return rec->ext_ref;
}
aurec_file_cb aurec_get_done_callback(const aurec *rec) {
  return rec->done_cb;
}

void aurec_thread_count_increment(aurec *rec) {
  const std::lock_guard lock(rec->thread_mutex);
  ++rec->thread_count;
}

void aurec_thread_count_decrement(aurec *rec) {
  const std::lock_guard lock(rec->thread_mutex);
  if (rec->thread_count > 0) --rec->thread_count;
}
