/* Block operations on stereo audio: interleaving, copying, gain, mixing, noise, crossfade gains.
 *
 *   #include <auspool/auproc.h>
 *   #include <stdio.h>
 *
 *   int main(void) {
 *     float block[2 * 256] = {1.0f, -1.0f};
 *     float left[256], right[256];
 *     au_channel_pair pair = {left, right};
 *     auproc_deinterleave(&pair, block, 256, 2);
 *     auproc_apply_gain(&pair, &pair, 256, 0.5f);
 *     auproc_interleave(block, &pair, 256, 2);
 *     printf("%g %g\n", block[0], block[1]);
 *     return 0;
 *   }
 *
 * Conventions
 * - `frames` is the count per channel. A null pair, a null pointer in a pair, a null interleaved pointer
 *   or `frames` below 1: nothing happens. (auproc_apply_noise has a say of its own.)
 * - A gain below 0.005 is silent, negative gains included; one strictly between 0.995 and 1.005 is unity.
 *   Where the text says silent or unity the gain is not applied exactly.
 * - Source and target may be the same or overlap: the operations then go forward sample by sample.
 * - No handle, no allocation, no lock: all are safe on a real-time thread. The state of the noise
 *   generator is shared by the whole process.
 */
#ifndef AUSPOOL_AUPROC_H
#define AUSPOOL_AUPROC_H

#include <auspool/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Takes the first two samples of each frame of `channels` samples into left and right. One channel goes
 * into both. `channels` below 1: nothing happens. */
AUSPOOL_API void auproc_deinterleave(const au_channel_pair *pair, const float *interleaved, int32_t frames,
                                     int32_t channels);

/* Writes left and right to the first two places of each frame of `channels` samples; further places are
 * left alone. With one channel, left alone is written. `channels` below 1: nothing happens. */
AUSPOOL_API void auproc_interleave(float *interleaved, const au_channel_pair *pair, int32_t frames, int32_t channels);

/* Copies both channels. */
AUSPOOL_API void auproc_copy_buffer(const au_channel_pair *source, const au_channel_pair *target, int32_t frames);

/* Clears both channels. */
AUSPOOL_API void auproc_zero_buffer(const au_channel_pair *pair, int32_t frames);

/* Target is source times `gain`: silent clears it, unity copies. */
AUSPOOL_API void auproc_apply_gain(const au_channel_pair *source, const au_channel_pair *target, int32_t frames,
                                   float gain);

/* Target is source times `source_gain` plus target times `target_gain`. Both silent clears the target; a
 * unity source over a silent target copies; otherwise unity gains are not multiplied by, and all other
 * gains, silent ones too, are applied as they stand. */
AUSPOOL_API void auproc_mix_gain2(const au_channel_pair *source, const au_channel_pair *target, int32_t frames,
                                  float source_gain, float target_gain);

/* Target is source plus white noise between -amount and +amount, the same in left and right. An `amount`
 * of 0.01 or below copies, and the generator does not move. Above that, the pointers inside the pairs must
 * not be null. Two threads in here at once cost only randomness.
 * The generator is the linear congruential one of W. Press et al., "Numerical Recipes" (1664525,
 * 1013904223). */
AUSPOOL_API void auproc_apply_noise(const au_channel_pair *source, const au_channel_pair *target, int32_t frames,
                                    float amount);

/* Gains of an equal-power crossfade: `first` is the sine and `second` the cosine of a quarter turn at
 * `position`, from 0 (second alone) to 1 (first alone). Gains below 0.005 become 0, and so do the negative
 * ones that a position outside 0 to 1 gives. A null result pointer: nothing happens. */
AUSPOOL_API void auproc_gains_for_xfade(float *first, float *second, float position);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_AUPROC_H */
