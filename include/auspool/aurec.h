/* aurec: records live stereo audio to files.
 *
 * A host makes one record with its callbacks, starts it, and feeds blocks of audio from its audio
 * thread. A worker thread of the recording does the rest: rate conversion, encoding, the files. A
 * slow disk never stalls the audio thread: what waits is held in a ring, and a block that finds no
 * room there is cut short, which aurec_record reports. Limits and silence split a recording into
 * successive files without losing a frame between them.
 *
 * Conventions
 * - Audio is stereo, two channels of 32-bit float samples; a frame is one sample of each. Times are
 *   seconds, rates Hz, sizes bytes.
 * - Threads. The audio thread is the one that calls aurec_record and nothing else. The control
 *   thread makes all other calls; a host that controls a record from several threads takes turns.
 *   The audio thread may run all the while. What only asks (the section State) is for any thread;
 *   on the audio thread it is real-time safe, but for the sizes.
 * - path_cb, start_cb, finalize_cb and error_log_cb run on the worker, done_cb on the worker or on
 *   the background job that finishes a file, state_changed_cb on the worker or the control thread.
 *   A callback cannot end its own record's recording, which would wait for the callback: there
 *   aurec_start gives -1, and aurec_stop and aurec_destroy only ask the recording to end.
 * - A setting is read when the next recording starts; where the text says "at once", a recording
 *   that runs follows it too.
 * - Any record pointer that is passed must be a live one; aurec_destroy alone accepts null.
 *
 * The order of one file's callbacks: path_cb, start_cb, finalize_cb where the format has work to do
 * afterwards, done_cb. docs/recording.md tells the whole of it.
 *
 *   #include <auspool/aurec.h>
 *   #include <math.h>
 *   #include <stdio.h>
 *   #include <time.h>
 *
 *   static void *name_file(void *ref, void *previous, char path[AUREC_PATH_BYTES], int32_t type,
 *                          int32_t index, audict **tags) {
 *     (void)ref, (void)type, (void)tags;
 *     snprintf(path, AUREC_PATH_BYTES, previous ? "tone-%d-%ld.aiff" : "tone-%d.aiff", (int)index,
 *              (long)time(NULL));
 *     return path;  // any token that is not null
 *   }
 *
 *   int main(void) {
 *     aurec *rec = aurec_create(NULL, name_file, NULL, NULL, NULL, NULL);
 *     if (!rec || aurec_start(rec, 48000.0f) != 0) return 1;
 *     while (!aurec_is_recording(rec)) {  // the worker opens the first file
 *       if (!aurec_is_active(rec)) return 1;
 *       nanosleep(&(struct timespec){0, 1000000}, NULL);
 *     }
 *     float tone[480];
 *     const float *const channels[2] = {tone, tone};
 *     for (int i = 0; i < 480; ++i) tone[i] = 0.5f * sinf(6.2831853f * (float)i / 48.0f);
 *     for (int block = 0; block < 200; ++block) aurec_record(rec, 48000.0f, channels, 480);
 *     aurec_stop(rec);
 *     aurec_destroy(rec);
 *     return 0;
 *   }
 */
#ifndef AUSPOOL_AUREC_H
#define AUSPOOL_AUREC_H

#include <auspool/types.h>
#include <stdarg.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct aurec aurec;

/* The kinds of file. */
typedef int32_t AuRecOutputType;
enum {
  AuRecOutputTypeAIFF = 0,
  AuRecOutputTypeMP3 = 1,
  AuRecOutputTypeAAC = 2,
  AuRecOutputTypeALAC = 3,
  AuRecOutputTypeWAVE = 4,
  AuRecOutputTypeFLAC = 5
};

/* What error_log_cb is told. */
typedef int32_t AuRecErrorCode;
enum {
  AuRecErrorNoAudio = 1,    /* no audio was ever received, or a finished file was empty and is deleted */
  AuRecErrorOpen = 2,       /* a file could not be opened for writing */
  AuRecErrorFLACNew = 3,    /* the FLAC encoder could not be made */
  AuRecErrorFLACInit = 4,   /* the FLAC encoder could not be initialised */
  AuRecErrorMP3Rate = 5,    /* the input rate is too low for MP3 */
  AuRecErrorMP3Memory = 6,  /* the MP3 work buffer could not be allocated */
  AuRecErrorMP3Init = 7,    /* the MP3 encoder could not be made */
  AuRecErrorMP3Params = 8,  /* the MP3 encoder refused its settings */
  AuRecErrorCodecOpen = 9,  /* the audio codec could not be opened */
  AuRecErrorCodecInit = 10, /* the audio codec could not be initialised */
  AuRecErrorM4ABegin = 11,  /* an M4A file could not be begun */
  AuRecErrorM4AFinish = 12, /* an M4A file could not be finished */
  AuRecErrorPCMHeader = 13  /* room for a PCM file's header could not be written */
};

