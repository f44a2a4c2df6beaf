// The second generation: a raesampler, made on the IO thread when the rates change.
#pragma once

#include <memory>

#include "auplayer/player.h"
#include "auspool/auplayer.h"
#include "auspool/raesampler.h"

struct auplayer2 : auspool::Player {
  auplayer2() { listen(); }
  ~auplayer2() override { stop_listening(); }

  void set_audio_callback(const auplayer2_audio_callback *callback);

  std::unique_ptr<raesampler, decltype(&raesampler_destroy)> resampler{nullptr, raesampler_destroy};
  float resampler_in_rate = 44100.0f, resampler_out_rate = 44100.0f;
  auplayer2_audio_function audio_callback = nullptr;
  void *audio_callback_context = nullptr;

private:
  void reset_resampler() override {
    if (resampler) raesampler_reset(resampler.get());
  }
  // The IO thread compares the rates itself.
  void source_rate_changes() override {}
  void device_rate_changed() override {}

  bool has_audio_callback() const override { return audio_callback != nullptr; }
  void call_audio_callback(float *interleaved, std::int32_t frames) override;
  std::int32_t begin_pass(std::int32_t frames) override;
  std::int32_t frames_in(std::int32_t frames) const override;
  void render(float *interleaved, std::int32_t frames, std::int32_t needed) override;
  bool adopt_rates();
};
