/* The parts that sample-rate conversion is made of, for hosts that plan their own chains.
 *
 *   #include <auspool/filter_design.h>
 *   #include <auspool/raesampler.h>
 *   #include <auspool/raesampler_stages.h>
 *   #include <stdio.h>
 *
 *   // half the rate through one decimator of 99 taps
 *   int main(void) {
 *     resampler_structure chain = {0};
 *     const stage_spec half = {.type = RAESAMPLER_STAGE_DECIMATOR, .up = 1, .down = 2, .length = 99, .ratio = 0.5,
 *                              .gain = 1.0, .cutoff = 0.4625, .window = AU_WINDOW_KAISER, .kaiser_beta = 5.6533};
 *     chain.stages[chain.count++] = half;
 *     raesampler *r = raesampler_create_from_structure(RaesamplerQualityRealTime, 1, 0, &chain, 48000.0);
 *     if (!r) return 1;
 *     printf("1000 samples give %d\n", raesampler_output_samples(r, 1000));
 *     raesampler_destroy(r);
 *     return 0;
 *   }
 *
 * Conventions
 * - A chain is a row of at most RAESAMPLER_MAX_STAGES stages; each converts by `up / down` and hands
 *   its output to the next. Its samples are all of one size: 4 bytes (float) or 8 (double).
 * - Band edges are fractions of the Nyquist frequency of the rate at which a filter runs, which is
 *   the stage's input rate times `up`: 1.0 is that Nyquist.
 * - A stage keeps a state for each channel; filters and tables are shared by its channels and only
 *   read. Different threads may run different channels of a stage at once, each with a `work` of its
 *   own (alloc_workbuffer). One state has one user at a time.
 * - Counts are of samples of one channel, strides are in samples.
 * - Builders design filters and allocate. What a built stage does while it runs allocates nothing,
 *   takes no lock and makes no system call.
 */
#ifndef AUSPOOL_RAESAMPLER_STAGES_H
#define AUSPOOL_RAESAMPLER_STAGES_H

#include <auspool/raesampler.h>

