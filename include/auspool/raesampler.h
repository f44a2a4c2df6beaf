/* Sample-rate conversion of any number of channels, streaming or a whole stream in one call.
 *
 *   #include <auspool/raesampler.h>
 *   #include <stdio.h>
 *
 *   // raw interleaved stereo floats from 48000 to 44100 Hz
 *   int main(void) {
 *     static float in[2 * 1024], out[2 * 1024];
 *     float *const to[2] = {out, out + 1};
 *     raesampler *r = raesampler_create(RaesamplerQualityHigh, 2, NULL, 0, 48000.0, 44100.0, 0.0);
 *     if (!r) return 1;
 *     int32_t frames;
 *     while ((frames = (int32_t)fread(in, 2 * sizeof *in, 1024, stdin)) > 0) {
 *       for (int32_t done = 0; done < frames;) {
 *         const float *const from[2] = {in + 2 * done, in + 2 * done + 1};
 *         int32_t used = frames - done;
 *         const int32_t made = raesampler_resample(r, from, 2, to, 2, &used, 1024);
 *         fwrite(out, 2 * sizeof *out, (size_t)made, stdout);
 *         done += used;
 *       }
 *     }
 *     // and at the end raesampler_padding(r) frames of silence in the same way
 *     raesampler_destroy(r);
 *     return 0;
 *   }
 *
 * A raesampler converts from one fixed rate to another through a chain of filter stages that it
 * plans when it is created. It keeps a state for every channel, so a stream may be fed in blocks of
 * any size, and the output does not depend on how the stream was cut.
 *
 * Conventions
 * - Every count is of samples for each channel, which is frames. Strides are in samples: 1 for a
 *   channel that lies by itself, the number of channels for one inside interleaved audio.
 * - Channels are given as arrays of pointers, one for each channel, that the raesampler reads
 *   during the call and keeps no longer. Input and output must not overlap.
 * - Rates are in Hz and need not be whole numbers.
 * - One thread at a time uses a raesampler. raesampler_resample, raesampler_resampleD, the counts,
 *   raesampler_reset, raesampler_preroll and raesampler_set_drift_ratio take no lock and make no
 *   system call; they allocate nothing unless raesampler_resample meets a burst of output larger
 *   than any that it made room for when it was created. They are fit for a real-time thread.
 * - The output is aligned with the input to within about one sample of the lower rate: the filters'
 *   delay is taken out at the start of the stream, and comes back as padding at its end. Two flags
 *   differ: with RAESAMPLER_FLAG_LOW_LATENCY a part of it stays in where filters are longer than a
 *   block, and with RAESAMPLER_FLAG_MINIMUM_PHASE it depends on the frequency.
 */
#ifndef AUSPOOL_RAESAMPLER_H
#define AUSPOOL_RAESAMPLER_H

#include <auspool/types.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct raesampler raesampler;

/* Quality: the low four bits of the flags. It decides how much of the lower rate's band stays flat,
 * how far images and aliases are kept down, and the precision inside. 5 to 15 are refused. */
enum {
  RaesamplerQualityRealTime = 0,  /* 85 % of the band, 60 dB, 32-bit, no block latency */
  RaesamplerQualityNormal = 1,    /* 92.5 %, 100 dB, 32-bit */
  RaesamplerQualityHigh = 2,      /* 98 %, 160 dB by design, 32-bit */
  RaesamplerQualityVeryHigh = 3,  /* 99 %, 180 dB, 64-bit */
  RaesamplerQualityUltraHigh = 4, /* 99.5 %, 200 dB, 64-bit */
  RAESAMPLER_QUALITY_MASK = 0xf
};

/* Flags, combined with the quality by |. */
enum {
  RAESAMPLER_FLAG_DRIFT = 0x100,         /* a drift correction stage in front: raesampler_set_drift_ratio */
  RAESAMPLER_FLAG_SDM = 0x200,           /* block transforms where no ready chain serves the rates; below */
  RAESAMPLER_FLAG_MINIMUM_PHASE = 0x400, /* minimum-phase filters: no ringing ahead of a transient */
  RAESAMPLER_FLAG_LOW_LATENCY = 0x800    /* long filters in small partitions instead of large blocks */
};