/* ---- Options of each format. Values that are out of range are corrected when they are set. ---- */

typedef struct AuRecOptionsPCM {
  uint32_t mono;        /* 0 stereo; any other value mono */
  uint32_t bit_depth;   /* 1: 24-bit; otherwise 16-bit. 2 and above are corrected to 0 */
  uint32_t mono_source; /* of a mono file: 0 the mix of both channels, 1 left, 2 right. 3 and above: 0 */
  float sample_rate;    /* of the file; 0 is the input's. Below 4000 or above 192000: 0 */
} AuRecOptionsPCM;      /* by default all 0 */

typedef struct AuRecOptionsMP3 {
  uint32_t channel_mode; /* 0 joint stereo, 1 mono, 2 stereo; any other value joint stereo. Default 0 */
  int32_t quality;       /* of the encoder: 0 best through 9 fastest. Outside: 5. Default 5 */
  uint32_t bitrate_mode; /* 0 constant, 1 average, 2 variable. 3 and above: 0. Default 0 */
  uint32_t vbr_quality;  /* 0 best through 9. 10 and above: 5. Default 5 */
  uint32_t bitrate;      /* kilobits per second. In neither mp3_bitrate_table: 128. Default 128 */
  uint32_t podcast;      /* nonzero marks the file as a podcast in its tags. Default 0 */
  float sample_rate;     /* of the file, one of MP3's own; 0 leaves it to the encoder, which takes the input's or one
                          * that suits the bitrate. Another one is refused with error 8. Default 0 */
} AuRecOptionsMP3;

typedef struct AuRecOptionsAAC {
  uint32_t mono;       /* nonzero encodes one channel; profile 2 makes it 0. Default 0 */
  uint32_t bitrate;    /* kilobits per second. In neither aac_bitrate_table: 128. Default 128 */
  uint32_t audiobook;  /* nonzero marks the file as an audio book. Default 0 */
  uint32_t quality;    /* 0 best through 9: through 5 a slow search, from 6 a fast one. 10 and above: 5. Default 5 */
  uint32_t fast_start; /* nonzero: the finished file has its index in front; 0: it is fragmented. Default 1 */
  uint32_t profile;    /* 0 AAC-LC, 1 HE-AAC, 2 HE-AAC v2. 3 and above: 0. Default 0 */
} AuRecOptionsAAC;

typedef struct AuRecOptionsALAC {
  uint32_t mono;       /* nonzero encodes one channel. Default 0 */
  uint32_t audiobook;  /* as above. Default 0 */
  uint32_t fast_start; /* as above. Default 1 */
} AuRecOptionsALAC;

typedef struct AuRecOptionsFLAC {
  uint32_t mono; /* 0 stereo, 1 mono. 2 and above: 0. Default 0 */
} AuRecOptionsFLAC;

/* The bitrates that a host offers, in kilobits per second, ascending, ended by 0. `unified` is the shorter choice. */
AUSPOOL_API extern const uint32_t mp3_bitrate_table_legacy[18];
AUSPOOL_API extern const uint32_t mp3_bitrate_table_unified[16];
AUSPOOL_API extern const uint32_t aac_bitrate_table_legacy[19];
AUSPOOL_API extern const uint32_t aac_bitrate_table_unified[15];

/* ---- Callbacks. `ref` is what the host gave to aurec_create; `token` is what path_cb returned for the file. ---- */

#define AUREC_PATH_BYTES 2048

/* Names the next file. `path` is to be filled in, UTF-8, ended by NUL; the file must not exist. `type` is an
 * AuRecOutputType, `index` counts the files of this recording that kept audio, from 0: a file that turned out empty is
 * deleted and its index comes again. `previous` is null; if the file exists already the callback is asked again, with
 * the token of the refused answer as `previous`, to choose another name and dispose of that token. `*tags` is null on
 * entry; the host may store a dictionary there, of which the recorder takes over one reference.
 * Returns the file's token, anything but null; null refuses and ends the recording without a message. */
typedef void *(*aurec_path_cb)(void *ref, void *previous, char path[AUREC_PATH_BYTES], int32_t type, int32_t index,
                               audict **tags);

/* A file: its creation, the end of its audio, its completion. The result is not looked at.
 * done_cb comes only for a file that holds audio, but for one case: of AAC and ALAC with fast_start it comes for an
 * empty file too, which is deleted at the same time. */
typedef int32_t (*aurec_file_cb)(void *ref, void *token);

