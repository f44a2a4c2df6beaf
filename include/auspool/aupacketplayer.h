/* Plays audio that arrives as packets with timestamps, each at its time by the host's clock.
 *
 * Producers hand over packets as they come, in any order. The player sorts them, waits for the first one's time, plays
 * them back to back, fills what is missing with silence and drops what is too late. All the while a small controller
 * changes the resampling rate by tiny amounts, so that the drift between the packets' clock and the output's never adds
 * up. The output is whatever calls aupacketplayer_get_frames.
 *
 *   #include <auspool/auclock.h>
 *   #include <auspool/aupacketplayer.h>
 *   #include <stdio.h>
 *
 *   int main(void) {
 *     static float packet[2 * 441], block[2 * 512];
 *     aupacketplayer *player = aupacketplayer_create(256, NULL, NULL, 44100.0f);
 *     if (!player) return 1;
 *     aupacketplayer_start(player);
 *     double due = au_now() + 0.1;
 *     for (int i = 0; i < 20; ++i) aupacketplayer_play(player, packet, 441, due + i * 0.01);  // a producer
 *     aupacketplayer_get_frames(player, block, 512, 48000.0f);                                // the output
 *     printf("off by %g s\n", aupacketplayer_get_status(player).offset);
 *     aupacketplayer_destroy(player);
 *     return 0;
 *   }
 *
 * Conventions
 * - Audio is interleaved stereo, left first. Times are seconds on the clock of au_now (auclock.h). Rates are in Hz,
 *   finite and above 0; for an output rate a thousand times off there is silence.
 * - Threads. aupacketplayer_play and aupacketplayer_flush are for any thread that is not a real-time thread.
 *   aupacketplayer_get_frames is for one thread, which may be a real-time thread. aupacketplayer_get_status and the
 *   three settings are for any thread. All else is for the control thread; aupacketplayer_set_callbacks,
 *   aupacketplayer_set_auplayer_callbacks and aupacketplayer_destroy want nobody in aupacketplayer_get_frames but an
 *   output that the `destroy` of its callbacks ends.
 * - A player passed to these functions must not be null; aupacketplayer_destroy alone accepts null.
 *
 * What the host has to see to
 * - Lead. A packet must be queued before its time comes; what comes later is dropped, and silence takes its place. Give
 *   timestamps that lie ahead by more than the network ever delays.
 * - Capacity. The player holds as many packets as it was created for, and silently drops more: of those that were
 *   queued since the output last asked, the oldest. Twice the packets of the lead is a good size.
 * - Long packets. A packet of more than 81920 frames ends the process.
 * - Timestamps are finite and above 0, and rise: another packet is dropped, and so is one that is not later than the
 * last one started is dropped, also after a flush. A packet far in the future, once played, therefore silences all that
 * is due before it.
 * - Stability. The controller takes one step a call. With B output frames a call and P frames a packet at rate R it
 *   settles as long as P < (0.2 + 12 B / R) * B * B / 5.09; the factor is that of 44.1 kHz. There that is
 *
 *     frames a call       64     128     256     512
 *     frames a packet    175     756   3,470  17,500
 *
 *   Beyond it the position swings by 40 to 100 ms, and audio is thrown away. Ask in blocks of 512 frames, or send short
 *   packets. What settles does so within minutes: 150 s at a drift of 500 ppm, 325 s at 3000 ppm, for 441 and 512.
 * - Jitter of timestamps. Between packets whose timestamps leave a gap of more than 300 frames, 6.8 ms at 44.1 kHz, the
 *   player inserts silence of that length. Timestamps that are off by more than 3.4 ms either way therefore make holes
 *   where no packet is missing, and push the position each time, so that the controller never settles. Number packets
 *   by their frames, not by when they were captured; or switch the padding off with
 *   aupacketplayer_set_pads_missing_audio. Timestamps that are off by more than half a packet swap packets in any case.
 *   Jitter of arrival does no harm while the lead covers it.
 * - Lost packets of up to 300 frames are not padded: what follows is early by as much, which the controller has to work
 *   off. It cannot where many are lost.
 * - Bias. The time of a call's first frame is compared with that of a packet still to be played, so in balance audio is
 *   heard late: by a third of a call when calls are shorter than packets, by up to half a packet when they are longer,
 *   3.8 ms for packets of 441 and calls of 512 frames.
 * - Whole blocks. A call's first frame is taken to be heard its latency after the call. Ask for all frames of an
 *   output's cycle at once: the second of two calls is judged as due too early by the length of the first, and the
 *   audio ends up late by half of that. A device player as the output asks for whole cycles of up to 8192 frames.
 * - Resuming. When packets run out, the next one to come is played at once, even if its time is yet to come; a lead of
 *   more than 50 ms then shows within seconds, and the player waits for the rest of it.
 *
 * docs/packets.md shows the states, the controller, and what a simulated day of drift, jitter and loss does.
 */
#ifndef AUSPOOL_AUPACKETPLAYER_H
#define AUSPOOL_AUPACKETPLAYER_H

#include <auspool/types.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct aupacketplayer aupacketplayer;

/* Where log lines go: a printf format, without a line end, and its arguments. Level 1 marks changes of state, level 3
 * is about single packets. Runs inside aupacketplayer_get_frames, so on a real-time thread it must be fit for one. */
