/* audict: dictionaries of tags and chapters, and the values in them.
 *
 * An `audict` is one value of one of six kinds: a string, a number, a boolean, a block of data, an array or a
 * dictionary. A tag is a dictionary with the keys that auspool/autag2.h tells; a chapter dictionary holds arrays of
 * dictionaries.
 *
 *   #include <auspool/audict.h>
 *   #include <stdio.h>
 *
 *   int main(void) {
 *     audict *tag = audict_create();
 *     audict_set_string(tag, "Title", "Night Train");
 *     audict_set_integer(tag, "Year", 1952, AUDICT_INT32);
 *     audict_add_string(tag, "Title", "another");  // keeps "Night Train"
 *     for (size_t i = 0; i < audict_count(tag); ++i) {
 *       const char *text = audict_string(audict_at(tag, i));
 *       printf("%s: %s\n", audict_key_at(tag, i), text != NULL ? text : "no string");
 *     }
 *     audict_release(tag);
 *     return 0;
 *   }
 *
 * Conventions
 * - References: every creator, and audict_copy and audict_print, gives the caller one reference, which audict_release
 *   gives back; audict_retain takes one more. A dictionary or array holds a reference of its own to each value in it,
 *   so that the caller still releases what it has put in. What audict_get, audict_at and the readers return belongs to
 *   the container and lasts until the container changes or goes.
 * - Null is accepted everywhere and means "no such value": readers give null, 0 or false for it, and for a value of
 *   another kind; operations do nothing and give false.
 * - Failures: creators give null, operations false, and then nothing has changed. Without a word about it the reason is
 *   that memory ran out.
 * - Text is UTF-8 that ends in NUL. What is not valid UTF-8 is refused.
 * - Strings, numbers, booleans and data never change. Dictionaries and arrays can be changed until they are put into
 *   another container; from then on they are fixed, so that no cycle can arise and what is shared stays what it was:
 *   operations on them give false. A copy of a fixed container can be changed again.
 * - Threads: references are counted atomically, so that several threads may hold, read, retain and release the same
 *   value. While one thread changes a container, no other may use it.
 */
#ifndef AUSPOOL_AUDICT_H
#define AUSPOOL_AUDICT_H

#include <stdbool.h>
#include <stddef.h>

#include "auspool/types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum audict_kind {
  AUDICT_NONE = 0, /* null has this kind */
  AUDICT_STRING = 1,
  AUDICT_NUMBER = 2,
  AUDICT_BOOLEAN = 3,
  AUDICT_DATA = 4,
  AUDICT_ARRAY = 5,
  AUDICT_DICTIONARY = 6
} audict_kind;

/* How a number is stored. Integers are signed. */
typedef enum audict_number_type {
  AUDICT_NO_NUMBER = 0,
  AUDICT_INT8 = 1,
  AUDICT_INT16 = 2,
  AUDICT_INT32 = 3,
  AUDICT_INT64 = 4,
  AUDICT_FLOAT32 = 5,
  AUDICT_FLOAT64 = 6
} audict_number_type;

/* How deep containers may stand in each other, the outermost included. */
enum { AUDICT_DEPTH_MAX = 64 };

/* ---- Values ---- */

/* A new, empty dictionary. */
AUSPOOL_API audict *audict_create(void);
/* A new, empty array. */
AUSPOOL_API audict *audict_create_array(void);
/* A string with a copy of `text`; null also when that is null or not valid UTF-8. */
AUSPOOL_API audict *audict_create_string(const char *text);
/* A number of one of the four integer types; null also when the type is none of them or cannot hold the value. */
AUSPOOL_API audict *audict_create_integer(int64_t value, audict_number_type type);
/* A number of type AUDICT_FLOAT64, or AUDICT_FLOAT32 with the value rounded to it; null for another type. */
AUSPOOL_API audict *audict_create_float(double value, audict_number_type type);
AUSPOOL_API audict *audict_create_boolean(bool value);
/* Data with a copy of `length` bytes; null also when `bytes` is null and `length` is not 0. */
AUSPOOL_API audict *audict_create_data(const void *bytes, size_t length);

/* Takes one more reference and returns `value`. */
AUSPOOL_API audict *audict_retain(audict *value);
/* Gives one reference back; the last one frees the value, and releases what is in it. */
AUSPOOL_API void audict_release(audict *value);
/* A deep copy: nothing done to either shows in the other. The copy of a container can be changed, the containers
 * inside it are fixed. */
AUSPOOL_API audict *audict_copy(const audict *value);
/* Whether both have the same content: the same kind, and the same text, bytes, truth, or elements in the same order,
 * or entries in any order. Numbers are equal when their values are, whatever their types; NaN equals NaN. A number
 * equals no boolean. Two nulls are equal. */