/* An error or notice. `token` is that of the file in hand, null if there is none. `code` is an AuRecErrorCode, `format`
 * a printf format.
 * `args` holds one argument: the address of a second va_list, which holds the values for `format`. So the safe way is
 *
 *   va_list *values = va_arg(args, va_list *);
 *   vsnprintf(text, sizeof text, format, *values);
 *
 * A host that hands `args` itself to a printf function sees each %d as a part of that address. */
typedef void (*aurec_error_log_cb)(void *ref, void *token, int32_t code, const char *format, va_list args);

/* The recording started, ended or was paused: ask aurec_is_active and aurec_is_paused. */
typedef void (*aurec_state_changed_cb)(void *ref);

/* ---- The record ---- */

/* Makes a record. `path_cb` is required, the other callbacks may be null. Returns null if path_cb is null or memory ran
 * out. The settings are: AIFF, default options, a ring of 10485760 bytes, no limit, no silence handling at -120 dB. */
AUSPOOL_API aurec *aurec_create(void *ext_ref, aurec_path_cb path_cb, aurec_file_cb start_cb, aurec_file_cb finalize_cb,
                                aurec_file_cb done_cb, aurec_error_log_cb error_log_cb);

/* Ends a recording as aurec_stop does, waits for all background jobs, and releases the record. The host makes no other
 * call on the record during this one or after it: its audio thread has ended. Accepts null. */
AUSPOOL_API void aurec_destroy(aurec *rec);

/* Sets the callback for changes of state; null for none. At once. */
AUSPOOL_API void aurec_set_state_changed_cb(aurec *rec, aurec_state_changed_cb cb);

/* ---- Settings ---- */

/* Whether this build can write the format: 1 or 0; 0 for a type that does not exist. */
AUSPOOL_API int32_t aurec_can_output_type(AuRecOutputType type);

/* A type that cannot be written leaves the old one. */
AUSPOOL_API void aurec_set_output_type(aurec *rec, AuRecOutputType type);
AUSPOOL_API AuRecOutputType aurec_output_type(const aurec *rec);

AUSPOOL_API void aurec_set_pcm_options(aurec *rec, AuRecOptionsPCM options);
AUSPOOL_API AuRecOptionsPCM aurec_pcm_options(const aurec *rec);
AUSPOOL_API void aurec_set_mp3_options(aurec *rec, AuRecOptionsMP3 options);
AUSPOOL_API AuRecOptionsMP3 aurec_mp3_options(const aurec *rec);
AUSPOOL_API void aurec_set_aac_options(aurec *rec, AuRecOptionsAAC options);
AUSPOOL_API AuRecOptionsAAC aurec_aac_options(const aurec *rec);
AUSPOOL_API void aurec_set_alac_options(aurec *rec, AuRecOptionsALAC options);
AUSPOOL_API AuRecOptionsALAC aurec_alac_options(const aurec *rec);
AUSPOOL_API void aurec_set_flac_options(aurec *rec, AuRecOptionsFLAC options);
AUSPOOL_API AuRecOptionsFLAC aurec_flac_options(const aurec *rec);

/* What happens to audio that waits in the ring after a block was cut short: 1 throws it away at the next block, so that
 * the recording goes on with current audio; any other value keeps it. Default 0. At once. */
AUSPOOL_API void aurec_set_skip_handler_action(aurec *rec, uint32_t action);
AUSPOOL_API uint32_t aurec_skip_handler_action(const aurec *rec);

/* The size of the ring, 8 bytes a frame: 32768 to 52428800, values outside are held to that; 0 is 10485760, which holds
 * 29.7 seconds at 44100 Hz. */
AUSPOOL_API void aurec_set_buffer_size(aurec *rec, int64_t bytes);
AUSPOOL_API int64_t aurec_buffer_size(const aurec *rec);

/* Splits the recording into files of at most this many seconds (`is_time` nonzero: 60 to 86400) or bytes (1048576 to
 * 2147483647); values outside are held to that. Below 1: no limit. A file never passes one day or 2 GiB in any case.
 * A limit splits a recording and never ends it. At once. `is_time_out` may be null. */
AUSPOOL_API void aurec_set_limit(aurec *rec, int64_t value, int32_t is_time);
AUSPOOL_API int64_t aurec_limit(const aurec *rec, int32_t *is_time_out);

/* What silence does. `mode`: 0 nothing; 1 it is left out; 2 it splits, the next file begins with the next sound; 3 it
 * ends the recording. Silence is `seconds` of blocks in which both channels stay below `rms_threshold_db`; with 0
 * seconds every block is. At once. The getter returns the mode; either out-parameter may be null. */
AUSPOOL_API void aurec_set_silence_killer(aurec *rec, int32_t mode, float rms_threshold_db, float seconds);
AUSPOOL_API int32_t aurec_silence_killer(const aurec *rec, float *rms_out, float *seconds_out);

