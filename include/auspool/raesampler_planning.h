/* How a chain of sample-rate conversion is chosen, for hosts that want to look at it or plan ahead.
 *
 * Ready chains for the common ratios stand in tables, one a quality; everything else goes through a generator that
 * builds candidates, prices them with a cost model and keeps the cheapest. Both fill a resampler_structure, from which
 * raesampler_create_from_structure makes a chain.
 *
 *   #include <auspool/raesampler_planning.h>
 *   #include <stdio.h>
 *
 *   int main(void) {
 *     resampler_structure chain = {0};
 *     double ratio = 0;
 *     if (generate_resampler_structure(RaesamplerQualityHigh, &ratio, 0, 0, &chain, 44100, 48000, 0) < 0) return 1;
 *     for (int i = 0; i < chain.count; ++i)
 *       printf("kind %u, %d/%d, %d taps\n", chain.stages[i].type, chain.stages[i].up, chain.stages[i].down,
 *              chain.stages[i].length);
 *     return 0;
 *   }
 *
 * Conventions
 * - Rates are in Hz and above 0; a ratio is output rate over input rate. Qualities are those of raesampler.h, 0 to 4.
 * - A cost counts multiply-adds per input sample, a memory counts samples. They are a model: chains are compared by it,
 *   so it stays as it is even where a stage has become cheaper.
 * - All functions are pure and may run on any thread. The look-ups allocate nothing and fit a real-time thread; the
 *   generators allocate and search.
 */
#ifndef AUSPOOL_RAESAMPLER_PLANNING_H
#define AUSPOOL_RAESAMPLER_PLANNING_H

#include <auspool/raesampler_stages.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What a quality asks of its filters. */
typedef struct quality_parameters {
  double pass_ripple; /* as amplitudes: 0.001 is 60 dB */
  double stop_ripple;
  double pass_fraction; /* the share of the lower rate's band that stays flat */
  uint32_t window;      /* always Kaiser's */
  int32_t sinc_taps;    /* of a sinc stage */
} quality_parameters;

/* A row of a table of ready chains: its key is the reduced ratio `up / down`. */
typedef struct precomputed_chain {
  int32_t up;
  int32_t down;
  precomputed_structure structure;
} precomputed_chain;

/* The parameters and the tables by quality. Rows ascend by `up`, then by `down`. */
extern AUSPOOL_API const quality_parameters quality_parameters_map[5];
extern AUSPOOL_API const precomputed_chain RaesamplerQualityRealTimeChains[74];
extern AUSPOOL_API const precomputed_chain RaesamplerQualityNormalChains[58];
extern AUSPOOL_API const precomputed_chain RaesamplerQualityHighChains[58];
extern AUSPOOL_API const precomputed_chain RaesamplerQualityVeryHighChains[58];
extern AUSPOOL_API const precomputed_chain RaesamplerQualityUltraHighChains[58];

/* The ready chain of a reduced ratio, or null if there is none or no such quality. */
AUSPOOL_API const precomputed_structure *find_chain(int32_t quality, int32_t up, int32_t down);

/* Fills `structure` from the tables; `cost` and `memory` stay as they are. Rates that are whole numbers are looked up
 * exactly. Otherwise, with `rate_tolerance` above 0, the simplest fraction that is nearer to the ratio than the
 * tolerance is. `actual_ratio`, which may be null, gets the ratio that the chain has.
 * Returns the number of stages, or -1 if the tables have no such chain; nothing has been written then. */
AUSPOOL_API int32_t get_precomputed_structure(int32_t quality, double *actual_ratio, resampler_structure *structure,
                                              double input_rate, double output_rate, double rate_tolerance);

/* Plans a chain. With `rate_tolerance` above 0 the ratio may be rounded as above where that makes a cheaper chain.
 * `drift` not 0 puts a drift correction stage in front; `sdm` not 0 asks for a chain of block transforms.
 * Returns the number of stages; 0 where the rates are equal and there is nothing to do; -1 if there is no chain. */
AUSPOOL_API int32_t generate_resampler_structure(int32_t quality, double *actual_ratio, uint32_t drift, uint32_t sdm,
                                                 resampler_structure *structure, double input_rate, double output_rate,
                                                 double rate_tolerance);

/* The same for exactly these rates. Returns 0 stages for equal rates without drift. */
AUSPOOL_API int32_t generate_resampler_structure2(int32_t quality, uint32_t drift, uint32_t sdm,
                                                  resampler_structure *structure, double input_rate,
                                                  double output_rate);

/* A chain of block transforms, the same at every quality: for whole-number rates going down. `cost` and `memory` become
 * 0. Returns the number of stages, or -1, with none in `structure`, for other rates and for ratios whose numbers are
 * beyond it. Whether the stages can be built is another matter: a ratio of two large numbers needs a matrix that is
 * refused. */
AUSPOOL_API int32_t generate_sdm_resampler_structure(resampler_structure *structure, double input_rate,
                                                     double output_rate);

/* The cost of a stage per sample of its own input, and of a chain per sample of the chain's input. `memory` may be
 * null. A filter that cannot be made costs infinity. */
AUSPOOL_API double estimate_stage_cost(const stage_spec *stage, double *memory);
AUSPOOL_API double estimate_structure_cost(const resampler_structure *structure, double *memory);

/* Replaces direct filters by fast convolution where that is cheaper, except at quality 0, which has no block latency.
 * Returns the structure's cost. */
AUSPOOL_API double optimize_structure(int32_t quality, resampler_structure *structure);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_RAESAMPLER_PLANNING_H */
