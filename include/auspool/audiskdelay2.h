/* audiskdelay2: holds a live stereo stream back on disk, by anything up to hours. What is written now can be read
 * later; the delay can be changed while it runs, and the newest audio is kept for going back to. Long silence takes no
 * disk, and the time that the computer sleeps is known.
 *
 *   #include <auspool/audiskdelay2.h>
 *   #include <stdio.h>
 *   #include <time.h>
 *
 *   int main(void) {
 *     audiskdelay2 *delay = audiskdelay2_create(3600, NULL, 48000.0f);  // up to an hour
 *     if (!delay) return 1;
 *     float block[2 * 480] = {0};
 *     for (int i = 0; i < 300; ++i) {
 *       audiskdelay2_write(delay, block, 480);  // a host does this on its writing thread,
 *       audiskdelay2_read(delay, block, 480);   // and this on its reading thread
 *       nanosleep(&(struct timespec){0, 10000000}, NULL);
 *       if (i == 200) audiskdelay2_set_delay(delay, 1.5f);
 *     }
 *     printf("%.2f s behind\n", audiskdelay2_info(delay, NULL, NULL));
 *     audiskdelay2_destroy(delay);
 *     return 0;
 *   }
 *
 * Conventions
 * - Audio is interleaved stereo, 32-bit float; frames are counted per channel, times are seconds. It is stored as 16
 *   bits: truncated toward zero, and held to the range from -1 to 32767/32768. What has 16 bits comes back exactly.
 * - A delay runs from creation to destruction. What is written is held back until the reader takes it: with a reader
 *   that takes as much as comes in, the delay stays as it is. Nothing is invented to fill it: while there is nothing to
 *   read, reading gives 0 frames.
 * - Threads. One thread writes, one reads, and any others make the other calls, all at the same time. A worker thread
 *   of the delay does all work on the disk, at a priority above ordinary threads where the system allows that. Writing
 *   and reading allocate nothing and take no lock; reading never waits, and writing waits only while the worker is ten
 *   seconds behind. Setting write-only mode waits for nothing. All other calls take the delay's lock, which the worker
 *   holds while it moves up to 16,384 bytes to the store and from it: a fraction of a millisecond, but as long as the
 *   disk stalls.
 * - Memory is two rings of ten seconds (1.76 MB each at 44,100 Hz) and 4.2 MB for the store, flat however long it runs.
 *   The rings and 4 MiB are pinned where the system allows that.
 * - Disk, in a file without a name: 128 KiB for each 32,766 frames of sound that are held (635 MB an hour at 44,100
 *   Hz), and next to nothing for silence after its first second. The file's size, holes included, grows with all the
 *   sound that ever came in, up to 34 GB after 54 hours of sound at 44,100 Hz, whatever `seconds` is; what lies before
 *   the oldest audio is given back to the disk as holes where the file system can. From then on the store goes on in
 *   the room that it has, but each silence that pushes audio out of it makes it smaller for good, a silence as long as
 *   the delay so much that no sound has room any more. A host that runs for longer makes a new delay before that, after
 *   54 * 44,100 / rate hours of sound.
 * - Where the disk is full or writing fails, audio waits in the store's memory and older audio makes room for it: the
 *   delay is then as long as what is left. A block that finds no room at all is lost; where some of it was stored
 *   before, the reader skips as much. The store tells of such failures on the standard error stream, and no call fails.
 *   But a file that cannot be read back has lost the store's own records too: that ends the process, with a message
 *   there.
 * - Where there is a login service (logind), the delay has it wait when the computer is about to sleep. What comes in
 *   from then on is thrown away, and when the computer is back, the time is entered as a gap: it shows in the real
 *   delay.
 * - Any pointer to a delay must be a live one; audiskdelay2_destroy alone accepts null.
 */
#ifndef AUSPOOL_AUDISKDELAY2_H
#define AUSPOOL_AUDISKDELAY2_H

#include <auspool/types.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct audiskdelay2 audiskdelay2;

typedef struct audiskdelay2_callbacks {
  void *context;

  /* On the worker and under the lock, so it calls no function of the delay: so many seconds are held now, a second or
   * more away from what was last told. May be null. */
  void (*size_callback)(void *context, float seconds);
} audiskdelay2_callbacks;

/* Makes a delay of up to `seconds` and starts its worker. `callbacks` is copied and may be null. Null if seconds are
 * below 1 or the rate is not from 1 to 20,000,000 Hz, or if memory, a temporary file or a thread cannot be had. */
AUSPOOL_API audiskdelay2 *audiskdelay2_create(int32_t seconds, const audiskdelay2_callbacks *callbacks, float rate);

/* Ends the worker and releases all, the disk too. Neither audio thread may be in a call. Waits for the disk, and for a
 * login service that does not answer, two seconds at most. Accepts null. */
AUSPOOL_API void audiskdelay2_destroy(audiskdelay2 *delay);

/* Writing thread. Takes `frames` frames and returns `frames`; below 1 it does nothing. Blocks until all are in the ring
 * of ten seconds, in sleeps of a millisecond: a worker that the disk holds up for longer holds up the writer too. */
AUSPOOL_API int32_t audiskdelay2_write(audiskdelay2 *delay, const float *interleaved, int32_t frames);

/* Reading thread, real-time safe. Gives up to `frames` frames and returns how many there were; the rest of the output
 * is as it was. In write-only mode it throws away what was to be read, clears the first frame of the output alone, and
 * returns `frames`. */
AUSPOOL_API int32_t audiskdelay2_read(audiskdelay2 *delay, float *interleaved, int32_t frames);

/* Sets the delay, as far as the store has audio for it; what is not above 0 is 0. A delay that is already the present
 * one changes nothing. Returns the delay in seconds. */
AUSPOOL_API float audiskdelay2_set_delay(audiskdelay2 *delay, float seconds);

/* The longest delay that can be set now: the seconds that are held. They saw: when the store is full, a frame too many
 * takes up to 32,766 frames away. */
AUSPOOL_API float audiskdelay2_max_delay(audiskdelay2 *delay);

/* The present delay in seconds: the audio between what is read next and what was last stored. `*max` becomes what was
 * asked for at creation, `*real` the delay in real time, with the time in which nothing was recorded. Both may be null.
 */
AUSPOOL_API float audiskdelay2_info(audiskdelay2 *delay, float *max, float *real);

/* Where `writeonly` is not 0, audio only accumulates for a later audiskdelay2_set_delay: the delay is held at 0 and
 * reading gives nothing. Any thread, at once. */
AUSPOOL_API void audiskdelay2_set_zero_delay_writeonly_mode(audiskdelay2 *delay, uint32_t writeonly);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_AUDISKDELAY2_H */