/* RAESAMPLER_FLAG_SDM is for very high rates going down, such as 2822400 to 44100 Hz: the chain multiplies
 * blocks of samples by matrices instead of filtering. It is planned the same at every quality, which
 * decides the precision alone.
 * - It serves whole-number rates, the input's above the output's: each whole ratio from 2 to 256, and from
 *   the multiples of 44100 and 48000 Hz up to 3072000 to 44100, 48000, 88200 and 96000. Null for other
 *   rates, and for ratios whose matrix would have more than 100000 entries, such as 64000 to 44100.
 * - Ratios that the tables of ready chains have are converted by those, as without the flag;
 *   generate_sdm_resampler_structure of raesampler_planning.h plans them all the same.
 * - Tones keep their level to within 0.001 dB up to 99.5 % of the output's band, and aliases lie below
 *   -160 dB in 64-bit precision.
 * - The last stage works in blocks of 6386 output samples: what goes in comes out up to 11400 of them
 *   later. The delay itself is taken out, to within a sample of the output.
 * - A process designs each matrix once, when it is first asked for, and keeps it, at most 1.6 MB each:
 *   between the rates above in up to a second and 50 MB. Long blocks take more of both: ratios of two large
 *   numbers, up to 4 seconds and 3 GB. Other creations that need a matrix wait meanwhile, later ones find it
 *   there.
 * - A rate_tolerance only helps rates that have no plan at all. */

/* Plans and builds a chain.
 *
 * channels: 1 to 1024. Each rate must be above 0 and at most 256 times the other.
 * actual_ratio: null, or where the ratio output / input that the chain really has is written; it
 *   differs from the one asked for by less than rate_tolerance.
 * latency_microseconds: with RAESAMPLER_FLAG_LOW_LATENCY the block that long filters work in.
 *   Without that flag the value 1 stands for RAESAMPLER_FLAG_DRIFT, and others mean nothing.
 * rate_tolerance: 0 for the exact ratio; above 0 a ratio of small numbers within that distance may
 *   stand for it, which makes chains shorter.
 *
 * Equal rates without drift give a raesampler that copies. Filters are designed here, with
 * allocations: microseconds for the short ones of RaesamplerQualityRealTime, milliseconds for long
 * ones. A ratio of two large numbers, 44100 to 44101, costs up to a second and hundreds of
 * megabytes at high qualities; rate_tolerance avoids that.
 * Null for an argument out of range, for rates that no chain is known for, and when memory is short.
 */
AUSPOOL_API raesampler *raesampler_create(int32_t flags, int32_t channels, double *actual_ratio,
                                          int32_t latency_microseconds, double input_rate, double output_rate,
                                          double rate_tolerance);

/* Releases it. Null is allowed. */
AUSPOOL_API void raesampler_destroy(raesampler *r);

/* Forgets the stream and gets ready for another; a drift ratio stays. After raesampler_reset, as
 * after creation, the filters' delay is taken out: the first output samples wait for it, and line up
 * with the first input samples. After raesampler_preroll output starts at once, with the delay in
 * it, as if silence had come before. */
AUSPOOL_API void raesampler_reset(raesampler *r);
AUSPOOL_API void raesampler_preroll(raesampler *r);

/* How many zeroes to feed behind the last input sample so that what the filters hold comes out.
 *
 * It is what the stages ask for, and with some chains it falls short: by one output sample for
 * rational stages of odd taps with an even factor (a dozen for very large factors), by more with
 * RAESAMPLER_FLAG_SDM and with partitioned filters. A host that needs every sample feeds zeroes
 * until lround(input samples * ratio) samples are out. 0 for a raesampler that copies. */
AUSPOOL_API int32_t raesampler_padding(const raesampler *r);

/* How many output samples the next call gives for `input_count` input samples and no limit. It never
 * gives more. It gives less, and the rest later, only where long filters that go down in rate work in
 * blocks (qualities 1 to 4), as one of them may count a block before its input is complete, and with
 * RAESAMPLER_FLAG_SDM, where the count is up to twice what comes. */
AUSPOOL_API int32_t raesampler_output_samples(const raesampler *r, int32_t input_count);

