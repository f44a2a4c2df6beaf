/* Small and cheap sample-rate conversion of two channels, for rates that may change with every call.
 *
 *   #include <auspool/resampler.h>
 *   #include <stdio.h>
 *   #include <stdlib.h>
 *
 *   // raw interleaved stereo floats from 44100 to 48000 Hz
 *   int main(void) {
 *     static float out[2 * 256];
 *     resampler *r = resampler_create();
 *     for (;;) {
 *       const size_t needed = (size_t)resampler_frames_in(r, 256, 44100.0, 48000.0);
 *       float *in = calloc(needed + 1, 2 * sizeof *in);
 *       if (!in || fread(in, 2 * sizeof *in, needed, stdin) < needed) return 0;
 *       resampler_resample_i2ch(r, in, out, 256, 44100.0, 48000.0);
 *       fwrite(out, 2 * sizeof *out, 256, stdout);
 *       free(in);
 *     }
 *   }
 *
 * The converter interpolates with a third-order Lagrange polynomial through four frames, in single
 * precision. Going down in rate by more than 1.1, second-order low-pass sections run before it, one
 * for each octave, eight at most; going up by more than 1 / 0.95, one section runs after it. The
 * signal is delayed by about two input frames. For high quality use auspool/raesampler.h.
 *
 * Conventions
 * - Counts are frames. A count below 1 is 0 frames, and gives 0; one above INT32_MAX is INT32_MAX.
 * - Rates are in Hz. A pair of rates that has no ratio above 0, finite, takes 0 frames, and a
 *   conversion with it stays where it is: it repeats one frame.
 * - A change of the input rate starts afresh, as resampler_reset does; a change of the output rate
 *   goes on smoothly.
 * - Input and output must not overlap. THE INPUT IS MODIFIED: going down in rate, the filter runs over it
 *   in place.
 * - One thread at a time uses a context. All operations but resampler_create and
 *   resampler_destroy are safe on a real-time thread. Except where a text says so, a context that
 *   is passed must not be null.
 */
#ifndef AUSPOOL_RESAMPLER_H
#define AUSPOOL_RESAMPLER_H

#include <auspool/types.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct resampler resampler;

/* Makes a context. Never gives null: if memory runs out the process stops, with the message of an
 * assertion that failed. */
AUSPOOL_API resampler *resampler_create(void);

/* Forgets the audio so far. Options and the input rate of the last call stay. A null context stops the
 * process with the message of an assertion that failed. */
AUSPOOL_API void resampler_reset(resampler *context);

/* Releases the context. Accepts null. */
AUSPOOL_API void resampler_destroy(resampler *context);

/* How many input frames the next conversion to `frames_out` frames takes: exactly what the caller must
 * supply then. Asked with the rates of the conversion; after a change of the input rate in between
 * the count may be one frame off. */
AUSPOOL_API int32_t resampler_frames_in(const resampler *context, int32_t frames_out, double input_rate,
                                        double output_rate);

/* How many output frames the next conversion can make of `frames_in` frames. */
AUSPOOL_API int32_t resampler_frames_out(const resampler *context, int32_t frames_in, double input_rate,
                                         double output_rate);

/* Sets the options to `*options`; null does nothing. 0, the default: equal rates copy the input. Not 0:
 * equal rates are interpolated too, which keeps the delay and the position the same when the
 * rates change to and fro by little. */
AUSPOOL_API void resampler_set_options(resampler *context, const uint32_t *options);

/* Makes `frames_out` frames of as many input frames as resampler_frames_in says, both interleaved.
 * Returns `frames_out`. */
AUSPOOL_API uint32_t resampler_resample_i2ch(resampler *context, float *input, float *output, uint32_t frames_out,
                                             double input_rate, double output_rate);

/* The same for channels in buffers of their own, with the same results. */
AUSPOOL_API int32_t resampler_resample_ni2ch(resampler *context, const au_channel_pair *input,
                                             const au_channel_pair *output, int32_t frames_out, double input_rate,
                                             double output_rate);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_RESAMPLER_H */
