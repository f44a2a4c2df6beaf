/* Rate follower: makes audio of one sample rate fit another, block by block, cheaply. The rates may
 * differ slightly or wholly, and may change with every block.
 *
 *   #include <auspool/ausampler.h>
 *   #include <stdio.h>
 *
 *   int main(void) {
 *     static float source[2 * 512], destination[2 * 512];
 *     ausampler *sampler = ausampler_create(2);
 *     if (!sampler) return 1;
 *     // pull: so many frames are wanted; ask what they take, provide it, convert
 *     uint32_t needed = ausampler_read_frames_in(sampler, 256, 44100.0, 48000.0);
 *     ausampler_read_interleaved(sampler, source, destination, 256, 44100.0, 48000.0);
 *     // or push: so many frames are there; ask what they give, make room, convert
 *     uint32_t given = ausampler_write_frames_out(sampler, 256, 44100.0, 48000.0);
 *     ausampler_write_interleaved(sampler, source, destination, 256, 44100.0, 48000.0);
 *     printf("%u frames make 256, then 256 make %u\n", needed, given);
 *     ausampler_destroy(sampler);
 *     return 0;
 *   }
 *
 * Conventions
 * - The converter interpolates with the third-order Lagrange polynomial through four frames, in single
 *   precision, and delays by two input frames. Where the input rate is below 0.95 of the output rate, a
 *   second-order low-pass removes the worst of the images. Going down there is no filter against
 *   aliases: what lies above half the output rate must be filtered out before.
 * - A pull or push works its count out again from the same state: between the question and the
 *   conversion no other call on the sampler may lie, and rates and frames must be the same.
 * - Counts are frames per channel. Rates are in Hz, finite and above 0; other rates give unspecified
 *   samples and counts of up to UINT32_MAX, but the sampler stays safe, and usable with good rates.
 * - Source and destination must not overlap.
 * - One user at a time. All operations but ausampler_create and ausampler_destroy are safe on a
 *   real-time thread. A sampler passed to them must not be null.
 */
#ifndef AUSPOOL_AUSAMPLER_H
#define AUSPOOL_AUSAMPLER_H

#include <auspool/types.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct ausampler ausampler;

/* One channel of a block whose samples lie `stride` bytes apart, a multiple of 4. */
typedef struct ausampler_iovec {
  float *data;
  uint32_t stride;
} ausampler_iovec;

/* Makes a sampler. Returns null if memory ran out. */
AUSPOOL_API ausampler *ausampler_create(uint32_t channels);

/* Forgets all audio, as after ausampler_create. */
AUSPOOL_API void ausampler_reset(ausampler *sampler);

/* Releases the sampler. Accepts null. */
AUSPOOL_API void ausampler_destroy(ausampler *sampler);

/* How many input frames the next pull of `frames_out` frames takes: `frames_out` for equal rates. */
AUSPOOL_API uint32_t ausampler_read_frames_in(const ausampler *sampler, uint32_t frames_out, double rate_in,
                                              double rate_out);

/* How many output frames a push of `frames_in` frames gives: `frames_in` for equal rates. */
AUSPOOL_API uint32_t ausampler_write_frames_out(const ausampler *sampler, uint32_t frames_in, double rate_in,
                                                double rate_out);

/* Pull: takes as many source frames as ausampler_read_frames_in says and gives `frames_out` frames. The
 * return value is `frames_out`. The members differ in how the channels lie: */

/* interleaved frames of all channels, */
AUSPOOL_API uint32_t ausampler_read_interleaved(ausampler *sampler, const float *source, float *destination,
                                                uint32_t frames_out, double rate_in, double rate_out);

/* a buffer for each channel, */
AUSPOOL_API uint32_t ausampler_read_noninterleaved(ausampler *sampler, const float *const *source,
                                                   float *const *destination, uint32_t frames_out, double rate_in,
                                                   double rate_out);

/* or a buffer and a stride for each channel, separately for source and destination. */
AUSPOOL_API uint32_t ausampler_read_iovec(ausampler *sampler, const ausampler_iovec *source,
                                          const ausampler_iovec *destination, uint32_t frames_out, double rate_in,
                                          double rate_out);

/* Push: takes all `frames_in` source frames and gives as many as ausampler_write_frames_out says,
 * possibly none. The return value is `frames_in`. */
AUSPOOL_API uint32_t ausampler_write_interleaved(ausampler *sampler, const float *source, float *destination,
                                                 uint32_t frames_in, double rate_in, double rate_out);
AUSPOOL_API uint32_t ausampler_write_noninterleaved(ausampler *sampler, const float *const *source,
                                                    float *const *destination, uint32_t frames_in, double rate_in,
                                                    double rate_out);
AUSPOOL_API uint32_t ausampler_write_iovec(ausampler *sampler, const ausampler_iovec *source,
                                           const ausampler_iovec *destination, uint32_t frames_in, double rate_in,
                                           double rate_out);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_AUSAMPLER_H */