/* How many input samples the next call needs to give `output_count` samples. 0 where so many are
 * waiting already. With RAESAMPLER_FLAG_SDM it may be half of what it takes: ask again until they are out. */
AUSPOOL_API int32_t raesampler_input_samples(const raesampler *r, int32_t output_count);

/* Converts the next samples of the stream.
 *
 * in, in_stride: *input_count samples of each channel.
 * out, out_stride: where the output goes. Room for max_output samples, or with max_output 0, which
 *   is no limit, for raesampler_output_samples(r, *input_count).
 * *input_count: on return how many samples were consumed. With a limit, input may be left: feed it
 *   again. Output that belongs to consumed input and found no room is kept and comes first at the
 *   next call.
 *
 * Returns the samples written to each channel. Counts below 0 are nothing. Where memory runs out in
 * the middle of a burst, fewer samples are consumed and written. */
AUSPOOL_API int32_t raesampler_resample(raesampler *r, const float *const *in, int32_t in_stride, float *const *out,
                                        int32_t out_stride, int32_t *input_count, int32_t max_output);

/* The same on 64-bit samples. Only for RaesamplerQualityVeryHigh and RaesamplerQualityUltraHigh: with
 * others *input_count becomes 0 and nothing is written. */
AUSPOOL_API int32_t raesampler_resampleD(raesampler *r, const double *const *in, int32_t in_stride, double *const *out,
                                         int32_t out_stride, int32_t *input_count, int32_t max_output);

/* Multiplies the chain's ratio by `ratio`, from the next input sample on. For clocks that drift: call
 * it with ratios near 1.0 as often as you like, between blocks. Exactly 1.0 turns the drift stage
 * into a plain delay once its position is whole.
 * Returns 0, and changes nothing, below 0.5 and above 1.5; otherwise 1, also where the chain has no
 * drift stage to tell. */
AUSPOOL_API int32_t raesampler_set_drift_ratio(raesampler *r, double ratio);

/* What raesampler_single_shot reads from and writes to. Both work on at most the given samples for
 * each channel, in arrays of io_sample_size bytes a sample, which belong to the raesampler and are
 * worth nothing after the call. read returns how many samples it gave, 0 at the end of the stream,
 * and a negative number to give up. Both are called on the caller's thread. */
typedef int32_t (*raesampler_read)(void *user, void *const *channels, int32_t max_samples);
typedef void (*raesampler_write)(void *user, const void *const *channels, int32_t samples);

/* What raesampler_single_shot returns besides 0 and -1. */
enum {
  RAESAMPLER_NO_STRUCTURE = 0x73747263, /* "strc": no chain for these rates, quality and flags */
  RAESAMPLER_NO_STAGE = 0x73746167      /* "stag": a stage could not be built */
};

struct precomputed_structure; /* <auspool/raesampler_stages.h> */

/* Converts a whole stream: calls read until it returns 0, converts, and calls write, so that the
 * stream's length times the ratio, rounded, is what was written.
 *
 * flags: as for raesampler_create; RAESAMPLER_FLAG_DRIFT and RAESAMPLER_FLAG_LOW_LATENCY mean nothing.
 * channels: 1 to 0x100000.
 * io_sample_size: 4 or 8 bytes a sample; 8 only for RaesamplerQualityVeryHigh and above.
 * precomputed: null, or a chain to use instead of a planned one.
 * threads: how many may work at once. From as many as there are channels on, each channel but the
 *   first gets a thread; whether they are used is measured while the stream runs. The output does
 *   not depend on it. No thread is left when the call returns.
 *
 * Blocks hold 0x100000 samples divided by the channels. Returns 0 when the stream was converted to
 * its end. RAESAMPLER_NO_STRUCTURE also for rates and a quality that do not exist; -1 for other
 * arguments out of range, when read gave up or the stream had no sample, and when memory is short.
 * With equal rates the blocks are passed on as they are, and a stream without a sample is 0. */
AUSPOOL_API int32_t raesampler_single_shot(int32_t flags, int32_t channels, int32_t io_sample_size,
                                           double *actual_ratio, void *user, raesampler_read read,
                                           raesampler_write write, const struct precomputed_structure *precomputed,
                                           int32_t threads, double input_rate, double output_rate,
                                           double rate_tolerance);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_RAESAMPLER_H */
