/* autag2: tags and chapters of audio files.
 *
 * The functions read, build and rewrite the metadata of audio files. They take file paths and dictionaries
 * (auspool/audict.h), find out from its first bytes what a file is, and hold nothing between calls.
 *
 *   #include <auspool/autag2.h>
 *   #include <stdio.h>
 *
 *   int main(void) {
 *     const char *path = "night-train.aiff";
 *     int32_t error = 0;
 *     audict *tag = autag2_read(path, &error, NULL);
 *     const char *title = audict_get_string(tag, "Title");
 *     printf("%s (result %d)\n", title != NULL ? title : "no title", (int)error);
 *     if (tag != NULL && audict_set_string(tag, "Album", "Live at the Barn")) {
 *       error = autag2_write(path, tag);
 *     }
 *     audict_release(tag);
 *     return error == 0 ? 0 : 1;
 *   }
 *
 * Tag dictionary: the same keys for all formats. What a format has no place for is left out of its files.
 *
 *   key                                           value     meaning
 *   "Title" "Artist" "Album" "Comment" "Genre"    string    the genre always as text
 *   "Grouping" "Composer" "Lyrics" "Encoder"      string
 *   "Sidekick"                                    string    album artist
 *   "EncoderSettings"                             string    how the encoder was set
 *   "Year"                                        number    above 0
 *   "BPM"                                         number    beats per minute
 *   "TrackNum" "TrackTotal" "DiscNum" "DiscTotal" number
 *   "TrackLength"                                 number    milliseconds, for ID3; written, never read back
 *   "Compilation"                                 boolean   only true has an effect (a number in FLAC)
 *   "AlbumCover"                                  data      bytes of a JPEG, PNG, GIF or TIFF file
 *   "iTunesStik"                                  number    8 bits; kind of media, M4A only
 *   "ID3Podcast"                                  any       its presence marks a podcast in ID3; read as true
 *   "BinaryBlobs"                                 array     FLAC only: unknown comments, each an array of two data
 *                                                           values, name and content
 *   "Autag2GaplessInfo"                           dictionary M4A only: numbers "Autag2GaplessEncoderDelay",
 *                                                           "Autag2GaplessPadding" (32 bits),
 *                                                           "Autag2GaplessTrueSampleCount" (64 bits)
 *
 * Chapter dictionary: up to three arrays of dictionaries in the order of time. Times are numbers in seconds.
 *
 *   "Autag2ChapterTOCTrack"    "Autag2ChapterElementStartTime" "Autag2ChapterElementDuration"
 *                              "Autag2ChapterElementTitle" (string)
 *   "Autag2ChapterImageTrack"  the two times, "Autag2ChapterElementImage" (data; empty for no picture)
 *   "Autag2ChapterHRefTrack"   the two times, "Autag2ChapterElementURL" (string),
 *                              "Autag2ChapterElementTitle" (string)
 *
 * Conventions
 * - Results are 0, a positive errno value, or one of the four-letter codes below.
 * - Readers give what they have gathered along with an error; null with an error means that nothing usable was found.
 * - Writers make the new tag before they touch the file, and then edit the file itself. A failure half way leaves it
 *   partly rewritten. docs/tags.md tells what is moved when.
 * - Null dictionaries and paths are accepted: null from a reader or creator, EINVAL where a path is missing.
 * - All functions may be called from any thread; two of them must not work on the same file at once when one writes.
 *   None is for the real-time thread.
 */
#ifndef AUSPOOL_AUTAG2_H
#define AUSPOOL_AUTAG2_H

#include "auspool/audict.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Formats. */
enum {
  AUTAG2_AIFF = 0,
  AUTAG2_MP3 = 1, /* with ID3 */
  AUTAG2_M4A = 2,
  AUTAG2_WAVE = 3,
  AUTAG2_CAF = 4,
  AUTAG2_FLAC = 5
};

