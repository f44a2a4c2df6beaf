// The first generation: the two-channel resampler, one for the player's whole life.
#pragma once

#include "auplayer/player.h"
#include "auspool/auplayer.h"
#include "resampler/resampler/context.h"

struct auplayer : auspool::Player {
  auplayer() { listen(); }
  ~auplayer() override { stop_listening(); }

  void set_audio_callback(const auplayer_audio_callback *callback);

  auplayer_audio_function audio_callback = nullptr;
  void *audio_callback_context = nullptr;
  struct resampler resampler;

private:
  void reset_resampler() override { resampler_reset(&resampler); }
  // The resampler is the IO thread's, which resets it at its next pass.
  void source_rate_changes() override { must_reset_ = true; }
  void device_rate_changed() override { must_reset_ = true; }

  bool has_audio_callback() const override { return audio_callback != nullptr; }
  void call_audio_callback(float *interleaved, std::int32_t frames) override;
  std::int32_t begin_pass(std::int32_t frames) override;
  std::int32_t frames_in(std::int32_t frames) const override;
  void render(float *interleaved, std::int32_t frames, std::int32_t needed) override;
  void read_ring(float *interleaved, std::int32_t frames);

  auspool::Relaxed<bool> must_reset_ = false;
  double in_rate_ = 44100.0, out_rate_ = 44100.0;  // of this pass
};