typedef void (*aupacketplayer_log_callback)(void *log_context, int32_t level, const char *format, ...);

/* An output. Any function may be null. */
typedef struct aupacketplayer_callbacks {
  void *context;                    /* the first argument of each function */
  int32_t (*start)(void *context);  /* starts the output; 0 or a status */
  void (*stop)(void *context);      /* stops it */
  void (*destroy)(void *context);   /* ends it and releases `context` */
  float (*get_gain)(void *context); /* 1 is unity */
  void (*set_gain)(void *context, float gain);
  double (*get_latency)(void *context); /* seconds from aupacketplayer_get_frames until its first frame is heard;
                                           called there, so on a real-time thread it must be fit for one */
} aupacketplayer_callbacks;

/* What a player is doing. */
enum {
  AuPacketPlayerCreated = 0xFEED,  /* not started: packets are taken, silence is given */
  AuPacketPlayerPlayback = 0xFEEE, /* packets are played */
  AuPacketPlayerEmpty = 0xFEEF,    /* packets ran out: silence until the next comes, which is played at once */
  AuPacketPlayerBuffering = 0xFEF0 /* silence until the first packet's time */
};

/* A look at the controller. */
typedef struct aupacketplayer_status {
  uint32_t state;         /* one of the above */
  double offset;          /* seconds that the audio is ahead of its timestamps, smoothed over some seconds of audio;
                             negative for late */
  double rate_correction; /* by what fraction the output is taken to be faster than it says: 1e-4 is 100 ppm */
} aupacketplayer_status;

/* A player for packets of `sample_rate`, holding up to `capacity` packets. `log_callback` may be null. Returns null if
 * `capacity` is 0 or above INT32_MAX, or there is no memory. */
AUSPOOL_API aupacketplayer *aupacketplayer_create(uint32_t capacity, aupacketplayer_log_callback log_callback,
                                                  void *log_context, float sample_rate);

/* Ends the output with the `destroy` of its callbacks, and releases the player and all packets. Accepts null. */
AUSPOOL_API void aupacketplayer_destroy(aupacketplayer *player);

/* Gives the player another output, after ending the one it has. */
AUSPOOL_API void aupacketplayer_set_callbacks(aupacketplayer *player, aupacketplayer_callbacks callbacks);
AUSPOOL_API aupacketplayer_callbacks aupacketplayer_get_callbacks(const aupacketplayer *player);

/* Makes a device player of the first generation (auspool/auplayer.h) the output, which starts and stops with the packet
 * player and asks for frames on the device's thread. It is the context of aupacketplayer_get_callbacks: a host may
 * choose its device by auplayer_set_options, and ask for its state; it belongs to the packet player. If there is no
 * memory for it the context is null, and aupacketplayer_start gives AUDEVICE_NO_MEMORY. */
AUSPOOL_API void aupacketplayer_set_auplayer_callbacks(aupacketplayer *player);

/* Settings, followed at the next aupacketplayer_get_frames that sees them.
 * Whether gaps of 301 to 44099 frames between packets become silence of that length; on at first. Shorter gaps, longer
 * ones and overlaps are left to the controller. */
AUSPOOL_API void aupacketplayer_set_pads_missing_audio(aupacketplayer *player, uint32_t pads);
/* Whether the controller runs; on at first. Without it the output's rate is taken as it is. */
AUSPOOL_API void aupacketplayer_set_resample_continuously(aupacketplayer *player, uint32_t resample);
/* Seconds added to the host's clock, 0 at first: positive plays everything so much earlier. */
AUSPOOL_API void aupacketplayer_set_time_adjustment(aupacketplayer *player, double seconds);

/* Lets a player that was never started wait for its first packet, and starts the output. Returns the status of the
 * output's `start`, 0 without one. */
AUSPOOL_API int32_t aupacketplayer_start(aupacketplayer *player);

/* Stops the output. The player keeps its state and its packets. */
AUSPOOL_API void aupacketplayer_stop(aupacketplayer *player);

/* The gain of the output: 1 where there is none that has one. */
AUSPOOL_API float aupacketplayer_get_gain(const aupacketplayer *player);
AUSPOOL_API void aupacketplayer_set_gain(aupacketplayer *player, float gain);

/* Queues a copy of `frames` frames, the first of which is due to be heard at `timestamp`, and releases what the output
 * has finished with. If there is no memory the packet is dropped; for its audio a line goes to standard error. */
AUSPOOL_API void aupacketplayer_play(aupacketplayer *player, const float *interleaved, uint32_t frames,
                                     double timestamp);

/* Has the output drop all packets that wait when it next asks, those queued after the flush included, and lets the
 * player wait for the time of the first one after that; also a player that was never started. What had been played
 * stays played: packets must still be later. The controller keeps what it has learned. */
AUSPOOL_API void aupacketplayer_flush(aupacketplayer *player);

/* What the controller made of the last aupacketplayer_get_frames. */
AUSPOOL_API aupacketplayer_status aupacketplayer_get_status(const aupacketplayer *player);

/* Writes `frames` stereo frames for an output of `output_rate`; silence where there is no audio. A negative count is
 * nothing. Real-time safe: allocates nothing, frees nothing, takes no lock, and uses 64 KiB of the stack. */
AUSPOOL_API void aupacketplayer_get_frames(aupacketplayer *player, float *output, int32_t frames, float output_rate);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_AUPACKETPLAYER_H */
