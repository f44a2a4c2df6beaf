/* Silence meter: says of each block of stereo audio whether it is silent, and for how long it has been.
 *
 *   #include <auspool/smeter.h>
 *   #include <stdio.h>
 *
 *   int main(void) {
 *     float block[2 * 480] = {0};
 *     smeter *meter = smeter_create();
 *     if (!meter) return 1;
 *     smeter_set_rms_threshold(meter, -60.0f);
 *     for (int i = 0; i < 1000; ++i) {
 *       if (!smeter_process_i2ch(meter, block, 480, 48000.0f) && smeter_silence_time(meter) >= 5.0f) {
 *         printf("five seconds of silence after block %d\n", i);
 *         break;
 *       }
 *     }
 *     smeter_destroy(meter);
 *     return 0;
 *   }
 *
 * Conventions
 * - A block is silent if the root mean square of each of its two channels is below the threshold. A
 *   level equal to the threshold is audio, and one loud channel makes the whole block audio. A block of 0
 *   frames is audio, and so is one that holds a NaN.
 * - Levels are in dB of full scale: 0 dB is an RMS of 1.0. The default threshold is -120 dB.
 * - One user at a time. All operations but smeter_create and smeter_destroy are safe on a real-time
 *   thread. A meter passed to them must not be null.
 */
#ifndef AUSPOOL_SMETER_H
#define AUSPOOL_SMETER_H

#include <auspool/types.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct smeter smeter;

/* Makes a meter with the default threshold and no silence so far. Returns null if memory ran out. */
AUSPOOL_API smeter *smeter_create(void);

/* Releases the meter. Accepts null. */
AUSPOOL_API void smeter_destroy(smeter *meter);

/* Forgets the silence so far and the last block. The threshold stays. */
AUSPOOL_API void smeter_reset(smeter *meter);

/* Sets the threshold in dB. A lower threshold than before sets the silence time to 0, since what was
 * silent may not be so any more; a higher one keeps it. */
AUSPOOL_API void smeter_set_rms_threshold(smeter *meter, float db);

/* The threshold in dB. */
AUSPOOL_API float smeter_rms_threshold(const smeter *meter);

/* Takes a block of `frames` interleaved stereo frames at `sample_rate` Hz. Returns 1 for audio, 0 for
 * silence. Counts below 0 are as 0. The order in which squares are summed is not promised. */
AUSPOOL_API int32_t smeter_process_i2ch(smeter *meter, const float *interleaved, int32_t frames, float sample_rate);

/* The same for two channels in buffers of their own. */
AUSPOOL_API int32_t smeter_process_ni2ch(smeter *meter, const float *const channel_pointers[2], int32_t frames,
                                         float sample_rate);

/* Seconds of unbroken silence up to the end of the last block. */
AUSPOOL_API float smeter_silence_time(const smeter *meter);

/* 1 if the last block held audio, else 0. */
AUSPOOL_API int32_t smeter_has_audio_signal(const smeter *meter);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_SMETER_H */
