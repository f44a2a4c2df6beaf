// The audio thread's side of a recording: from the host's block to the ring. Nothing here allocates, and
// nothing but a change of rate waits.
#include <unistd.h>

#include <algorithm>
#include <mutex>

#include "base/truncate.h"
#include "recorder/recorder.h"

namespace auspool {

std::int32_t Recorder::record(float rate, const float *const channels[2], std::int32_t frames) {
  if (!is_usable_rate(rate)) return 0;
  if (started && rate_in == 0.0f) {
    // The first block of a recording that was started without a rate only tells it.
    rate_in = rate;
    wake_worker();
    return 0;
  }
  if (!is_recording() || frames <= 0 || paused) return 0;
  if (!channels || !channels[0] || !channels[1]) return 0;

  if (rate != rate_in) change_rate(rate);
  if (overrun) recover_from_overrun();

  Verdict verdict = Verdict::kKeep;
  if (const std::int32_t mode = ext_vars->silence_mode; mode != kSilenceOff) {
    verdict = judge_silence(mode, rate, channels, frames);
  }
  if (verdict == Verdict::kDiscard) return 0;

  const std::unique_lock lock(ext_vars->ring_lock, std::try_to_lock);
  if (!lock) return 1;
  const std::int32_t written = write_to_ring(channels, frames);
  if (verdict == Verdict::kKeepAndSplit) arm_split_in_silence();
  wake_worker();
  overrun = written < frames;
  return overrun ? 1 : 0;
}

// What waits in the ring has the old rate. The filters belong to the worker, which starts them anew when it sees that
// the rate has changed. If it is just reading the ring, the flush must wait for that, and so does this.
void Recorder::change_rate(float rate) {
  while (!input_lock.try_lock()) usleep(20);
  const std::lock_guard lock(input_lock, std::adopt_lock);
  rbuffer_flush_w(ext_vars->ring.get());
  rate_in = rate;
  ++rate_changes;
}

void Recorder::recover_from_overrun() {
  if (ext_vars->skip_handler_action == 1) rbuffer_flush_w(ext_vars->ring.get());
  overrun = false;
}

void Recorder::follow_meter_settings() {
  smeter *const meter = ext_vars->meter.get();
  smeter_set_rms_threshold(meter, ext_vars->silence_threshold_db);
  const std::uint32_t resets = ext_vars->meter_resets;
  if (resets != meter_resets) smeter_reset(meter);
  meter_resets = resets;
}

Recorder::Verdict Recorder::judge_silence(std::int32_t mode, float rate, const float *const channels[2],
                                          std::int32_t frames) {
  follow_meter_settings();
  smeter *const meter = ext_vars->meter.get();
  smeter_process_ni2ch(meter, channels, frames, rate);
  if (smeter_silence_time(meter) >= ext_vars->silence_time) return on_silence(mode);

  if (mode != kSilenceSplit) return Verdict::kKeep;
  // A quiet block that does not make a silence yet keeps the silence that is, and does not end the sound that is.
  if (in_silence && !smeter_has_audio_signal(meter)) return Verdict::kDiscard;
  in_silence = false;
  return Verdict::kKeep;
}

Recorder::Verdict Recorder::on_silence(std::int32_t mode) {
  switch (mode) {
  case kSilenceSkip:
    return Verdict::kDiscard;
  case kSilenceStop:
    stop_requested = true;
    wake_worker();
    return Verdict::kDiscard;
  case kSilenceSplit:
    if (in_silence) return Verdict::kDiscard;
    in_silence = true;
    return Verdict::kKeepAndSplit;
  default:
    return Verdict::kKeep;
  }
}

// Writes as many whole frames as there is room for, and returns how many.
std::int32_t Recorder::write_to_ring(const float *const channels[2], std::int32_t frames) {
  constexpr std::int32_t kChunkFrames = 256;  // a small stack area, however large the block
  rbuffer *const ring = ext_vars->ring.get();
  const std::int32_t room = std::min(frames, rbuffer_free_space(ring) / 8);
  float chunk[2 * kChunkFrames];
  for (std::int32_t done = 0; done < room; done += kChunkFrames) {
    const std::int32_t count = std::min(kChunkFrames, room - done);
    const float *const left = channels[0] + done;
    const float *const right = channels[1] + done;
    for (std::int32_t i = 0; i < count; ++i) {
      chunk[2 * i] = left[i];
      chunk[2 * i + 1] = right[i];
    }
    rbuffer_write(ring, chunk, count * 8);
  }
  return room;
}

// The cut lies half a silence back from the end of what waits in the ring. A worker that keeps up has written that
// already: then it cuts at once.
void Recorder::arm_split_in_silence() {
  const float silence = ext_vars->silence_time;
  const std::int32_t backtrack = truncate_to_int32(silence * rate_in * 0.5f);
  const std::int64_t cut = std::int64_t{rbuffer_used_space(ext_vars->ring.get()) / 8} - backtrack;
  new_file_countdown = cut > 0 ? static_cast<std::int32_t>(std::min<std::int64_t>(cut, INT32_MAX)) : -1;
}

}  // namespace auspool
