/* The sound devices of the computer, and the backend that reaches them.
 *
 *   #include <auspool/audevice.h>
 *   #include <stdio.h>
 *
 *   int main(void) {
 *     static audevice_info devices[64];
 *     int32_t count = 0;
 *     if (audevice_list(devices, 64, &count) != 0) return 1;
 *     for (int32_t i = 0; i < count && i < 64; ++i) {
 *       const audevice_info *device = &devices[i];
 *       printf("%u %s: %u in, %u out%s\n", (unsigned)device->id, device->name, (unsigned)device->input_channels,
 *              (unsigned)device->output_channels, device->is_default_output ? ", default" : "");
 *     }
 *     return 0;
 *   }
 *
 * Players and lines find devices by their number, or follow the system's default. All of them use one
 * backend, which a host may choose by name while no player, line or watch exists:
 *   "pipewire"   the sinks and sources of a PipeWire server, with a build that has it
 *   "simulated"  devices inside the process, without sound: for tests and for computers without a sound
 *                system. Its default devices run by the clock; auspool/audevice_simulated.h scripts others
 * The default is the one that reaches the sound system; where there is none, or it cannot be reached,
 * device calls give a status, and everything that works without a device still works.
 *
 * Every function may be called from any thread that is no real-time thread.
 */
#ifndef AUSPOOL_AUDEVICE_H
#define AUSPOOL_AUDEVICE_H

#include <auspool/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Backends ---- */

/* The names of the backends that this library was built with; null for an index below 0 or beyond the last. They live
 * as long as the library. */
AUSPOOL_API const char *audevice_backend_name(int32_t index);

/* The backend in use, or null if there is none by default. */
AUSPOOL_API const char *audevice_backend(void);

/* Chooses a backend; null is the default. Gives 0, AUDEVICE_NO_BACKEND for a name that is not there (the choice stays),
 * or AUDEVICE_BUSY while a player, line, watch or script exists. It is opened when something first needs it. */
AUSPOOL_API int32_t audevice_choose_backend(const char *name);

/* ---- Devices ---- */

enum { AUDEVICE_NAME_BYTES = 256 };

/* One device. */
typedef struct audevice_info {
  uint32_t id; /* its number, for players and lines; never used again in the life of the process */
  uint32_t input_channels, output_channels;
  double rate;            /* the nominal rate, frames a second; 0 if it cannot be read */
  uint32_t buffer_frames; /* frames a cycle of IO; 0 if it cannot be read */
  int32_t is_default_input, is_default_output;
  char name[AUDEVICE_NAME_BYTES]; /* for people, cut to the room at a whole character */
  char uid[AUDEVICE_NAME_BYTES];  /* stays the same from run to run: for preferences */
} audevice_info;

/* Lists all devices: writes up to `room` of them to `devices`, and to *count how many there are. `devices` may be null
 * with a room of 0. Gives 0 or the status of what failed, then with *count 0. */
AUSPOOL_API int32_t audevice_list(audevice_info *devices, int32_t room, int32_t *count);

/* Calls `changed` when a device comes or goes or a default changes, on a thread of the backend's. It may call
 * audevice_list, and should return soon: other changes wait meanwhile. */
typedef struct audevice_watch audevice_watch;
typedef void (*audevice_changed)(void *context);

/* Null if memory ran out or the backend cannot tell. */
AUSPOOL_API audevice_watch *audevice_watch_create(audevice_changed changed, void *context);
/* Waits for a call of `changed` that runs; not from inside it. Null is allowed. */
AUSPOOL_API void audevice_watch_destroy(audevice_watch *watch);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_AUDEVICE_H */