/* Results: four letters as a big-endian number. */
enum {
  AUTAG2_ETAG = 0x45746167, /* "Etag": no known format, or a tag of a version or with flags that are not supported */
  AUTAG2_EPRS = 0x45707273, /* "Eprs": a malformed chunk, atom or frame */
  AUTAG2_EUNK = 0x45756E6B, /* "Eunk": memory ran out; FLAC: the metadata could not be written */
  AUTAG2_EMEM = 0x456D656D, /* "Emem": FLAC: the metadata could not be gone through */
  AUTAG2_EIMP = 0x45696D70, /* "Eimp": not implemented for the format */
  AUTAG2_ESND = 0x45736E64  /* "Esnd": M4A chapters: no track with a sample description */
};

/* The kinds of autag2_genre_list. */
enum { AUTAG2_GENRES_ID3 = 0, AUTAG2_GENRES_ITUNES = 1 };

/* Blocks for a library that writes the file itself. */
typedef struct autag2_data {
  void (*dispose)(void *pointer); /* releases one of the pointers; may be null */
  uint32_t count;                 /* how many of the pointers are used */
  void *pointers[2];
} autag2_data;

/* Reads the tag of a file into a new dictionary that the caller releases. `error` and `format` may be null. `*error` is
 * always set, to errno when the file will not open; `*format` only when the file is of a known format. A file of no
 * known format gives null and 0. */
AUSPOOL_API audict *autag2_read(const char *path, int32_t *error, uint32_t *format);

/* Replaces the tag of an existing file by this one; keys that are not in the dictionary go. "Etag" when the file is of
 * no known format, "Eimp" for CAF. */
AUSPOOL_API int32_t autag2_write(const char *path, const audict *tag);

/* The bytes that hold the tag in a file of that format, as new data that the caller releases; for FLAC, whose blocks
 * come from the next function, the dictionary as a binary property list. Null for an unknown format, or when there is
 * nothing to write. */
AUSPOOL_API audict *autag2_create(const audict *tag, uint32_t format);

/* For format 5 the tag as blocks for libFLAC's encoder (`FLAC__StreamMetadata`: the comments, and behind them a cover
 * that is JPEG or PNG), null for all others, and in a build without libFLAC. The caller gives it back to
 * autag2_dispose_data once the encoder has finished. */
AUSPOOL_API autag2_data *autag2_create_data(const audict *tag, int32_t format);
AUSPOOL_API void autag2_dispose_data(autag2_data *data);

/* Reads the chapters of an M4A or MP3 file into a new chapter dictionary that the caller releases. Null and 0 for
 * other formats. `error` may be null. */
AUSPOOL_API audict *autag2_chapter_read(const char *path, int32_t *error);

/* The chapters as the bytes that a file of that format holds. For format 1 `CTOC` and `CHAP` frames without an ID3
 * header. For format 2 a `trak` atom for titles, pictures and links each, as far as they are there, with ids from 2 on
 * and durations in milliseconds, and an `mdat` with their samples; the last word of each `trak` is the offset of its
 * samples, counted from the content of that `mdat` (docs/tags.md tells how a host puts them into its file). Null for
 * other formats, for a dictionary without chapters, and when memory runs out. */
AUSPOOL_API audict *autag2_chapter_create(const audict *chapters, uint32_t format);

/* Chapters of existing files cannot be replaced yet: -1 for M4A, "Etag" for other formats. */
AUSPOOL_API int32_t autag2_chapter_write(const char *path, const audict *chapters);

/* The name of a genre by its ID3 number, as a new string that the caller releases. Null for a number outside the list,
 * or when the list cannot be loaded. */
AUSPOOL_API audict *autag2_copy_genre_for_index(int32_t index);

/* An array of names, in the order of their numbers; it belongs to the library and lasts as long as the program. Null
 * for another kind, and when the list, a file installed with the library, cannot be loaded: the next call tries
 * again. */
AUSPOOL_API const audict *autag2_genre_list(int32_t kind);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_AUTAG2_H */
