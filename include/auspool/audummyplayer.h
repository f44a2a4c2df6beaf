/* Keeps an output device running without playing anything: so that the next player starts at once, or to hold the
 * device at a buffer size.
 *
 *   #include <auspool/audummyplayer.h>
 *   #include <stdio.h>
 *
 *   int main(void) {
 *     audummyplayer *player = audummyplayer_run(0, 256);
 *     if (!player) return 1;
 *     printf("device %u runs\n", (unsigned)audummyplayer_device(player));
 *     getchar();
 *     audummyplayer_stop(player);
 *     return 0;
 *   }
 *
 * `audummyplayer2` is the same under its second name. Devices are those of auspool/audevice.h. Any thread that is no
 * real-time thread may call these functions.
 */
#ifndef AUSPOOL_AUDUMMYPLAYER_H
#define AUSPOOL_AUDUMMYPLAYER_H

#include <auspool/types.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct audummyplayer audummyplayer;
typedef struct audummyplayer2 audummyplayer2;

/* A value of `device`: none. There is a player then, which runs nothing. */
#define AUDUMMYPLAYER_NO_DEVICE 0xFFFFFFFEu

/* Runs a device, 0 for the system's default output at this moment. `buffer_frames`, if it is not 0 and at most 4096, is
 * asked of the device first; where it refuses, twice as many, and so on up to 4096; a device that refuses all keeps its
 * size. Null if there is no default output, the device does not start, or memory ran out. */
AUSPOOL_API audummyplayer *audummyplayer_run(uint32_t device, uint32_t buffer_frames);
/* Stops and releases it. Null is allowed. */
AUSPOOL_API void audummyplayer_stop(audummyplayer *player);
/* The device that it was started on; AUDUMMYPLAYER_NO_DEVICE for null. */
AUSPOOL_API uint32_t audummyplayer_device(const audummyplayer *player);

AUSPOOL_API audummyplayer2 *audummyplayer2_run(uint32_t device, uint32_t buffer_frames);
AUSPOOL_API void audummyplayer2_stop(audummyplayer2 *player);
AUSPOOL_API uint32_t audummyplayer2_device(const audummyplayer2 *player);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_AUDUMMYPLAYER_H */
