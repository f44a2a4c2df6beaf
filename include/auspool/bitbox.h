/* Conversion between sample formats: integers of 16, 24 and 32 bits, floats of 32 and 64, either byte order, planar or
 * interleaved, with dither and noise shaping on the way to integers.
 *
 *   #include <auspool/bitbox.h>
 *   #include <stdio.h>
 *
 *   int main(void) {
 *     float left[4] = {0.0f, 0.25f, -0.25f, 1.0f}, right[4] = {0};
 *     unsigned char packed[4 * 2 * 3];
 *     void *source[2] = {left, right};
 *     void *target[2] = {packed, packed + 3};
 *     bitbox_dither *dither = bitbox_dither_create(24, 2, BITBOX_DITHER_TPDF, 0, 48000.0f);
 *     int32_t done = bitbox_convert(source, BITBOX_FLOAT | 32, 1, target, BITBOX_BIG_ENDIAN | 24, 2, 2, 4, dither);
 *     printf("%d frames\n", (int)done);
 *     bitbox_dither_destroy(dither);
 *     return 0;
 *   }
 *
 * Conventions
 * - A sample format is a 32-bit word: the width in bits (16, 24, 32 or 64) with the flags below. Floats have 32 or 64
 *   bits, integers 16, 24 or 32. With neither order flag samples are little-endian. Bits that have no name here have no
 *   effect.
 * - A sample takes 2 bytes at 16 bits, 3 at 24, 4 at 32, 8 at 64; an unpacked integer takes 4. Samples need no
 *   alignment.
 * - A stride is the distance between two samples of a channel, in samples of that side's format: 1 for planar audio,
 *   the number of channels for interleaved audio.
 * - Floats run from -1.0 to 1.0. Integers are signed; the lowest is -1.0.
 * - Nothing here locks, and bitbox_convert, bitbox_dither_ip, bitbox_dither_op and bitbox_dither_reset neither allocate
 *   nor make system calls: they are safe on a real-time thread.
 * - A dither has one user at a time, for all of its channels: they draw from one sequence of noise.
 */
#ifndef AUSPOOL_BITBOX_H
#define AUSPOOL_BITBOX_H

#include <auspool/types.h>

