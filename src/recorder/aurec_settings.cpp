// The setters, with what they correct, and the getters.
#include <algorithm>

#include "auspool/aurec.h"
#include "recorder/aurec_record.h"
#include "recorder/output_types.h"
#include "recorder/recorder_aac.h"
#include "recorder/recorder_alac.h"
#include "recorder/recorder_flac.h"
#include "recorder/recorder_mp3.h"
#include "recorder/recorder_pcm.h"

using namespace auspool;

void aurec_set_state_changed_cb(aurec *rec, aurec_state_changed_cb cb) {
  rec->state_changed_cb.store(cb, std::memory_order_relaxed);
}

std::int32_t aurec_can_output_type(AuRecOutputType type) {
  return output_type(type) != nullptr;
}

void aurec_set_output_type(aurec *rec, AuRecOutputType type) {
  if (output_type(type)) rec->output_type = type;
}
AuRecOutputType aurec_output_type(const aurec *rec) {
  return rec->output_type;
}

void aurec_set_pcm_options(aurec *rec, AuRecOptionsPCM options) {
  RecorderPCM::fix_pcm_opts(&options);
  rec->pcm_options = options;
}
AuRecOptionsPCM aurec_pcm_options(const aurec *rec) {
  return rec->pcm_options;
}

void aurec_set_mp3_options(aurec *rec, AuRecOptionsMP3 options) {
  RecorderMP3::fix_opts(&options);
  rec->mp3_options = options;
}
AuRecOptionsMP3 aurec_mp3_options(const aurec *rec) {
  return rec->mp3_options;
}

void aurec_set_aac_options(aurec *rec, AuRecOptionsAAC options) {
  RecorderAAC::fix_opts(&options);
  rec->aac_options = options;
}
AuRecOptionsAAC aurec_aac_options(const aurec *rec) {
  return rec->aac_options;
}

void aurec_set_alac_options(aurec *rec, AuRecOptionsALAC options) {
  RecorderALAC::fix_opts(&options);
  rec->alac_options = options;
}
AuRecOptionsALAC aurec_alac_options(const aurec *rec) {
  return rec->alac_options;
}

void aurec_set_flac_options(aurec *rec, AuRecOptionsFLAC options) {
  RecorderFLAC::fix_opts(&options);
  rec->flac_options = options;
}
AuRecOptionsFLAC aurec_flac_options(const aurec *rec) {
  return rec->flac_options;
}

void aurec_set_skip_handler_action(aurec *rec, std::uint32_t action) {
  rec->ext_vars.skip_handler_action = action;
}
std::uint32_t aurec_skip_handler_action(const aurec *rec) {
  return rec->ext_vars.skip_handler_action;
}

void aurec_set_buffer_size(aurec *rec, std::int64_t bytes) {
  rec->buffer_size = bytes == 0 ? kDefaultBufferSize : std::clamp<std::int64_t>(bytes, 32768, 52428800);
}
std::int64_t aurec_buffer_size(const aurec *rec) {
  return rec->buffer_size;
}

void aurec_set_limit(aurec *rec, std::int64_t value, std::int32_t is_time) {
  std::int64_t limit = 0;
  if (value >= 1) {
    limit = is_time ? std::clamp<std::int64_t>(value, 60, 86400) : std::clamp<std::int64_t>(value, 1048576, INT32_MAX);
  }
  rec->ext_vars.limit = ext_vars_t::Limit{static_cast<std::int32_t>(limit), is_time != 0};
}

std::int64_t aurec_limit(const aurec *rec, std::int32_t *is_time_out) {
  const ext_vars_t::Limit limit = rec->ext_vars.limit;
  if (is_time_out) *is_time_out = limit.limit_is_time;
  return limit.value;
}

void aurec_set_silence_killer(aurec *rec, std::int32_t mode, float rms_threshold_db, float seconds) {
  ext_vars_t &vars = rec->ext_vars;
  vars.silence_time = seconds;
  vars.silence_threshold_db = rms_threshold_db;
  if (vars.silence_mode != mode) {
    vars.meter_resets = vars.meter_resets + 1;
    vars.silence_mode = mode;
  }
}

std::int32_t aurec_silence_killer(const aurec *rec, float *rms_out, float *seconds_out) {
  if (rms_out) *rms_out = rec->ext_vars.silence_threshold_db;
  if (seconds_out) *seconds_out = rec->ext_vars.silence_time;
  return rec->ext_vars.silence_mode;
}
