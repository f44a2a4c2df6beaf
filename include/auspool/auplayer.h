/* Plays stereo audio on an output device: pushed by the host into a ring, or pulled from a callback.
 *
 *   #include <auspool/auplayer.h>
 *   #include <math.h>
 *   #include <threads.h>
 *
 *   int main(void) {
 *     auplayer2 *player = auplayer2_create();
 *     if (!player || auplayer2_start(player) != 0) return 1;
 *     for (int block = 0; block < 100; ++block) {  // one second of 440 Hz
 *       float tone[441];
 *       for (int i = 0; i < 441; ++i) tone[i] = 0.3f * sinf(0.0626894f * (float)(441 * block + i));
 *       const au_channel_pair channels = {tone, tone};
 *       auplayer2_play_wait(player, &channels, 1, 441, 44100);
 *     }
 *     auplayer2_play_done(player);
 *     while (auplayer2_is_playing(player)) thrd_sleep(&(struct timespec){.tv_nsec = 10000000}, NULL);
 *     auplayer2_destroy(player);
 *     return 0;
 *   }
 *
 * There are two generations, `auplayer` and `auplayer2`, with the same operations, states and options. They differ in
 * how they convert rates (`auplayer` as auspool/resampler.h does, `auplayer2` as auspool/raesampler.h at quality 0), in
 * the arguments of the play functions and in those of the audio callback. What is told here of the second holds for the
 * first.
 *
 * A player plays at any rate, on whatever device of the chosen backend (auspool/audevice.h), into any two of its
 * channels, and follows the system's default device and the device's rate while it runs. When the device goes away the
 * player stays started: on the default device it goes on with the next one, with all audio that waits; on a device that
 * was asked for by number it is silent until it is started again.
 *
 * Conventions
 * - Audio is 32-bit float; counts are frames, rates frames a second and above 0, positions and latencies seconds.
 * - Statuses are 0, AUPLAYER_NO_DEFAULT_DEVICE, or what the device said (auspool/types.h).
 * - Calling order: create, options and callback if wanted, start, any number of plays, play_done if the end is to be
 *   heard, stop, destroy. Start and stop may be repeated.
 *
 * Threads
 * - Any thread may call any function but create and destroy at any time, save that one thread at a time plays: the ring
 *   has one writer. Start, stop and set_audio_callback may wait for the device, for some milliseconds as
 *   a rule.
 * - The IO thread takes no lock, allocates nothing and makes no system call, with one exception: the pass at which the
 *   rate of the audio or of the device has changed builds a new resampler (`auplayer2`; `auplayer` has none to build).
 * - An audio callback runs on the IO thread and must be fit for it. Of the player it may ask for state, position and
 *   options, and set the gain, the options or play_done; it must not start, stop or destroy it, or change the callback.
 */
#ifndef AUSPOOL_AUPLAYER_H
#define AUSPOOL_AUPLAYER_H

#include <auspool/types.h>
#include <stdbool.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct auplayer auplayer;
typedef struct auplayer2 auplayer2;

/* A value of `device`: no device at all. The player then only keeps the position. */
#define AUPLAYER_NO_DEVICE 0xFFFFFFFEu

/* From start: the system has no default output device. */
enum { AUPLAYER_NO_DEFAULT_DEVICE = -2 };

/* How a player plays. All 0 at first. */
typedef struct AuPlayerOptions {
  uint32_t device;           /* 0: follow the system's default; AUPLAYER_NO_DEVICE; or the number of a device */
  int32_t left_channel;      /* the device's channel for the left signal, from 1; 0: choose */
  int32_t right_channel;     /* the same for the right */
  uint32_t io_buffer_frames; /* frames a cycle to ask the device for, up to 4096; 0: leave it as it is */
  uint32_t ring_frames;      /* 0: 65536 */
  uint32_t ignore_default_device_changes; /* not 0: stay on the device that was the default at start */
} AuPlayerOptions;

/* ---- The second generation ---- */

/* A player, stopped. Null if memory ran out. */
AUSPOOL_API auplayer2 *auplayer2_create(void);
/* Stops and releases it. Null is allowed. */
AUSPOOL_API void auplayer2_destroy(auplayer2 *player);

AUSPOOL_API AuPlayerOptions auplayer2_options(const auplayer2 *player);
/* Takes effect at the next start. If either channel is negative both become 0.
 * With both channels 0 it is the device's preferred pair; without one, the first buffer with two channels or more, or
 * the first two of one channel, or one channel with both signals mixed. With one channel 0 that side is the preferred
 * one of the device; without a preference both signals are mixed into the channel given. A channel that the device has
 * not is replaced by the other. */
AUSPOOL_API void auplayer2_set_options(auplayer2 *player, const AuPlayerOptions *options);

/* Fills the two channels with `frames` frames at `rate`, the device's rate cut to a whole number: left frame i is
 * channels->left[i * stride]. On the IO thread; a cycle of the device at once,
 * or 8192 frames of a longer one. */
typedef void (*auplayer2_audio_function)(const au_channel_pair *channels, int32_t stride, int32_t frames, int32_t rate,
                                         void *context);
typedef struct auplayer2_audio_callback {
  auplayer2_audio_function function;
  void *context;
} auplayer2_audio_callback;

