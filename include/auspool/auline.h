/* Brings stereo audio from an input device to a callback: the way into the library, usually on to aurec_record.
 *
 *   #include <auspool/auline.h>
 *   #include <auspool/aurec.h>
 *   #include <stdio.h>
 *
 *   static void hear(void *context, const au_channel_pair *channels, int32_t frames, float rate) {
 *     const float *const sides[2] = {channels->left, channels->right};
 *     aurec_record(context, rate, sides, frames);
 *   }
 *
 *   static void *name_file(void *ref, void *previous, char *path, int32_t type, int32_t index, audict **tags) {
 *     (void)ref, (void)type, (void)tags;
 *     snprintf(path, AUREC_PATH_BYTES, "take-%d.aiff", (int)index + 1);
 *     return previous ? NULL : path;
 *   }
 *
 *   int main(void) {
 *     aurec *rec = aurec_create(NULL, name_file, NULL, NULL, NULL, NULL);
 *     auline *line = auline_create();
 *     if (!rec || !line || aurec_start(rec, 0) != 0 || auline_start(line, hear, rec) != 0) return 1;
 *     getchar();  // records until a key is pressed
 *     auline_destroy(line);
 *     aurec_destroy(rec);
 *     return 0;
 *   }
 *
 * Without a device a timer brings silence at the same pace, so that what hangs on the callback runs the same way.
 *
 * Threads: the callback runs on the device's real-time thread, or the timer's, and must be fit for the former; it must
 * not start, stop or destroy the line. The other functions belong to one thread at a time; auline_is_active to any.
 * A device that goes away brings nothing any more; the line stays active until it is stopped.
 */
#ifndef AUSPOOL_AULINE_H
#define AUSPOOL_AULINE_H

#include <auspool/types.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct auline auline;

/* A value of `device`: none. The callback gets silence. */
#define AULINE_NO_DEVICE 0xFFFFFFFEu

/* How a line hears. All 0 at first. */
typedef struct AuLineOptions {
  uint32_t device;        /* 0: the system's default input at the start; AULINE_NO_DEVICE; or the number of a device */
  uint32_t data_source;   /* the device's source to select; 0: leave it as it is */
  float sample_rate;      /* the rate to set; 0: leave the device's; without a device 0 is 44100 */
  int32_t left_channel;   /* the device's channel to hear on the left, from 1; both 0: its preferred pair */
  int32_t right_channel;  /* where one is 0 the other is heard on both sides */
  uint32_t buffer_frames; /* frames a cycle to ask the device for, up to 4096; 0: leave it; without a device 0 is 256 */
} AuLineOptions;

/* The two channels of a block, each sample beside the next, at `rate`: a cycle of the device, or parts of at most 8192
 * frames of a longer one. What the callback leaves in them is of no
 * consequence. A rate that the device changes to shows here from the next block on. */
typedef void (*auline_callback)(void *context, const au_channel_pair *channels, int32_t frames, float rate);

/* A line, stopped. Null if memory ran out. */
AUSPOOL_API auline *auline_create(void);
/* Stops and releases it. Null is allowed. */
AUSPOOL_API void auline_destroy(auline *line);

AUSPOOL_API AuLineOptions auline_options(const auline *line);
/* Takes effect at the next start. If either channel is negative both become 0. */
AUSPOOL_API void auline_set_options(auline *line, const AuLineOptions *options);

/* Starts, after a stop if it runs. Gives
 *    0  started
 *   -1  no callback, or the device's format is not linear PCM
 *   otherwise the status of what failed (auspool/types.h): reading the default input, reading or setting the format,
 *   starting the device or the timer; AUDEVICE_BAD_VALUE without a device for a rate outside of 1 to
 *   10000000 or more than 1048576 frames
 * After a failure the line is stopped. What was set of the device before it failed stays set. */
AUSPOOL_API int32_t auline_start(auline *line, auline_callback callback, void *context);
/* Stops. Afterwards the callback is not running and will not run. */
AUSPOOL_API void auline_stop(auline *line);
/* 1 from a start that succeeded to a stop. */
AUSPOOL_API int32_t auline_is_active(const auline *line);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_AULINE_H */