AUSPOOL_API bool audict_equal(const audict *a, const audict *b);
/* A string with the content for people to read: JSON, with data as {"length": n} and what JSON has no form for
 * (infinity, NaN) as null. Entries stand in their order. */
AUSPOOL_API audict *audict_print(const audict *value);

AUSPOOL_API audict_kind audict_kind_of(const audict *value);
AUSPOOL_API audict_number_type audict_number_type_of(const audict *value);

/* ---- Reading values ---- */

/* The text of a string, or null. */
AUSPOOL_API const char *audict_string(const audict *value);
/* Stores the value of a number, the fraction of a float cut off; false, with `*result` as it was, for everything else
 * and for floats beyond 64 bits. Like all `result` pointers it may be null. */
AUSPOOL_API bool audict_integer(const audict *value, int64_t *result);
/* Stores the value of a number of any type. */
AUSPOOL_API bool audict_float(const audict *value, double *result);
/* Stores the truth of a boolean. Numbers are not booleans. */
AUSPOOL_API bool audict_boolean(const audict *value, bool *result);
/* The first byte of data, with the number of bytes in `*length`, or null and 0. Not null for data of 0 bytes. */
AUSPOOL_API const void *audict_data(const audict *value, size_t *length);

/* ---- Containers ---- */

/* How many elements or entries an array or dictionary holds. */
AUSPOOL_API size_t audict_count(const audict *container);
/* The value at a place from 0 to count - 1 of an array or dictionary. Entries of a dictionary stand in the order in
 * which their keys came in; replacing a value keeps its place. */
AUSPOOL_API audict *audict_at(const audict *container, size_t index);
/* The key of the entry at that place of a dictionary. */
AUSPOOL_API const char *audict_key_at(const audict *dictionary, size_t index);
/* The value of a key, or null. Keys are case-sensitive. The time grows with the number of keys, which is meant for
 * dozens, not thousands. */
AUSPOOL_API audict *audict_get(const audict *dictionary, const char *key);

/* Puts a value under a key, in place of the one that is there. False also for a null value, a null key or one that is
 * not valid UTF-8, a fixed dictionary, a dictionary into itself, or a value too deep (AUDICT_DEPTH_MAX). */
AUSPOOL_API bool audict_set(audict *dictionary, const char *key, audict *value);
/* The same, but a value that is there stays, which is no failure: true when the key has a value at the end. */
AUSPOOL_API bool audict_add(audict *dictionary, const char *key, audict *value);
/* Takes a key out; false when it was not there. */
AUSPOOL_API bool audict_remove(audict *dictionary, const char *key);
/* Puts a value at the end of an array; false in the cases of audict_set. */
AUSPOOL_API bool audict_append(audict *array, audict *value);
/* Replaces, or takes out, the value at a place of an array. */
AUSPOOL_API bool audict_replace_at(audict *array, size_t index, audict *value);
AUSPOOL_API bool audict_remove_at(audict *array, size_t index);

/* ---- By key ----
 * The readers and creators above in one call with audict_get, audict_set and audict_add. */

AUSPOOL_API const char *audict_get_string(const audict *dictionary, const char *key);
AUSPOOL_API bool audict_get_integer(const audict *dictionary, const char *key, int64_t *result);
AUSPOOL_API bool audict_get_float(const audict *dictionary, const char *key, double *result);
AUSPOOL_API bool audict_get_boolean(const audict *dictionary, const char *key, bool *result);
AUSPOOL_API const void *audict_get_data(const audict *dictionary, const char *key, size_t *length);

AUSPOOL_API bool audict_set_string(audict *dictionary, const char *key, const char *text);
AUSPOOL_API bool audict_set_integer(audict *dictionary, const char *key, int64_t value, audict_number_type type);
AUSPOOL_API bool audict_set_float(audict *dictionary, const char *key, double value, audict_number_type type);
AUSPOOL_API bool audict_set_boolean(audict *dictionary, const char *key, bool value);
AUSPOOL_API bool audict_set_data(audict *dictionary, const char *key, const void *bytes, size_t length);

AUSPOOL_API bool audict_add_string(audict *dictionary, const char *key, const char *text);
AUSPOOL_API bool audict_add_integer(audict *dictionary, const char *key, int64_t value, audict_number_type type);
AUSPOOL_API bool audict_add_float(audict *dictionary, const char *key, double value, audict_number_type type);
AUSPOOL_API bool audict_add_boolean(audict *dictionary, const char *key, bool value);
AUSPOOL_API bool audict_add_data(audict *dictionary, const char *key, const void *bytes, size_t length);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_AUDICT_H */
