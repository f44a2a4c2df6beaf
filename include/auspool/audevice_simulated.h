/* Scripts the backend "simulated": devices inside the process, whose every move a program decides.
 *
 *   #include <auspool/audevice.h>
 *   #include <auspool/audevice_simulated.h>
 *   #include <stdio.h>
 *
 *   static void hear(void *context, uint32_t device, const ausim_buffer *buffers, uint32_t count, uint32_t frames) {
 *     (void)context, (void)device, (void)count;
 *     printf("%u frames, the first is %f\n", (unsigned)frames, (double)((const float *)buffers[0].data)[0]);
 *   }
 *
 *   int main(void) {
 *     audevice_choose_backend("simulated");
 *     ausim *sim = ausim_create();
 *     if (!sim) return 1;
 *     const uint32_t stereo[] = {2};
 *     const ausim_device speaker = {.name = "Speaker", .output_buffers = stereo, .output_buffer_count = 1};
 *     const uint32_t id = ausim_add_device(sim, &speaker);
 *     ausim_set_default(sim, 0, id);
 *     ausim_set_output_callback(sim, hear, NULL);
 *     // here a host would start a player
 *     ausim_run(sim, id, 100);  // one hundred cycles of the device's IO
 *     ausim_destroy(sim);
 *     return 0;
 *   }
 *
 * A script begins with no device and the clock standing, so it is best made first of all: audio moves only in ausim_run
 * and ausim_advance, on the thread that calls them, and so do the callbacks of hosts, unless ausim_set_realtime hands
 * both over to a thread.
 *
 * Without a script the backend has two devices, both of 48000 Hz and 256 frames a cycle, run by a thread:
 * "Simulated output" of two channels, whose audio goes nowhere, and "Simulated input" of two channels, on
 * which frame n is ((n % 32768) - 16384) / 32768 on the left and its negative on the right.
 *
 * Every function may be called from any thread but a simulated device's own while it runs a cycle.
 */
#ifndef AUSPOOL_AUDEVICE_SIMULATED_H
#define AUSPOOL_AUDEVICE_SIMULATED_H

#include <auspool/types.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct ausim ausim;

/* The script. Null if the chosen backend is another, if there is a script, or if memory ran out. All devices that were
 * there go away. */
AUSPOOL_API ausim *ausim_create(void);
/* Ends it; devices that players still use stay as they are, and do not run any more. Null is allowed. */
AUSPOOL_API void ausim_destroy(ausim *sim);

/* ---- Devices ---- */

/* What a device is like. Where a field is 0 or null stands what is used instead. */
typedef struct ausim_device {
  const char *name;               /* "Simulated device"; its uid is the name too */
  const uint32_t *output_buffers; /* channels of each output buffer: {2} is interleaved stereo, {1, 1} two planes */
  uint32_t output_buffer_count;   /* 0: no output */
  const uint32_t *input_buffers;
  uint32_t input_buffer_count;
  double rate;                            /* 44100 */
  uint32_t buffer_frames;                 /* 512 */
  uint32_t least_buffer_frames;           /* 16: below and above these a buffer size is refused */
  uint32_t most_buffer_frames;            /* 8192 */
  uint32_t output_latency, input_latency; /* frames beyond the buffer */
  uint32_t output_left, output_right;     /* preferred channels, from 1; with both 0 it does not say */
  uint32_t input_left, input_right;       /* the same */
  uint32_t data_source;                   /* input source; 0: it has none to choose */
  uint32_t format;                        /* four characters of its stream format: "lpcm" */
} ausim_device;

/* Adds a device, which is there at once. Gives its number, or 0 if memory ran out. */
AUSPOOL_API uint32_t ausim_add_device(ausim *sim, const ausim_device *device);

/* Takes a device away: its IO ends, listeners and all that was known of it with it. Gives 0 or AUDEVICE_BAD_OBJECT. */
AUSPOOL_API int32_t ausim_remove_device(ausim *sim, uint32_t device);

/* Makes a device the default input (`input` not 0) or output; 0 for none. */
AUSPOOL_API int32_t ausim_set_default(ausim *sim, int32_t input, uint32_t device);

