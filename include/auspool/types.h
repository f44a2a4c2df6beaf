/* Types that several families of auspool share, and the mark of an exported function.
 *
 * Conventions of every family
 * - A family is a set of functions on an opaque handle: FAMILY_create makes it, FAMILY_destroy
 * releases it. A creator that fails returns null and leaves nothing behind; a destroyer accepts
 * null unless its text says otherwise.
 * - Audio is 32-bit float, full scale -1.0 to 1.0, unless a text says otherwise. A frame is one
 * sample of each channel; frames are counted per channel.
 * - Failures are return values. Nothing throws across this interface.
 * - Strings are UTF-8 and end in NUL.
 * - Unless a text says otherwise a handle has one user at a time.
 */
#ifndef AUSPOOL_TYPES_H
#define AUSPOOL_TYPES_H

#include <stdint.h>

/* Marks what the shared library exports; everything else in it is hidden. */
#if defined(__GNUC__)
#define AUSPOOL_API __attribute__((visibility("default")))
#else
#define AUSPOOL_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* The two channels of a stereo block. With a stride of 2 the pair points into one interleaved
 * buffer: `left` at its first sample, `right` at its second. The record does not own what it points
 * to. */
typedef struct au_channel_pair {
  float *left;
  float *right;
} au_channel_pair;

/* Statuses of sound devices: 0 is success, these are failures that we give ourselves, and a sound
 * system may have others. The number is that of the four characters. */
enum {
  AUDEVICE_UNKNOWN_PROPERTY = 0x77686f3f, /* "who?": the object has no such property */
  AUDEVICE_BAD_SIZE = 0x2173697a,         /* "!siz": a value of another size than the property's */
  AUDEVICE_BAD_VALUE = 0x6e6f7065,        /* "nope": a value that cannot be set */
  AUDEVICE_READ_ONLY = 0x21736574,        /* "!set": the property cannot be set at all */
  AUDEVICE_BAD_OBJECT = 0x216f626a,       /* "!obj": no such device, or it is gone */
  AUDEVICE_BAD_PROC = 0x2170726f,         /* "!pro": no such IO on that device */
  AUDEVICE_NOT_RUNNING = 0x73746f70,      /* "stop": the sound system cannot be reached */
  AUDEVICE_NO_MEMORY = 0x216d656d,        /* "!mem": not enough memory */
  AUDEVICE_NO_BACKEND = 0x216b6e64,       /* "!knd": no backend, or none of that name */
  AUDEVICE_BUSY = 0x62757379              /* "busy": not while players or lines exist */
};

/* A dictionary of tags. */
typedef struct audict audict;

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_TYPES_H */