/* ---- Recording ---- */

/* Starts a recording, ending one that runs. `rate` is the rate of the coming audio; 0, or what is no usable rate (see
 * aurec_record), leaves it to the first block, which is then not recorded itself. Returns
 *    0  started
 *   -1  the worker thread could not be started
 *   -2  there is not enough memory, for the ring above all
 *   -3  the output type is unknown
 * After a failure the record is as after aurec_stop. Files appear later, on the worker: blocks are kept from when
 * aurec_is_recording says so. */
AUSPOOL_API int32_t aurec_start(aurec *rec, float rate);

/* Ends the recording: what the ring holds is written, the file is completed, and then this returns. */
AUSPOOL_API void aurec_stop(aurec *rec);

/* Nonzero discards all blocks until 0 is set. Nothing without a recording. */
AUSPOOL_API void aurec_pause(aurec *rec, int32_t pause);

/* Goes on in a new file, once what waits in the ring at this moment has gone to the old one. Nothing without a
 * recording, or while such a request is pending. */
AUSPOOL_API void aurec_make_new_file(aurec *rec);

/* Records a block; the audio thread's call. `rate` is the rate of this block: between 1 and 10 million Hz, a block of
 * any other rate is discarded. A change of rate discards what waits in the ring and starts the filters anew. `channels`
 * points to left and right, each of `frames` samples, read only during the call; null pointers, 0 frames and fewer are
 * nothing. Any number of frames may come in a block.
 * Returns 0; 1 if the block, or its tail, was lost because there was no room. A block that is discarded on purpose
 * (paused, silence, no recording) gives 0.
 * Allocates nothing, takes no lock that it would wait for, and makes no system call but these: waking the worker when
 * it sleeps, and, when audio is thrown away (a change of rate, skip handler action 1), a wait of some 20 microseconds
 * if the worker is reading just then. */
AUSPOOL_API int32_t aurec_record(aurec *rec, float rate, const float *const channels[2], int32_t frames);

/* ---- State. Each gives 0 without a recording. ---- */

/* 1 from when blocks are kept: the first file is open, or between two files; 0 from when the end was asked for. */
AUSPOOL_API int32_t aurec_is_recording(const aurec *rec);
/* 1 from aurec_start until the last file is closed. */
AUSPOOL_API int32_t aurec_is_active(const aurec *rec);
/* 1 while active or while background jobs finish files. */
AUSPOOL_API int32_t aurec_has_active_files(aurec *rec);
AUSPOOL_API int32_t aurec_is_paused(const aurec *rec);

/* Free room in the ring, in bytes. Where the file has another rate than the input, what makes no whole frame of the
 * file waits in the ring for more: a ring that is never quite empty has been written. */
AUSPOOL_API int32_t aurec_buffer_available_space(const aurec *rec);

/* Bytes on the disk, of the current file and of all files of the recording; seconds of audio in them. A file's last few
 * kilobytes may not be on the disk yet. The totals start anew with each aurec_start. */
AUSPOOL_API int64_t aurec_file_size(const aurec *rec);
AUSPOOL_API int64_t aurec_total_size(const aurec *rec);
AUSPOOL_API double aurec_file_time(const aurec *rec);
AUSPOOL_API double aurec_total_time(const aurec *rec);

/* ---- For work that outlives a recording, such as finishing a file in the background ---- */

/* Counts a background job in and out. aurec_has_active_files sees the count, aurec_destroy waits until it is 0. It
 * never goes below 0. Any thread. */
AUSPOOL_API void aurec_thread_count_increment(aurec *rec);
AUSPOOL_API void aurec_thread_count_decrement(aurec *rec);

/* Call the callback, if there is one, with the host's reference in front. path_cb's result is null without one. Any
 * thread that may run the callback. */
AUSPOOL_API void *aurec_call_path_cb(aurec *rec, void *previous, char path[AUREC_PATH_BYTES], AuRecOutputType type,
                                     int32_t index, audict **tags);
AUSPOOL_API void aurec_call_start_cb(aurec *rec, void *token);
AUSPOOL_API void aurec_call_finalize_cb(aurec *rec, void *token);
AUSPOOL_API void aurec_call_done_cb(aurec *rec, void *token);
AUSPOOL_API void aurec_call_error_log_cb(aurec *rec, void *token, AuRecErrorCode code, const char *format, ...);
AUSPOOL_API void aurec_call_state_changed_cb(aurec *rec);
AUSPOOL_API void *aurec_get_ext_ref(const aurec *rec);
AUSPOOL_API aurec_file_cb aurec_get_done_callback(const aurec *rec);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_AUREC_H */
