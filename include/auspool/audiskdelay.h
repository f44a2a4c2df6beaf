/* audiskdelay: holds a live stereo stream back on disk, the older generation. Audio goes into a plain ring in a
 * temporary file, can be read later, and the delay can be changed while it runs. A host can tag the stream with values
 * of its own, which come out with the audio. audiskdelay2.h is for new hosts that need no such values: it stores
 * silence for nothing and notices when the computer sleeps.
 *
 *   #include <auspool/audiskdelay.h>
 *   #include <stdio.h>
 *   #include <time.h>
 *
 *   int main(void) {
 *     audiskdelay *delay = audiskdelay_create(3600, 1, NULL, 48000.0f);  // up to an hour, 16 bits
 *     if (!delay) return 1;
 *     float block[2 * 480] = {0};
 *     for (int i = 0; i < 300; ++i) {
 *       audiskdelay_write(delay, block, 480);  // a host does this on its writing thread,
 *       audiskdelay_read(delay, block, 480);   // and this on its reading thread
 *       nanosleep(&(struct timespec){0, 10000000}, NULL);
 *       if (i == 200) audiskdelay_set_backtrack(delay, 1.5f);
 *     }
 *     printf("%.2f s behind\n", audiskdelay_info(delay, NULL, NULL));
 *     audiskdelay_destroy(delay);
 *     return 0;
 *   }
 *
 * Conventions
 * - Audio is interleaved stereo, 32-bit float; frames are counted per channel, times are seconds.
 * - Threads. One thread writes, one reads, and any others make the other calls, all at the same time. A worker thread
 *   of the delay does all work on the disk. Writing and reading allocate nothing and take no lock; reading never waits,
 *   and writing waits only while the worker is ten seconds behind. Write-only mode and looking up values wait for no
 *   disk either. All other calls take the delay's lock, which the worker holds while it moves up to 262,144 bytes to
 *   the disk and back: usually a fraction of a millisecond, but as long as the disk stalls.
 * - With `compact` the audio is stored as 16 bits, 4 bytes a frame: truncated toward zero, and held to the range from
 *   -1 to 32767/32768. Otherwise it is stored as it came, 8 bytes a frame.
 * - The file has no name and takes seconds * rate * frame bytes of disk at the most: an hour at 44,100 Hz is 635 MB, or
 *   1.27 GB. Memory is two rings of ten seconds and 256 KiB. Where the disk has room for less, the delay is as long as
 *   what was there, which full_callback tells.
 * - The callbacks but oob_callback run on the worker, under the lock: they call no function of the delay.
 * - Any pointer to a delay must be a live one; audiskdelay_destroy alone accepts null.
 */
#ifndef AUSPOOL_AUDISKDELAY_H
#define AUSPOOL_AUDISKDELAY_H

#include <auspool/types.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct audiskdelay audiskdelay;

/* What a host is told. Each function may be null; all get `context` first. */
typedef struct audiskdelay_callbacks {
  void *context;

  /* On the worker: the delay holds so many seconds now, more than a second more than when it was last told. */
  void (*size_callback)(void *context, float seconds);

  /* On the worker: the disk gives no more. From now on the delay holds so many seconds, and goes on with them. */
  void (*full_callback)(void *context, float seconds);

  /* On the reading thread, from within audiskdelay_read and before it gives audio: `value` is what applies to the first
   * frame of that audio, another entry than before; null where none does. A change within a block is told with the next
   * one, and one that another thread is adding meanwhile, with one of the next. */
  void (*oob_callback)(void *context, void *value);
} audiskdelay_callbacks;

/* Makes a delay of up to `seconds` and starts its worker. `compact` is 0 or not, as above. `callbacks` is copied and
 * may be null. Null if seconds are below 1 or the rate is not from 1 to 20,000,000 Hz, or if memory, a temporary file
 * or a thread cannot be had. */
