// A device player of the first generation as the output. Its context is null where none could be made.
#include "auplayer/aupacketplayer/context.h"
#include "auspool/auplayer.h"

namespace auspool {
namespace {

auplayer *output_of(void *context) {
  return static_cast<auplayer *>(context);
}

void AuplayerCallback(float *interleaved, std::int32_t frames, float rate, void *context) {
  aupacketplayer_get_frames(static_cast<aupacketplayer *>(context), interleaved, frames, rate);
}

std::int32_t AuplayerStartCallback(void *context) {
  return context ? auplayer_start(output_of(context)) : std::int32_t{AUDEVICE_NO_MEMORY};
}

void AuplayerStopCallback(void *context) {
  if (context) auplayer_stop(output_of(context));
}

void AuplayerDestroyCallback(void *context) {
  AuplayerStopCallback(context);
  auplayer_destroy(output_of(context));
}

float AuplayerGetGainCallback(void *context) {
  return context ? auplayer_get_gain(output_of(context)) : 1.0f;
}

void AuplayerSetGainCallback(void *context, float gain) {
  if (context) auplayer_set_gain(output_of(context), gain);
}

double AuplayerGetLatencyCallback(void *context) {
  return context ? static_cast<double>(auplayer_device_latency(output_of(context))) : 0.0;
}

}  // namespace
}  // namespace auspool

using namespace auspool;

void aupacketplayer_set_auplayer_callbacks(aupacketplayer *player) {
  auplayer *const output = auplayer_create();
  if (output) {
    const auplayer_audio_callback audio = {AuplayerCallback, player};
    auplayer_set_audio_callback(output, &audio);
  }
  aupacketplayer_set_callbacks(player, {.context = output,
                                        .start = AuplayerStartCallback,
                                        .stop = AuplayerStopCallback,
                                        .destroy = AuplayerDestroyCallback,
                                        .get_gain = AuplayerGetGainCallback,
                                        .set_gain = AuplayerSetGainCallback,
                                        .get_latency = AuplayerGetLatencyCallback});
}
