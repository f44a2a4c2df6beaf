#include "auspool/aupacketplayer.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>

#include "auplayer/aupacketplayer/context.h"
#include "auspool/auclock.h"

namespace auspool {
namespace {

void DestroyCallbackContext(aupacketplayer &ctx) {
  if (ctx.callbacks.destroy) ctx.callbacks.destroy(ctx.callbacks.context);
}

}  // namespace
}  // namespace auspool

using namespace auspool;

aupacketplayer *aupacketplayer_create(uint32_t capacity, aupacketplayer_log_callback log_callback, void *log_context,
                                      float sample_rate) {
  if (capacity == 0 || capacity > INT32_MAX) return nullptr;
  std::unique_ptr<aupacketplayer> ctx(new (std::nothrow) aupacketplayer{
      .log_callback = log_callback, .log_context = log_context, .sample_rate = sample_rate});
  if (!ctx) return nullptr;
  ctx->packets.reset(auptrbuf_create(FreeNode));
  ctx->heap.reset(auheap_create(static_cast<std::int32_t>(capacity), TimestampLessThan, nullptr));
  ctx->sampler.reset(ausampler_create(2));
  ctx->sample_buffer.reset(new (std::nothrow) float[2 * kSampleBufferFrames]());  // written once, so that it is there
  if (!ctx->packets || !ctx->heap || !ctx->sampler || !ctx->sample_buffer) return nullptr;
  au_now();  // its first call is not for a real-time thread
  return ctx.release();
}

void aupacketplayer_destroy(aupacketplayer *player) {
  if (player) DestroyCallbackContext(*player);
  delete player;
}

void aupacketplayer_set_callbacks(aupacketplayer *player, aupacketplayer_callbacks callbacks) {
  DestroyCallbackContext(*player);
  player->callbacks = callbacks;
}

aupacketplayer_callbacks aupacketplayer_get_callbacks(const aupacketplayer *player) {
  return player->callbacks;
}

void aupacketplayer_set_pads_missing_audio(aupacketplayer *player, uint32_t pads) {
  player->pads_missing_audio = pads;
}

void aupacketplayer_set_resample_continuously(aupacketplayer *player, uint32_t resample) {
  player->resample_continuously = resample;
}

void aupacketplayer_set_time_adjustment(aupacketplayer *player, double seconds) {
  player->time_adjustment = seconds;
}

int32_t aupacketplayer_start(aupacketplayer *player) {
  leave_created(*player);
  return player->callbacks.start ? player->callbacks.start(player->callbacks.context) : 0;
}

void aupacketplayer_stop(aupacketplayer *player) {
  if (player->callbacks.stop) player->callbacks.stop(player->callbacks.context);
}

float aupacketplayer_get_gain(const aupacketplayer *player) {
  return player->callbacks.get_gain ? player->callbacks.get_gain(player->callbacks.context) : 1.0f;
}

void aupacketplayer_set_gain(aupacketplayer *player, float gain) {
  if (player->callbacks.set_gain) player->callbacks.set_gain(player->callbacks.context, gain);
}

aupacketplayer_status aupacketplayer_get_status(const aupacketplayer *player) {
  return {static_cast<std::uint32_t>(State{player->state}), player->offset, player->rate_correction};
}

void aupacketplayer_play(aupacketplayer *player, const float *interleaved, uint32_t frames, double timestamp) {
  const std::size_t samples = std::size_t{2} * frames;
  std::unique_ptr<float[]> data(new (std::nothrow) float[samples]);
  if (!data) {
    std::fprintf(stderr, "aupacketplayer_play: malloc failed (%d bytes, %d frames), dropping audio\n",
                 static_cast<int>(samples * sizeof(float)), static_cast<int>(frames));
    return;
  }
  std::copy_n(interleaved, samples, data.get());
  auto *packet = new (std::nothrow) Packet{.data = std::move(data), .frames = frames, .timestamp = timestamp};
  if (packet) auptrbuf_add(player->packets.get(), packet);
}

void aupacketplayer_flush(aupacketplayer *player) {
  auto *packet = new (std::nothrow) Packet{.flags = kFlushMarker};
  if (packet) auptrbuf_add(player->packets.get(), packet);
}
