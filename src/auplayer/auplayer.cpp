#include <algorithm>
#include <new>

#include "auplayer/allow_idle_sleep.h"
#include "auplayer/auplayer_record.h"
#include "auspool/resampler.h"

using namespace auspool;

void auplayer::set_audio_callback(const auplayer_audio_callback *callback) {
  change_audio_callback([&] {
    audio_callback = callback ? callback->function : nullptr;
    if (callback) audio_callback_context = callback->context;
  });
}

void auplayer::call_audio_callback(float *interleaved, std::int32_t frames) {
  audio_callback(interleaved, frames, device_rate, audio_callback_context);
}

std::int32_t auplayer::begin_pass(std::int32_t frames) {
  if (must_reset_.exchange(false)) resampler_reset(&resampler);
  in_rate_ = static_cast<double>(source_rate);
  out_rate_ = static_cast<double>(device_rate);
  return frames_in(frames);
}

std::int32_t auplayer::frames_in(std::int32_t frames) const {
  return resampler_frames_in(&resampler, frames, in_rate_, out_rate_);
}

void auplayer::render(float *interleaved, std::int32_t frames, std::int32_t needed) {
  float input[2 * kMostFrames];
  std::fill_n(input, 2 * needed, 0.0f);
  read_ring(input, needed);
  resampler_resample_i2ch(&resampler, input, interleaved, static_cast<std::uint32_t>(frames), in_rate_, out_rate_);
}

// What the ring does not give stays as it is.
void auplayer::read_ring(float *interleaved, std::int32_t frames) {
  constexpr std::int32_t kBlock = 256;
  float left[kBlock], right[kBlock];
  for (std::int32_t done = 0; done < frames;) {
    const std::int32_t wanted = std::min(frames - done, kBlock);
    const std::int32_t got = rbuffer2_read(ring.get(), left, right, 4 * wanted) / 4;
    for (std::int32_t i = 0; i < got; ++i) {
      interleaved[2 * (done + i)] = left[i];
      interleaved[2 * (done + i) + 1] = right[i];
    }
    if (got < wanted) return;
    done += got;
  }
}

namespace {

AllowIdleSleep idle_sleep;

}  // namespace

auplayer *auplayer_create(void) try { return new auplayer; } catch (const std::bad_alloc &) {
  return nullptr;
}

void auplayer_destroy(auplayer *player) {
  delete player;
}

AuPlayerOptions auplayer_options(const auplayer *player) {
  return player->read_options();
}

void auplayer_set_options(auplayer *player, const AuPlayerOptions *options) {
  player->set_options(*options);
}

void auplayer_set_audio_callback(auplayer *player, const auplayer_audio_callback *callback) {
  player->set_audio_callback(callback);
}

int32_t auplayer_start(auplayer *player) {
  return player->start();
}

void auplayer_stop(auplayer *player) {
  player->stop();
}

uint32_t auplayer_is_active(const auplayer *player) {
  return player->active;
}

bool auplayer_is_playing(const auplayer *player) {
  return player->is_playing();
}

float auplayer_get_buffer_length(const auplayer *player) {
  return player->buffer_length();
}

float auplayer_now_playing(const auplayer *player) {
  return player->now_playing();
}

float auplayer_device_latency(const auplayer *player) {
  return player->latency;
}

void auplayer_play_done(auplayer *player) {
  player->play_done = 1;
}

void auplayer_set_gain(auplayer *player, float gain) {
  player->gain = gain;
}

float auplayer_get_gain(const auplayer *player) {
  return player->gain;
}

uint32_t auplayer_device(const auplayer *player) {
  return player ? static_cast<uint32_t>(player->current_device) : AUPLAYER_NO_DEVICE;
}

void auplayer_play(auplayer *player, const au_channel_pair *channels, uint32_t frames, float rate) {
  player->play(*channels, 1, frames, rate);
}

void auplayer_play_wait(auplayer *player, const au_channel_pair *channels, uint32_t frames, float rate) {
  player->play_wait(*channels, 1, frames, rate);
}

void auplayer_begin_allow_idle_sleep(void) {
  idle_sleep.begin();
}

void auplayer_end_allow_idle_sleep(void) {
  idle_sleep.end();
}