/* Pulls audio from a callback instead of the ring; null for the ring again. Stops the player. */
AUSPOOL_API void auplayer2_set_audio_callback(auplayer2 *player, const auplayer2_audio_callback *callback);

/* Starts, after a stop if it runs: the ring is emptied and the position 0. Other than 0 it has not started. */
AUSPOOL_API int32_t auplayer2_start(auplayer2 *player);
/* Stops at once; what the ring holds is lost. Afterwards the audio callback is not running and will not run. */
AUSPOOL_API void auplayer2_stop(auplayer2 *player);

/* 1 from a start that succeeded to a stop. */
AUSPOOL_API uint32_t auplayer2_is_active(const auplayer2 *player);
/* Whether it is active and there is, or may come, more to play: after auplayer2_play_done until the ring has run out.
 */
AUSPOOL_API bool auplayer2_is_playing(const auplayer2 *player);
/* Seconds of audio that wait in the ring. */
AUSPOOL_API float auplayer2_get_buffer_length(const auplayer2 *player);
/* The position of what is heard now: seconds since start, 0 when not active. It counts all audio that was offered. */
AUSPOOL_API float auplayer2_now_playing(const auplayer2 *player);
/* Seconds from the device's asking to the listener's hearing, smoothed; stays after a stop. */
AUSPOOL_API float auplayer2_device_latency(const auplayer2 *player);
/* Says that no more audio will come. Until the next start. */
AUSPOOL_API void auplayer2_play_done(auplayer2 *player);

/* A factor on the output, 1 at first, kept through start and stop. At once; between 0.999 and 1.001 it is 1. */
AUSPOOL_API void auplayer2_set_gain(auplayer2 *player, float gain);
AUSPOOL_API float auplayer2_get_gain(const auplayer2 *player);

/* The device in use: its number, 0 when there is none, AUPLAYER_NO_DEVICE when running without one or `player` is null.
 */
AUSPOOL_API uint32_t auplayer2_device(const auplayer2 *player);

/* Offers a block: left frame i is channels->left[i * stride]. Never waits: what finds no room in the ring is lost, and
 * if the player is being started or stopped at this moment all is. A block at another rate than the last throws away
 * what waits in the ring. The position moves on by the whole block. */
AUSPOOL_API void auplayer2_play(auplayer2 *player, const au_channel_pair *channels, int32_t stride, uint32_t frames,
                                float rate);

/* The same, but waits for room, and before a change of rate until the ring is nearly empty. Ends early, without playing
 * the block, after auplayer2_play_done. A block larger than the ring, or any block with an audio callback, waits until
 * play_done or a stop. */
AUSPOOL_API void auplayer2_play_wait(auplayer2 *player, const au_channel_pair *channels, int32_t stride,
                                     uint32_t frames, float rate);

/* Lets the computer fall asleep from idleness while audio plays, which it otherwise may not, until as many ends as
 * begins were called. For the whole process; each generation counts by itself. */
AUSPOOL_API void auplayer2_begin_allow_idle_sleep(void);
AUSPOOL_API void auplayer2_end_allow_idle_sleep(void);

/* ---- The first generation. What is not told is as above. ---- */

AUSPOOL_API auplayer *auplayer_create(void);
AUSPOOL_API void auplayer_destroy(auplayer *player);
AUSPOOL_API AuPlayerOptions auplayer_options(const auplayer *player);
AUSPOOL_API void auplayer_set_options(auplayer *player, const AuPlayerOptions *options);

/* Fills `frames` interleaved stereo frames at the device's rate. */
typedef void (*auplayer_audio_function)(float *interleaved, int32_t frames, float rate, void *context);
typedef struct auplayer_audio_callback {
  auplayer_audio_function function;
  void *context;
} auplayer_audio_callback;

AUSPOOL_API void auplayer_set_audio_callback(auplayer *player, const auplayer_audio_callback *callback);
AUSPOOL_API int32_t auplayer_start(auplayer *player);
AUSPOOL_API void auplayer_stop(auplayer *player);
AUSPOOL_API uint32_t auplayer_is_active(const auplayer *player);
AUSPOOL_API bool auplayer_is_playing(const auplayer *player);
AUSPOOL_API float auplayer_get_buffer_length(const auplayer *player);
AUSPOOL_API float auplayer_now_playing(const auplayer *player);
AUSPOOL_API float auplayer_device_latency(const auplayer *player);
AUSPOOL_API void auplayer_play_done(auplayer *player);
AUSPOOL_API void auplayer_set_gain(auplayer *player, float gain);
AUSPOOL_API float auplayer_get_gain(const auplayer *player);
AUSPOOL_API uint32_t auplayer_device(const auplayer *player);

/* The channels are always planes of their own. */
AUSPOOL_API void auplayer_play(auplayer *player, const au_channel_pair *channels, uint32_t frames, float rate);
AUSPOOL_API void auplayer_play_wait(auplayer *player, const au_channel_pair *channels, uint32_t frames, float rate);

AUSPOOL_API void auplayer_begin_allow_idle_sleep(void);
AUSPOOL_API void auplayer_end_allow_idle_sleep(void);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_AUPLAYER_H */
