/* Spectrum meter: the power spectrum of a stereo stream for display, on a linear or a logarithmic scale of frequencies.
 *
 *   #include <auspool/auspecmeter.h>
 *   #include <stdio.h>
 *
 *   int main(void) {
 *     float left[4096] = {1.0f}, right[4096] = {1.0f}, bars[16];
 *     au_channel_pair block = {left, right};
 *     auspecmeter *meter = auspecmeter_create(512);
 *     if (!meter) return 1;
 *     auspecmeter_process_ni2ch(meter, &block, 4096);
 *     auspecmeter_get_log_spectrum(meter, bars, 16);
 *     printf("%.2f\n", (double)bars[8]);
 *     auspecmeter_destroy(meter);
 *     return 0;
 *   }
 *
 * Conventions
 * - Of a meter of width W, bin k is at k / W of half the sample rate. The two channels are added before they are
 *   analysed: a sine at full scale in both is 0 decibels, in one of them -6. The spectrum is of 2 W samples under a
 *   Hann window, W further on each time. The bin at half the sample rate is left out.
 * - Decibels: 0 is full scale. A bin at -80 or above is shown at its level; a quieter one counts as -120. Meter units:
 *   0 at -80 decibels and below, 1 at 0.
 * - Levels rise at once and fall by 20 decibels a second, by the clock: at each update, which a block makes when it
 *   completes at least one spectrum, and at each read for the time since the last update.
 * - The first read after an update looks at the levels and leaves them. Each further read stores what it returns, and
 *   the next starts from there with the whole time since the update again. A level below -120 reads as -120;
 *   one of just -120 falls like any other. A meter that has not been updated for long thus reads -120 or far less, by
 *   turns. Meter units do not show it.
 * - One thread processes, and any other may read or reset at the same time. What they then see may mix the levels of
 *   two updates, and a read that stores what it returns may undo what a block raises at that moment. Nothing but
 *   auspecmeter_create and auspecmeter_destroy allocates, and nothing locks or makes a system call: all else is
 *   safe on a real-time thread, except that the log spectrum prints a message when asked for what it cannot give.
 * - Except where null is said to be accepted, the handle and the pointers must not be null.
 */
#ifndef AUSPOOL_AUSPECMETER_H
#define AUSPOOL_AUSPECMETER_H

#include <auspool/types.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct auspecmeter auspecmeter;

/* A meter of `width` bins: 32, 64, 128, 256, 512, 1024 or 2048. Null for another width or when there is no memory. */
AUSPOOL_API auspecmeter *auspecmeter_create(int32_t width);

/* Null is accepted. */
AUSPOOL_API void auspecmeter_destroy(auspecmeter *meter);

/* Forgets the levels and the samples that it holds. */
AUSPOOL_API void auspecmeter_reset(auspecmeter *meter);

/* Takes a block of any length; below 1 frame it does nothing. A block that completes several spectra shows their mean
 * power. NaN among the samples leaves the levels to fall until it has passed. */
AUSPOOL_API void auspecmeter_process_ni2ch(auspecmeter *meter, const au_channel_pair *block, int32_t frames);

/* The number of bins; 0 for null. */
AUSPOOL_API int32_t auspecmeter_get_width(const auspecmeter *meter);

/* Writes a level for each bin, in decibels or in meter units. */
AUSPOOL_API void auspecmeter_get_spectrum_decibels(auspecmeter *meter, float *levels);
AUSPOOL_API void auspecmeter_get_spectrum_metered(auspecmeter *meter, float *levels);

/* Writes `out_width` levels in meter units: bin 0, then bands that widen towards higher frequencies, each the mean of
 * the decibels of its bins. The limited form ends at `upper`, from 0.0 to 1.0, of half the sample rate. A null meter,
 * or an `out_width` of 0: nothing happens. An `upper` outside its range, or more levels than there are bins below it: a
 * message on standard error, and nothing else. */
AUSPOOL_API void auspecmeter_get_log_spectrum(auspecmeter *meter, float *levels, uint32_t out_width);
AUSPOOL_API void auspecmeter_get_log_spectrum_limited(auspecmeter *meter, float *levels, uint32_t out_width,
                                                      double upper);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_AUSPECMETER_H */