AUSPOOL_API audiskdelay *audiskdelay_create(int32_t seconds, int32_t compact, const audiskdelay_callbacks *callbacks,
                                            float rate);

/* Ends the worker and releases all; values that are still held go to the free function that was given last. Neither
 * audio thread may be in a call. Accepts null. */
AUSPOOL_API void audiskdelay_destroy(audiskdelay *delay);

/* Writing thread. Takes `frames` frames and returns `frames`; below 1 it does nothing. Blocks until all are in the ring
 * of ten seconds, in sleeps of a millisecond: a worker that the disk holds up for longer holds up the writer too. */
AUSPOOL_API int32_t audiskdelay_write(audiskdelay *delay, const float *interleaved, int32_t frames);

/* Reading thread, real-time safe but for what oob_callback does. Gives up to `frames` frames and returns how many there
 * were; the rest of the output is as it was. In write-only mode it throws away what was to be read, clears
 * the first frame of the output alone, and returns `frames`. */
AUSPOOL_API int32_t audiskdelay_read(audiskdelay *delay, float *interleaved, int32_t frames);

/* Goes so many seconds back from the newest audio, as far as there is any; what is not above 0 is 0. What the worker
 * has not yet taken from the writer is added, so that a delay whose worker is behind goes back further than asked.
 * Returns the seconds between what is read next and what was last stored. */
AUSPOOL_API float audiskdelay_set_backtrack(audiskdelay *delay, float seconds);

/* How far back one can go: the seconds that are stored. */
AUSPOOL_API float audiskdelay_max_backtrack(audiskdelay *delay);

/* The present delay in seconds: from what is read next to what was last stored. `*max` becomes what the delay can hold,
 * `*real` the delay in real time, which in this generation is the same. Both may be null. */
AUSPOOL_API float audiskdelay_info(audiskdelay *delay, float *max, float *real);

/* Where `writeonly` is not 0, audio only accumulates for a later audiskdelay_set_backtrack: the delay is held at 0 and
 * reading gives nothing. Any thread, at once. */
AUSPOOL_API void audiskdelay_set_zero_delay_writeonly_mode(audiskdelay *delay, uint32_t writeonly);

/* ---- Out-of-band values: a host's tags on the stream ----
 *
 * A value applies to the audio from the moment at which it was added until the next one, and stays as long as any of
 * that audio may still be heard. What the values are is the host's affair; a host that adds them on another thread than
 * it uses them on takes care that one which is released is no longer in use. */

/* Called with `merge_into` null: `value` is no longer needed and is released. Called with another, once and before any
 * value is released: `value` is the last of those that are about to be, `merge_into` the one that is being added, which
 * may take over what still applies; nothing is released. */
typedef void (*audiskdelay_free_function)(void *value, void *merge_into);

/* From the next frame that is written on, `value` applies. Values that apply to nothing the delay holds go to
 * `free_function`, which may be null. It is called on this thread, under the lock, and calls no function of the delay.
 * Any thread but a real-time one; where it counts to the frame, the writing thread. Returns 0, or -1 if memory ran out:
 * then nothing has happened. */
AUSPOOL_API int32_t audiskdelay_add_oob_value(audiskdelay *delay, void *value, audiskdelay_free_function free_function);

/* The value that applies to the frame that is read next; null if none does. These three wait for no disk. */
AUSPOOL_API void *audiskdelay_get_oob_value(audiskdelay *delay);

/* Its neighbours: the value that applied before, and the one that will after it; null if there is none. `*seconds`,
 * which may be null, becomes the distance from the frame that is read next to the first one that the neighbour applies
 * to, either way 0 or above; 0 where there is none. */
AUSPOOL_API void *audiskdelay_prev_oob_value(audiskdelay *delay, float *seconds);
AUSPOOL_API void *audiskdelay_next_oob_value(audiskdelay *delay, float *seconds);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_AUDISKDELAY_H */
