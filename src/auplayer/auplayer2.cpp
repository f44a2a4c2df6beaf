#include "auspool/auplayer.h"

#include <algorithm>
#include <new>

#include "auplayer/allow_idle_sleep.h"
#include "auplayer/auplayer2_record.h"

using namespace auspool;

namespace {

AllowIdleSleep idle_sleep;

void interleave(const float *left, const float *right, std::int32_t frames, float *__restrict interleaved) {
  for (std::size_t i = 0; i < static_cast<std::size_t>(frames); ++i) {
    interleaved[2 * i] = left[i];
    interleaved[2 * i + 1] = right[i];
  }
}

}  // namespace

void auplayer2::set_audio_callback(const auplayer2_audio_callback *callback) {
  change_audio_callback([&] {
    audio_callback = callback ? callback->function : nullptr;
    if (callback) audio_callback_context = callback->context;
  });
}

void auplayer2::call_audio_callback(float *interleaved, std::int32_t frames) {
  const au_channel_pair channels = {interleaved, interleaved + 1};
  audio_callback(&channels, 2, frames, static_cast<std::int32_t>(device_rate), audio_callback_context);
}

// One that could not be made is tried again at the next pass.
bool auplayer2::adopt_rates() {
  const float in = source_rate, out = device_rate;
  if (resampler && resampler_in_rate == in && resampler_out_rate == out) return true;
  resampler_in_rate = in;
  resampler_out_rate = out;
  resampler.reset(raesampler_create(0, 2, nullptr, 0, static_cast<double>(in), static_cast<double>(out), 1e-5));
  return resampler != nullptr;
}

std::int32_t auplayer2::begin_pass(std::int32_t frames) {
  return adopt_rates() ? frames_in(frames) : 0;
}

std::int32_t auplayer2::frames_in(std::int32_t frames) const {
  return raesampler_input_samples(resampler.get(), frames);
}

// What the ring does not give is silence. Between equal rates the resampler would only copy, with more ado.
void auplayer2::render(float *interleaved, std::int32_t frames, std::int32_t needed) {
  float planes[2 * kMostFrames];
  const std::int32_t got = rbuffer2_read(ring.get(), planes, planes + needed, 4 * needed) / 4;
  std::fill(planes + got, planes + needed, 0.0f);
  std::fill(planes + needed + got, planes + 2 * needed, 0.0f);
  if (resampler_in_rate == resampler_out_rate) return interleave(planes, planes + needed, frames, interleaved);
  const float *const in[] = {planes, planes + needed};
  float *const out[] = {interleaved, interleaved + 1};
  raesampler_resample(resampler.get(), in, 1, out, 2, &needed, frames);
}

auplayer2 *auplayer2_create(void) try { return new auplayer2; } catch (const std::bad_alloc &) {
  return nullptr;
}

void auplayer2_destroy(auplayer2 *player) {
  delete player;
}

AuPlayerOptions auplayer2_options(const auplayer2 *player) {
  return player->read_options();
}

void auplayer2_set_options(auplayer2 *player, const AuPlayerOptions *options) {
  player->set_options(*options);
}

void auplayer2_set_audio_callback(auplayer2 *player, const auplayer2_audio_callback *callback) {
  player->set_audio_callback(callback);
}

int32_t auplayer2_start(auplayer2 *player) {
  return player->start();
}

void auplayer2_stop(auplayer2 *player) {
  player->stop();
}

uint32_t auplayer2_is_active(const auplayer2 *player) {
  return player->active;
}

bool auplayer2_is_playing(const auplayer2 *player) {
  return player->is_playing();
}

float auplayer2_get_buffer_length(const auplayer2 *player) {
  return player->buffer_length();
}

float auplayer2_now_playing(const auplayer2 *player) {
  return player->now_playing();
}

float auplayer2_device_latency(const auplayer2 *player) {
  return player->latency;
}

void auplayer2_play_done(auplayer2 *player) {
  player->play_done = 1;
}

void auplayer2_set_gain(auplayer2 *player, float gain) {
  player->gain = gain;
}

float auplayer2_get_gain(const auplayer2 *player) {
  return player->gain;
}

uint32_t auplayer2_device(const auplayer2 *player) {
  return player ? static_cast<uint32_t>(player->current_device) : AUPLAYER_NO_DEVICE;
}

void auplayer2_play(auplayer2 *player, const au_channel_pair *channels, int32_t stride, uint32_t frames, float rate) {
  player->play(*channels, stride, frames, rate);
}

void auplayer2_play_wait(auplayer2 *player, const au_channel_pair *channels, int32_t stride, uint32_t frames,
                         float rate) {
  player->play_wait(*channels, stride, frames, rate);
}

void auplayer2_begin_allow_idle_sleep(void) {
  idle_sleep.begin();
}

void auplayer2_end_allow_idle_sleep(void) {
  idle_sleep.end();
}
