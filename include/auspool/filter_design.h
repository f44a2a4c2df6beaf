/* The numeric toolbox under the sample-rate converters: low-pass design by window, minimum phase, polyphase branches,
 * transform sizes, and the delay lines of direct filters.
 *
 * Conventions
 * - A prototype filter is an array of double, made with malloc. The caller owns it and releases it with free().
 * - Lengths count taps. Band edges and cut-offs are fractions of the Nyquist frequency of the rate at which the filter
 *   runs: 1.0 is Nyquist.
 * - A sample size is 4 (float) or 8 (double) bytes. Counts, lengths, fills and strides count samples of one channel.
 *   To copy a count below 0 is to copy nothing.
 * - Windows are given by kind; any other number applies none.
 * - The creators allocate and return null when memory runs out or a size is below 1. All else allocates nothing,
 *   takes no lock and is for any thread, an audio thread included. There is no state: calls on different memory may
 *   run at once.
 *
 * Example: the taps of a half-band low-pass, ready to run forwards over a delay line
 *
 *   #include <auspool/filter_design.h>
 *   #include <stdio.h>
 *   #include <stdlib.h>
 *
 *   int main(void) {
 *     double beta, cutoff;
 *     const int32_t length = (int32_t)(kaiser_estimate(&beta, &cutoff, 0.425, 0.5, 0.001, 0.001) | 1);
 *     double *prototype = create_lp_filter(length, AU_WINDOW_KAISER, 0, NULL, 1.0, cutoff, beta);
 *     float *taps = prototype ? make_polyphase_filter(sizeof *taps, prototype, length, length, 1, -1) : NULL;
 *     free(prototype);
 *     if (!taps) return 1;
 *     for (int32_t i = 0; i < length; ++i) printf("%g\n", taps[i]);
 *     free(taps);
 *     return 0;
 *   }
 */
#ifndef AUSPOOL_FILTER_DESIGN_H
#define AUSPOOL_FILTER_DESIGN_H

#include <stdint.h>

#include <auspool/types.h>

