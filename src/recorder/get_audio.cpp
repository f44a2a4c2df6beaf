// From the ring to a block at the file's rate. The worker's.
#include <algorithm>
#include <new>

#include "base/denormal_guard.h"
#include "recorder/recorder.h"

namespace auspool {
namespace {

constexpr std::int32_t kFrameBytes = 2 * sizeof(float);

// Filters remember: one infinity or NaN in them would silence all that follows. What is far beyond full scale is held
// to it in the file anyway.
void make_harmless(float *samples, std::size_t count) {
  constexpr float kFarBeyond = 1e9f;
  for (std::size_t i = 0; i < count; ++i) {
    float sample = samples[i];
    sample = sample > kFarBeyond ? kFarBeyond : sample;
    sample = sample < -kFarBeyond ? -kFarBeyond : sample;
    samples[i] = sample == sample ? sample : 0.0f;
  }
}

}  // namespace

// Up to `frames` frames. With `want_full` all of them or none; with `pad` besides, zeros fill up what is short, unless
// there is nothing at all.
std::int32_t Recorder::get_audio(float *buffer, std::int32_t frames, bool want_full, bool pad) {
  InputLock lock(input_lock);
  const float rate = follow_input_rate();
  if (rate == rate_out) return get_audio_as_it_is(buffer, frames, want_full, pad);
  return get_audio_converted(std::move(lock), rate, buffer, frames, want_full, pad);
}

// A source that changed its rate is another source: the filters must not remember the old one.
float Recorder::follow_input_rate() {
  if (rate_changes != rate_changes_seen) {
    ausampler_reset(ext_vars->sampler.get());
    lpf_reset();
    rate_changes_seen = rate_changes;
  }
  return rate_in;
}

std::int32_t Recorder::read_ring(float *buffer, std::uint32_t frames) {
  return rbuffer_read(ext_vars->ring.get(), buffer, static_cast<std::int32_t>(frames) * kFrameBytes) / kFrameBytes;
}

std::int32_t Recorder::get_audio_as_it_is(float *buffer, std::int32_t frames, bool want_full, bool pad) {
  if (want_full && !pad && rbuffer_used_space(ext_vars->ring.get()) / kFrameBytes < frames) return 0;
  const std::int32_t got = read_ring(buffer, static_cast<std::uint32_t>(frames));
  if (got < 1 || !want_full || got == frames) return std::max(got, 0);
  if (!pad) return 0;
  std::fill(buffer + 2 * got, buffer + 2 * frames, 0.0f);
  return frames;
}

std::int32_t Recorder::get_audio_converted(InputLock lock, float rate, float *buffer, std::int32_t frames,
                                           bool want_full, bool pad) {
  ausampler *const sampler = ext_vars->sampler.get();
  const double in = static_cast<double>(rate), out = static_cast<double>(rate_out);
  const std::uint32_t need = ausampler_read_frames_in(sampler, static_cast<std::uint32_t>(frames), in, out);
  const auto held = static_cast<std::uint32_t>(rbuffer_used_space(ext_vars->ring.get()) / kFrameBytes);
  if (want_full && !pad && held < need) return 0;

  std::uint32_t give = static_cast<std::uint32_t>(frames), take = need;
  if (held < need) {
    give = ausampler_write_frames_out(sampler, held, in, out);
    take = ausampler_read_frames_in(sampler, give, in, out);
  }
  const bool fill_up = want_full && pad;
  float *const input = conversion_memory(fill_up ? need : take);
  if (!input) return 0;
  auto in_hand = static_cast<std::uint32_t>(read_ring(input, take));
  lock.unlock();
  if (in_hand < 1) return 0;
  make_harmless(input, 2 * std::size_t{in_hand});
  if (want_full && in_hand < need) {
    if (!pad) return 0;
    std::fill(input + 2 * std::size_t{in_hand}, input + 2 * std::size_t{need}, 0.0f);
    in_hand = need;
    give = static_cast<std::uint32_t>(frames);
  }
  if (in > out) lpf_process(input, static_cast<std::int32_t>(in_hand), (rate_out / rate) * 0.5f);
  return static_cast<std::int32_t>(ausampler_read_interleaved(sampler, input, buffer, give, in, out));
}

// Room for so many input frames, or null if memory runs out: the audio then stays in the ring. It is the worker's own
// and grows to the largest block once; far apart rates would overrun a stack.
float *Recorder::conversion_memory(std::uint32_t frames) {
  const std::size_t samples = 2 * std::size_t{frames};
  if (samples > conversion_buffer.size()) {
    try {
      conversion_buffer.resize(samples);
    } catch (const std::bad_alloc &) {
      return nullptr;
    }
  }
  return conversion_buffer.data();
}

void Recorder::lpf_reset() {
  lpf_cutoff = 0;
  lpf = {};
  for (BiquadState &channel : lpf_state) channel = {};
}

// The anti-alias filter, in place over interleaved stereo. `cutoff` is a fraction of the audio's rate.
void Recorder::lpf_process(float *buffer, std::int32_t frames, float cutoff) {
  if (cutoff != lpf_cutoff) {
    lpf_cutoff = cutoff;
    lpf = low_pass_biquad(cutoff);
  }
  const DenormalGuard guard;
  for (int channel = 0; channel < 2; ++channel) {
    filter_in_place(lpf, lpf_state[channel], buffer + channel, static_cast<std::size_t>(frames), 2);
  }
}

}  // namespace auspool
