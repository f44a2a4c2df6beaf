/* Level meter for two channels: peak, RMS and a clip indicator that fall by the clock.
 *
 *   #include <auspool/aumeter.h>
 *   #include <stdio.h>
 *
 *   int main(void) {
 *     float left[256] = {0.5f}, right[256] = {-0.25f};
 *     au_channel_pair block = {left, right};
 *     float peak_left, peak_right;
 *     aumeter *meter = aumeter_create();
 *     if (!meter) return 1;
 *     aumeter_process_ni2ch(meter, &block, 256);
 *     aumeter_get_peak_decibels(meter, &peak_left, &peak_right);
 *     printf("%.1f %.1f\n", (double)peak_left, (double)peak_right);
 *     aumeter_destroy(meter);
 *     return 0;
 *   }
 *
 * Conventions
 * - Decibels are relative to full scale, 1.0: a full-scale square wave has a peak and an RMS of 0. The floor is -120.
 * - Levels rise at once and fall by a number of decibels a second, by the clock: at each block, and at each read for
 *   the time since the last block.
 * - Peaks, RMS levels and the clip indicator are read apart. The first read of a kind after a block looks at the levels
 *   and leaves them. Each further read of that kind stores what it returns, and the next starts from there with the
 *   whole time since the block again: the more often a display reads while no audio comes, the faster its levels fall.
 * - One thread processes, and any other may read, reset or set the falloff at the same time. What they then see may mix
 *   the levels of two blocks, and a read that stores what it returns may undo what a block raises at that moment.
 *   Nothing but aumeter_create and aumeter_destroy allocates, and nothing locks or makes a system call: the
 *   rest is safe on a real-time thread.
 * - Except where null is said to be accepted, the handle and the result pointers must not be null.
 */
#ifndef AUSPOOL_AUMETER_H
#define AUSPOOL_AUMETER_H

#include <auspool/types.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct aumeter aumeter;

/* A meter with all levels at 0, falling by 20 decibels a second; null when there is no memory. */
AUSPOOL_API aumeter *aumeter_create(void);

/* Null is accepted. */
AUSPOOL_API void aumeter_destroy(aumeter *meter);

/* Sets all levels to 0. The fall rate stays. */
AUSPOOL_API void aumeter_reset(aumeter *meter);

/* The fall of peak and RMS in decibels a second, 0 or more, from now on. Null, and what is not finite, is ignored. */
AUSPOOL_API void aumeter_set_falloff(aumeter *meter, float decibels_per_second);

/* Takes one block of planar audio. A sample beyond full scale sets the clip indicator to 1 and the peak to full scale;
 * exactly full scale is no clip. RMS is over the block and at most full scale. NaN is passed over in the peak, and a
 * block with NaN leaves the RMS to fall. With `frames` below 1 the levels fall for the time since the last block, which
 * they will do again at the next. */
AUSPOOL_API void aumeter_process_ni2ch(aumeter *meter, const au_channel_pair *block, int32_t frames);

/* Levels in decibels, -120 or more. */
AUSPOOL_API void aumeter_get_peak_decibels(aumeter *meter, float *left, float *right);
AUSPOOL_API void aumeter_get_rms_decibels(aumeter *meter, float *left, float *right);

/* The same on the scale of a meter, by db2metered_levels. These count as reads of the same kinds. */
AUSPOOL_API void aumeter_get_peak_metered(aumeter *meter, float *left, float *right);
AUSPOOL_API void aumeter_get_rms_metered(aumeter *meter, float *left, float *right);

/* The clip indicator: 1 at a clip, falling by a half a second, without end: it is negative later. A block lowers it as
 * it lowers the levels, in decibels. */
AUSPOOL_API void aumeter_get_clip(aumeter *meter, float *left, float *right);

/* The deflection of a meter for a level in decibels: 0.993 at 0 decibels, 0 from about -94.6 down. */
AUSPOOL_API float db2metered_levels(float decibels);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_AUMETER_H */