#ifdef __cplusplus
extern "C" {
#endif

#define BITBOX_WIDTH_MASK 0x00FFu
#define BITBOX_BIG_ENDIAN 0x1000u
#define BITBOX_LITTLE_ENDIAN 0x2000u /* wins over BITBOX_BIG_ENDIAN */
#define BITBOX_FLOAT 0x4000u
#define BITBOX_UNPACKED 0x8000u /* 16 or 24 bits in 4 bytes, right-justified and sign-extended; else no effect */

/* Dither and noise shaping for one word length, number of channels and sample rate. */
typedef struct bitbox_dither bitbox_dither;

/* Converts `frames` frames of `channels` channels. `source` and `target` hold a pointer for each channel, to its first
 * sample; they, and what `source` points to, are not changed. Source and target may be the same memory where formats
 * and strides are the same; otherwise they must not overlap.
 *
 * Floats become integers by multiplying with half the number of codes and rounding to the nearest, ties to even; what
 * is beyond the range becomes the lowest or the highest code. NaN becomes 0. One value is out of the ordinary: a 32-bit
 * float of exactly 1.0 becomes the lowest 32-bit integer, since 2147483647 is no 32-bit float; what is above 1.0
 * becomes the highest. Integers become floats exactly, except that 32-bit integers are rounded to 32-bit floats. The
 * value of an unpacked source is all of its 4 bytes. Integers become integers by way of 64-bit floats. Floats of one
 * width keep every bit.
 *
 * `dither`, which may be null, acts where the target is of integers. Its word length should be that of the target.
 *
 * Returns `frames`; 0, with nothing written, where `frames` is below 1, a format is none, or a dither of a shaped type
 * has fewer channels than are converted. With `channels` below 1 nothing is read or written. */
AUSPOOL_API int32_t bitbox_convert(void *const *source, uint32_t source_format, int32_t source_stride,
                                   void *const *target, uint32_t target_format, int32_t target_stride, int32_t channels,
                                   int32_t frames, bitbox_dither *dither);

/* Types of dither: four-character codes. The first two add noise. The others round the signal to the word length,
 * triangular noise of one LSB added, and shape the noise of it all; they need a rate of at least 44100. */
#define BITBOX_DITHER_RPDF 0x72706466u   /* "rpdf": rectangular noise of 0 to 1 LSB, so with a mean of half an LSB */
#define BITBOX_DITHER_TPDF 0x74706466u   /* "tpdf": triangular noise of -1 to 1 LSB */
#define BITBOX_DITHER_SIMPLE 0x73696D70u /* "simp": 2 taps, noise from the lower band to the upper */
#define BITBOX_DITHER_POLES 0x66665F66u  /* "ff_f": a pair of zeros and a pair of poles, noise near half the rate */
#define BITBOX_DITHER_F_WEIGHTED 0x66776774u /* "fwgt": 24 to 40 taps that follow the ear */
#define BITBOX_DITHER_FLAT_LOW 0x66662D34u   /* "ff-4": a flat floor 4.5 dB down, up to 0.63 of half the rate */
#define BITBOX_DITHER_FLAT_MED 0x66662D36u   /* "ff-6": 6.1 dB down */
#define BITBOX_DITHER_FLAT_HIGH 0x66662D38u  /* "ff-8": 8.1 dB down */
#define BITBOX_DITHER_CUSTOM 0x6373746Du     /* "cstm": the host's taps, at any rate */

/* The host's own shaping filter. The noise is shaped by 1 - taps[0] z^-1 - taps[1] z^-2 - ... */
typedef struct bitbox_custom_filter {
  uint32_t kind;     /* 0 */
  uint32_t count;    /* of taps, not 0 */
  const float *taps; /* not null; copied */
} bitbox_custom_filter;

/* Makes a dither for samples of `bits` bits, 1 to 32. `filter` matters for BITBOX_DITHER_CUSTOM alone and may be null
 * otherwise. All dithers begin with the same noise. Not for a real-time thread: it allocates, and
 * BITBOX_DITHER_F_WEIGHTED at a rate without a ready filter designs one for some milliseconds. Null for other `bits`,
 * an unknown type, a shaped type other than the custom one at a rate below 44100 (BITBOX_DITHER_TPDF serves there), a
 * custom filter that is null or breaks the rules above, negative `channels`, or no memory. */
AUSPOOL_API bitbox_dither *bitbox_dither_create(int32_t bits, int32_t channels, uint32_t type,
                                                const bitbox_custom_filter *filter, float sample_rate);

/* Clears the state of the shaping filters, for a new stream. The noise goes on where it was. */
AUSPOOL_API void bitbox_dither_reset(bitbox_dither *dither);

/* Null is accepted. */
AUSPOOL_API void bitbox_dither_destroy(bitbox_dither *dither);

/* Dithers `frames` samples of one channel, in place or from source to target: 64-bit floats where `is_double` is not 0,
 * 32-bit floats otherwise. Types without shaping add noise, and rounding is left to the conversion that follows; shaped
 * types quantise, so that the conversion finds exact integers. Samples that clip become 1.0 or -1.0; NaN stays NaN and
 * adds no error to the filter. `dither` must not be null. `frames` below 1, or with a shaped type a `channel` that
 * the dither does not have: nothing happens. The noise is one sequence that all channels draw from. */
AUSPOOL_API void bitbox_dither_ip(bitbox_dither *dither, int32_t channel, int32_t is_double, void *samples,
                                  int32_t stride, int32_t frames);
AUSPOOL_API void bitbox_dither_op(bitbox_dither *dither, int32_t channel, int32_t is_double, const void *source,
                                  int32_t source_stride, void *target, int32_t target_stride, int32_t frames);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_BITBOX_H */