/* Changes a property as the system would: selector and scope in four characters ("nsrt", "glob"), the object 1 being
 * the system. It becomes whatever is given, of any size; 0 bytes take it away. Listeners are called. A rate ("nsrt", 8
 * bytes) is the device's from the next cycle on, as are "fsiz" (4 bytes) and the rate in "sfmt" (40 bytes). */
AUSPOOL_API int32_t ausim_set_property(ausim *sim, uint32_t object, const char *selector, const char *scope,
                                       uint32_t bytes, const void *value);

/* ---- What is asked of devices ---- */

enum {
  AUSIM_GET = 1,  /* a property is read */
  AUSIM_SIZE = 2, /* its size is asked for */
  AUSIM_SET = 3,  /* it is set; value and bytes say to what */
  AUSIM_ADD_LISTENER = 4,
  AUSIM_REMOVE_LISTENER = 5,
  AUSIM_CREATE_IO = 6,
  AUSIM_DESTROY_IO = 7,
  AUSIM_START = 8,
  AUSIM_STOP = 9,
  AUSIM_DUCK = 10 /* the level is set; value is a float */
};

/* One operation. `selector` and `scope` are numbers of four characters, 0 where an operation has none. */
typedef struct ausim_operation {
  int32_t kind;
  uint32_t object;
  uint32_t selector, scope;
  uint32_t bytes;
  const void *value;
} ausim_operation;

/* Called for each operation before it is done, on the thread that asks: other than 0 is a status with which it fails.
 * It may change devices but not run them. Null for none. */
typedef int32_t (*ausim_operation_callback)(void *context, const ausim_operation *operation);
AUSPOOL_API void ausim_set_operation_callback(ausim *sim, ausim_operation_callback callback, void *context);

/* Whether devices offer to set the level of a program's audio, AUSIM_DUCK; at first they do. */
AUSPOOL_API void ausim_set_ducking(ausim *sim, int32_t offered);

/* ---- Time and audio ---- */

/* The same as in the lists that IO gets. */
typedef struct ausim_buffer {
  uint32_t channels;
  uint32_t bytes;
  void *data; /* interleaved floats */
} ausim_buffer;

/* Called in each cycle of a device: before its IO to fill the input, which is silent otherwise, and after it with what
 * is to be heard; with a count of 0 where it has no such direction. On the thread that runs the cycle; nulls for none.
 */
typedef void (*ausim_audio_callback)(void *context, uint32_t device, const ausim_buffer *buffers, uint32_t count,
                                     uint32_t frames);
AUSPOOL_API void ausim_set_input_callback(ausim *sim, ausim_audio_callback callback, void *context);
AUSPOOL_API void ausim_set_output_callback(ausim *sim, ausim_audio_callback callback, void *context);

/* The simulated host time in ticks of auspool/auclock.h: nanoseconds, from when the script was made. */
AUSPOOL_API uint64_t ausim_time(const ausim *sim);

/* Runs `cycles` cycles of one device, the clock moving on by each cycle's length after it. Cycles pass without IO where
 * none is started. Gives 0 or AUDEVICE_BAD_OBJECT. */
AUSPOOL_API int32_t ausim_run(ausim *sim, uint32_t device, uint32_t cycles);

/* Moves the clock by so many nanoseconds and runs the cycles of all devices that fall due on the way, in order. */
AUSPOOL_API void ausim_advance(ausim *sim, uint64_t nanoseconds);

/* Sets the clock and runs nothing: a device that was late, or a jump. */
AUSPOOL_API void ausim_set_time(ausim *sim, uint64_t ticks);

/* Leaves the valid flags of the time stamps clear (0) or sets them (1, as at first): systems that know no time. */
AUSPOOL_API void ausim_set_stamps(ausim *sim, int32_t valid);

/* 1: a thread runs all devices by the real clock from now on. 0, as at first: by hand. */
AUSPOOL_API void ausim_set_realtime(ausim *sim, int32_t realtime);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_AUDEVICE_SIMULATED_H */