#ifdef __cplusplus
extern "C" {
#endif

enum { RAESAMPLER_MAX_STAGES = 33 };

/* Stage kinds. */
enum {
  RAESAMPLER_STAGE_DECIMATOR = 0,        /* direct filter, `up` 1 */
  RAESAMPLER_STAGE_FILTER = 1,           /* direct filter, `up` and `down` 1 */
  RAESAMPLER_STAGE_RATIONAL = 2,         /* polyphase, any `up / down` */
  RAESAMPLER_STAGE_INTERPOLATOR = 3,     /* polyphase, `down` 1 */
  RAESAMPLER_STAGE_SINC = 4,             /* any real `ratio`, also one that changes */
  RAESAMPLER_STAGE_FFT_DECIMATOR = 5,    /* as 0, by fast convolution */
  RAESAMPLER_STAGE_FFT_FILTER = 6,       /* as 1, by fast convolution */
  RAESAMPLER_STAGE_FFT_INTERPOLATOR = 7, /* as 3, by fast convolution */
  RAESAMPLER_STAGE_SDM = 8,              /* block transform to a complex signal of a lower rate */
  RAESAMPLER_STAGE_COMPLEX_TO_REAL = 9   /* back to a real signal */
};

/* What a stage is built from. */
typedef struct stage_spec {
  uint32_t type;
  int32_t up;
  int32_t down;
  int32_t length;         /* taps of the filter at `up` times the input rate; of a sinc stage: taps per output, odd */
  uint32_t minimum_phase; /* 1 for a minimum-phase filter */
  int32_t block_size;     /* SDM stages: input block */
  int32_t transform_size; /* SDM stages: output block */
  uint32_t complex_input; /* SDM stages: the input is complex */
  double ratio;           /* output samples for each input sample: `up / down` */
  double gain;            /* gain of the filter, as a rule `up` */
  double cutoff;          /* of the low-pass, -6 dB */
  uint32_t window;        /* AU_WINDOW_* of filter_design.h */
  double kaiser_beta;
  double pass_edge; /* what the design aims at; builders use `cutoff` */
  double stop_edge;
} stage_spec;

/* A chain's description. `cost` and `memory` are the planner's estimates; building needs neither. */
typedef struct resampler_structure {
  int32_t count;
  double cost;
  double memory;
  stage_spec stages[RAESAMPLER_MAX_STAGES];
} resampler_structure;

/* A stage as it stands in a table of ready chains. Its window is Kaiser's, its cut-off lies in the
 * middle of the two edges, and its phase is linear. */
typedef struct precomputed_stage {
  uint32_t type;
  int32_t up;
  int32_t down;
  double gain;
  double ratio;
  double pass_edge;
  double stop_edge;
  double kaiser_beta;
  int32_t length;
} precomputed_stage;

/* A ready chain; what raesampler_single_shot takes. */
typedef struct precomputed_structure {
  int32_t count;
  precomputed_stage stages[3];
} precomputed_structure;

/* A stage that stands: its operations, what its channels share, and a state for each channel. To
 * release one: free_shared(shared) and free_workbuffer(work) where these are set, destroy(state) for
 * each state, free(states). */
typedef struct raesampler_stage {
  /* Frees one channel's state. */
  void (*destroy)(void *state);
  /* Empties the state. `preroll` 0 takes the filter's delay out of the output; 1 leaves it in, and
   * output starts at once. */
  void (*reset)(void *state, int32_t preroll);
  /* Zeroes to feed behind the last sample so that the stage's tail comes out. */
  int32_t (*padding)(const void *state);
  /* `upper_bound` 0: what process would give now for `input_count` samples; a decimator by fast
   * convolution may count a block that comes later. 1: a bound that holds in any state. The sinc stage
   * may give one sample more than either. */
  int32_t (*output_samples)(const void *state, int32_t input_count, int32_t upper_bound);
  /* Samples needed now to get `output_count` of them. */
  int32_t (*input_samples)(const void *state, int32_t output_count);
  /* Consumes all `count` samples and returns how many were written: `out` needs room for one more
   * than output_samples promises where set_drift_ratio is set. `in` and `out` must not overlap.
   * After a block that ended between two distant windows, input_samples(1) exceeds the taps of an
   * output: feed what it exceeds them by in a call of its own, which only counts those samples; a
   * longer block would use its first samples instead of its last. Chains do so. */
  int32_t (*process)(void *state, const void *shared, void *work, const void *in, int32_t in_stride, void *out,
                     int32_t out_stride, int32_t count, int32_t threads);
  /* Null but for the sinc stage: the ratio from the next sample on, 1 / 65536 to 65536. Others are
   * ignored. */
  void (*set_drift_ratio)(void *state, double ratio);
  /* Frees `shared`; null where there is none. */
  void (*free_shared)(void *shared);
  /* Makes another `work`, for another thread; null where none is needed. Null result: memory is short. */
  void *(*alloc_workbuffer)(const void *state);
  void (*free_workbuffer)(void *work);
  void *shared;
  void *work;
  int32_t needs_unit_stride; /* 1: process accepts an `in_stride` of 1 alone */
  void **states;             /* one for each channel */
} raesampler_stage;

/* Builders. `sample_size` is 4 or 8, `channels` at least 1. They return 0 and fill `*stage`, or return
 * -1 and leave `*stage` as it was: for a spec that makes no filter, and when memory is short.
 *
 * create_converter_stage picks the builder by `spec->type`. `threads` and `low_latency_block` are for
 * stages by fast convolution: how many threads may share a block, and, where it is not 0, the size in
 * samples of the partitions to use instead of large blocks. */
AUSPOOL_API int32_t create_converter_stage(int32_t sample_size, raesampler_stage *stage, const stage_spec *spec,
                                           int32_t channels, int32_t threads, int32_t low_latency_block);
AUSPOOL_API int32_t create_polyphase_decimator_stage(int32_t sample_size, raesampler_stage *stage,
                                                     const stage_spec *spec, int32_t channels);
AUSPOOL_API int32_t create_polyphase_resampler_stage(int32_t sample_size, raesampler_stage *stage,
                                                     const stage_spec *spec, int32_t channels);
AUSPOOL_API int32_t create_sinc_resampler_stage(int32_t sample_size, raesampler_stage *stage, const stage_spec *spec,
                                                int32_t channels);

/* Types 5 to 7, which work in blocks, in double whatever the sample size. `up` or `down` must be 1.
 *
 * The first works in blocks made for the filter's length, its latency. `threads`, up to 64, may share the samples of
 * one call of process; those above 1 cost that much memory, wait by polling, and are not for the audio thread.
 * The second cuts the filter into partitions of the largest power of two up to `latency_samples`, 64 at least. More
 * than that and one block of delay is not taken out of its output: with a longer filter the rest stays in. */
AUSPOOL_API int32_t create_fft_polyphase_stage(int32_t sample_size, raesampler_stage *stage, const stage_spec *spec,
                                               int32_t channels, int32_t threads);
AUSPOOL_API int32_t create_up_fft_polyphase_stage(int32_t sample_size, raesampler_stage *stage, const stage_spec *spec,
                                                  int32_t channels, int32_t latency_samples);

/* Types 8 and 9, and 9 in its direct form, which no plan uses: conversion down by block transforms, through complex
 * signals. A run of c complex samples is 2 * c values, c real parts and then c imaginary parts; all counts are of
 * values. Such a run must reach the next stage whole, in one call of process.
 *
 * The first turns blocks of `block_size` samples, real or with `complex_input` complex, into `transform_size` complex
 * ones that overlap by half: the rate falls by transform_size / (2 * block_size), and may not rise. `transform_size` is
 * even, and times `block_size` at most 100000. What comes out has the input's spectrum from 0 to half the new rate, and
 * in its negative half whatever suits. Its matrix is designed when a pair of sizes is first asked for, in up to a
 * second and 50 MB for blocks of up to 320, in up to 4 seconds and 3 GB for one of 50000, and kept for the life of the
 * process; other threads that ask for one wait. The others turn a complex signal
 * into its real one at the same rate. The negative half cancels, but for the edges of the band, which take a Hilbert
 * transformer of `length` taps: at 10001 of them and a `kaiser_beta` of 21 they are 0.0014 of the rate wide. */
AUSPOOL_API int32_t create_sdm_downsampler_stage(int32_t sample_size, raesampler_stage *stage, const stage_spec *spec,
                                                 int32_t channels);
AUSPOOL_API int32_t create_c2r_fft_converter_stage(int32_t sample_size, raesampler_stage *stage, const stage_spec *spec,
                                                   int32_t channels);
AUSPOOL_API int32_t create_c2r_converter_stage(int32_t sample_size, raesampler_stage *stage, const stage_spec *spec,
                                               int32_t channels);

/* Puts a sinc stage of ratio 1.0, as `quality` wants it, in front of the others. Returns 0, or -1 and
 * changes nothing if there is no such quality or no room. `cost` stays as it is. */
AUSPOOL_API int32_t add_drift_correction_stage(int32_t quality, resampler_structure *structure);

/* raesampler_create for a chain of the host's own. `flags`, `channels` and `latency_microseconds` are
 * as there; `input_rate` matters to RAESAMPLER_FLAG_LOW_LATENCY alone. A structure without stages makes
 * a raesampler that copies, unless drift correction is asked for. `structure` must not be null. Returns
 * null for a structure that cannot be built. */
AUSPOOL_API raesampler *raesampler_create_from_structure(int32_t flags, int32_t channels, int32_t latency_microseconds,
                                                         const resampler_structure *structure, double input_rate);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_RAESAMPLER_STAGES_H */
