// The record: made, released, and the recording that it holds.
#include "auspool/aurec.h"

#include <unistd.h>

#include <memory>
#include <new>

#include "recorder/aurec_record.h"
#include "recorder/default_options.h"
#include "recorder/output_types.h"
#include "recorder/recorder.h"

using namespace auspool;

namespace auspool {
namespace {

bool make_shared_parts(ext_vars_t &vars) {
  vars.ring.reset(rbuffer_create(0, 1));
  vars.sampler.reset(ausampler_create(2));
  vars.meter.reset(smeter_create());
  return vars.ring && vars.sampler && vars.meter;
}

std::int32_t set_ring_size(aurec *rec, std::int64_t bytes) {
  const std::lock_guard lock(rec->ext_vars.ring_lock);
  return rbuffer_set_size(rec->ext_vars.ring.get(), static_cast<std::int32_t>(bytes));
}

// A callback must not end the recording that runs it. This catches those that try, and only asks for the end.
bool is_inside_callback(aurec *rec) {
  Recorder *const recorder = rec->recorder.load(std::memory_order_relaxed);
  if (!recorder) return false;
  const bool on_worker = recorder->is_on_worker();
  if (on_worker) recorder->request_stop();
  return on_worker || rec->ending;
}

void end_recorder(aurec *rec) {
  Recorder *const recorder = rec->recorder.load(std::memory_order_relaxed);
  if (!recorder) return;
  rec->ending = true;
  recorder->SafeDelete();
  rec->ending = false;
}

void wait_for_background_jobs(aurec *rec) {
  for (;;) {
    if (std::unique_lock lock(rec->thread_mutex, std::try_to_lock); lock && rec->thread_count == 0) return;
    usleep(100000);
  }
}

std::int32_t release_ring(aurec *rec, std::int32_t result) {
  set_ring_size(rec, 0);
  return result;
}

}  // namespace

void forget_recorder(aurec *rec) {
  rec->recorder.store(nullptr, std::memory_order_seq_cst);
  while (rec->uses.load(std::memory_order_seq_cst) != 0) usleep(1);
}

}  // namespace auspool

aurec *aurec_create(void *ext_ref, aurec_path_cb path_cb, aurec_file_cb start_cb, aurec_file_cb finalize_cb,
                    aurec_file_cb done_cb, aurec_error_log_cb error_log_cb) {
  if (!path_cb) return nullptr;
  std::unique_ptr<aurec> rec(new (std::nothrow) aurec);
  if (!rec || !make_shared_parts(rec->ext_vars)) return nullptr;
  rec->ext_ref = ext_ref;
  rec->path_cb = path_cb;
  rec->start_cb = start_cb;
  rec->finalize_cb = finalize_cb;
  rec->done_cb = done_cb;
  rec->error_log_cb = error_log_cb;
  rec->pcm_options = sAuRecOptionsDefault.pcm;
  rec->mp3_options = sAuRecOptionsDefault.mp3;
  rec->aac_options = sAuRecOptionsDefault.aac;
  rec->alac_options = sAuRecOptionsDefault.alac;
  rec->flac_options = sAuRecOptionsDefault.flac;
  return rec.release();
}

void aurec_destroy(aurec *rec) {
  if (!rec || is_inside_callback(rec)) return;
  const std::unique_ptr<aurec> owned(rec);
  end_recorder(rec);
  // What background jobs do not touch goes before the wait, which may be long.
  rec->ext_vars.ring.reset();
  rec->ext_vars.sampler.reset();
  rec->ext_vars.meter.reset();
  wait_for_background_jobs(rec);
}

std::int32_t aurec_start(aurec *rec, float rate) {
  if (is_inside_callback(rec)) return -1;
  end_recorder(rec);
  set_ring_size(rec, 0);
  if (set_ring_size(rec, rec->buffer_size) != 0) return -2;
  const OutputType *const output = output_type(rec->output_type);
  if (!output) return release_ring(rec, -3);
  Recorder *const recorder = output->make(*rec);
  if (!recorder) return release_ring(rec, -2);
  // In reach before it starts: the host's state callback, on the worker, asks for its state.
  rec->recorder.store(recorder, std::memory_order_seq_cst);
  const std::int32_t result = recorder->start(rate);
  if (result != 0) {
    end_recorder(rec);
    release_ring(rec, result);
  }
  return result;
}

void aurec_stop(aurec *rec) {
  if (is_inside_callback(rec)) return;
  end_recorder(rec);
  release_ring(rec, 0);
}