#ifdef __cplusplus
extern "C" {
#endif

enum { AU_WINDOW_HAMMING = 0, AU_WINDOW_BLACKMAN = 1, AU_WINDOW_KAISER = 2 };

/* What kaiser_estimate returns for edges that no filter can part. `| 1` leaves it as it is. */
#define AU_NO_FILTER_LENGTH UINT32_MAX

/* The length and shape of the Kaiser-windowed low-pass that keeps to both ripples (J. F. Kaiser, "Nonrecursive digital
 * filter design using the I0-sinh window function", 1974; the rule of beta is the one for more than 50 dB, whatever the
 * ripples). Ripples are amplitudes: 0.001 is 60 dB. The smaller one decides. `cutoff`, which may be null, gets the
 * middle of the edges.
 *
 * Returns an even length; `| 1` makes it the odd one to design with. Returns AU_NO_FILTER_LENGTH, and leaves the
 * outputs alone, when the edges are equal or the length would pass 2147483646. Ripples of 0.4 and more ask for less
 * than the shortest filter and get it. */
AUSPOOL_API uint32_t kaiser_estimate(double *beta, double *cutoff, double pass_edge, double stop_edge,
                                     double pass_ripple, double stop_ripple);

/* Multiply `length` taps by a window and by `gain`. A `length` below 1 is nothing.
 * The Hamming window has the coefficients 0.5425 and 0.4575; the Blackman window ends in taps of exactly 0. */
AUSPOOL_API void apply_hamming_window_with_gain(double *taps, int32_t length, double gain);
AUSPOOL_API void apply_blackman_window_with_gain(double *taps, int32_t length, double gain);
AUSPOOL_API void apply_kaiser_window_with_gain(double *taps, int32_t length, double beta, double gain);

/* A low-pass of `length` taps: the ideal response, windowed, with a pass-band gain of `gain` as the window leaves it.
 *
 * `minimum_phase` not 0 turns it into the filter of the same magnitudes whose energy comes first, by way of the
 * cepstrum (A. V. Oppenheim, R. W. Schafer, "Discrete-Time Signal Processing", homomorphic deconvolution). The
 * transform is the smallest that holds twice the taps, so the cepstrum aliases a little: expect the stop band to lose
 * some decibels against the linear-phase design. The design is then of odd length: for an even `length` the last tap is
 * 0. `peak_index`, which may be null, gets the index of the first local maximum of the magnitudes of the taps; without
 * `minimum_phase` it is left alone.
 *
 * `beta` shapes the Kaiser window only. Returns the prototype, or null. */
AUSPOOL_API double *create_lp_filter(int32_t length, int32_t window, int32_t minimum_phase, int32_t *peak_index,
                                     double gain, double cutoff, double beta);

/* A Hilbert transformer of odd `length`, windowed by `window`: it turns every frequency by a quarter, sin into -cos,
 * but for those near 0 and near Nyquist, which it weakens. Every other tap is 0. Returns the prototype, or null, also
 * for a length that is even or below 2. */
AUSPOOL_API double *create_hilbert_filter(int32_t length, int32_t window, double beta);

/* Splits a prototype of `length` taps into `phases` rows of `taps` samples each, in one block for free(). Row p holds
 * the prototype's entries p, p + phases, p + 2 * phases ..., zeroes where it has no more; what does not fit is left
 * out.
 *
 * `step` 1 keeps their order. `step` -1 turns each row round, ready for a forward dot product with a delay line: zeroes
 * then lead the row. A single phase differs: `step` -1 reads from the prototype's last entry down, and zeroes stay
 * behind. Returns the block of float (`sample_size` 4) or double (8), or null. */
AUSPOOL_API void *make_polyphase_filter(int32_t sample_size, const double *prototype, int32_t length, int32_t taps,
                                        int32_t phases, int32_t step);

/* The size of transform that suits overlap-save with a filter of `length` taps: the smallest doubling of `base` that
 * holds the filter and beside it a block of at least half its length. `base` 0 means 2; bases other than 2 double twice
 * in their first step. `log2_out`, which may be null, gets the base-2 logarithm for a base of 2. Returns 0, with the
 * output left alone, where the size would pass 2^30. */
AUSPOOL_API int32_t fft_size_for_filter_length(int32_t length, uint32_t *log2_out, int32_t base);

/* The sum of a[i * a_stride] * b[i * b_stride] over `count` terms, stored through `result`. Both sum in double. */
AUSPOOL_API void dot_product_unrolledF32(const float *a, int32_t a_stride, const float *b, int32_t b_stride,
                                         float *result, int32_t count);
AUSPOOL_API void dot_product_unrolledF64(const double *a, int32_t a_stride, const double *b, int32_t b_stride,
                                         double *result, int32_t count);

/* Delay lines: the last samples of one channel, contiguous, oldest first. */

/* Appends `count` samples of `*input`, `in_stride` apart, at `destination`, and moves `*input` behind them. */
AUSPOOL_API void copy_to_delay_line(int32_t sample_size, void *destination, const void **input, int32_t in_stride,
                                    int32_t count);
/* The same into a line of double whatever the sample size. */
AUSPOOL_API void copy_to_delay_lineF64(int32_t sample_size, double *destination, const void **input, int32_t in_stride,
                                       int32_t count);

/* Ends a block of `count` samples at `input`: keeps in `line` what the next block needs. `position` is the index in the
 * block at which the next output's window begins; below 0 it begins that many samples before the end of the full line
 * of `capacity` samples (`capacity_again` is not used). Returns the new fill, `count - position`: where that is
 * negative, nothing was kept, and the next window begins that many samples behind the end of this block. */
AUSPOOL_API int32_t save_delay_line(int32_t sample_size, int32_t position, void *line, int32_t capacity,
                                    int32_t capacity_again, const void *input, int32_t in_stride, int32_t count);

/* Copy one channel of an interleaved block: `count` samples that lie `stride` apart, to consecutive ones. */
AUSPOOL_API void deinterleave_channelF32(const float *source, int32_t stride, float *destination, int32_t count);
AUSPOOL_API void deinterleave_channelF64(const double *source, int32_t stride, double *destination, int32_t count);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_FILTER_DESIGN_H */
