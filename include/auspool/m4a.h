/* m4a: writes MPEG-4 audio files, one track of AAC or ALAC packets, while they are being recorded.
 *
 * There are two forms. A plain file holds all packets in one `mdat` and gets its index at the end: it is the form that
 * every player knows best, and is worth nothing until m4a_finish has run. A fragmented file has its index in pieces of
 * about five seconds in front of the audio that they tell of: cut off anywhere, it plays up to its last whole piece.
 *
 * The writer knows nothing of codecs: it is told channels, rate, frames a packet and bitrate, and is handed packets.
 *
 *   #include <auspool/m4a.h>
 *
 *   // An AAC stream with ADTS headers of 7 bytes, 44100 Hz and stereo, becomes a file.
 *   int main(void) {
 *     FILE *in = fopen("speech.aac", "rb"), *out = fopen("speech.m4a", "wb");
 *     m4a_t *m4a = m4a_begin(out, NULL, 2, 44100, 1024, 128000, M4A_PROFILE_LC);  // null without a file
 *     if (!in || !m4a) return 1;
 *     unsigned char head[7], packet[8192];
 *     while (fread(head, 1, 7, in) == 7) {
 *       const int size = ((head[3] & 3) << 11 | head[4] << 3 | head[5] >> 5) - 7;
 *       if (size < 0 || fread(packet, 1, (size_t)size, in) != (size_t)size) break;
 *       m4a_write_sample(m4a, packet, size);
 *     }
 *     if (m4a_finish(m4a, NULL, M4A_KIND_AAC, NULL) != 0) return 1;
 *     fclose(in);
 *     return fclose(out) == 0 ? 0 : 1;  // the streams are the caller's
 *   }
 *
 * Conventions
 * - A record has one user at a time. No call is fit for a real-time thread.
 * - Streams belong to the caller, must be open for writing, unbuffered or flushed before anybody else reads them, and
 *   stay open for as long as the record lives.
 * - A plain file ends at 4 GiB, index and all: packets beyond are left out. No packet may have more than 32767 bytes:
 * sizes are kept in 16 bits.
 * - Where the disk does not take a packet whole, it is left out, with those before it that had not reached the disk
 * yet. What follows stands where the index says. The stream's error indicator stays set, and is how a caller learns of
 * it.
 */
#ifndef AUSPOOL_M4A_H
#define AUSPOOL_M4A_H

#include <auspool/types.h>
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct m4a_t m4a_t;
typedef struct aurec aurec;

enum { M4A_KIND_AAC = 0, M4A_KIND_ALAC = 1 };

/* Profiles of AAC. Of the other two the file tells the core layer only: decoders find the extension in the packets. */
enum { M4A_PROFILE_LC = 0, M4A_PROFILE_HE = 1, M4A_PROFILE_HE_V2 = 2 };

/* What a file's fast-start fix needs. The caller fills all but `pieces`, and keeps the record alive until done_proc has
 * been called with it, which ends the fix's interest in record and stream. */
typedef struct fs_fix_th_data_t {
  struct aurec *aurec; /* whose jobs this one is counted with, see aurec_thread_count_increment; may be null */
  void (*done_proc)(struct fs_fix_th_data_t *fix_data); /* called on the job's own thread; may be null */
  FILE *file;                                           /* the stream of the file, open for reading too */
  struct m4a_pieces *pieces;                            /* the library's */
  void *post_proc;                                      /* for done_proc */
} fs_fix_th_data_t;

/* ---- Plain files ---- */

/* Begins a file at the start of `file`. Packets go behind its first 40 bytes. `recovery_file`, if not null, receives
 * from its present position channels, rate, frames a packet and bitrate, then the size of each packet as soon as it is
 * written, all as 32-bit big-endian numbers: enough to build the index of a recording that was cut off. `sample_rate`
 * is in Hz, `packet_frames` the frames of every packet, `bitrate` in bits a second (0 for ALAC). Null, with the streams
 * left to the caller, when `file` is null, cannot be written, or memory runs out. The record gets nothing more once it
 * could not be written, and is cut when packets are given up: it never tells of more than there is. */
AUSPOOL_API m4a_t *m4a_begin(FILE *file, FILE *recovery_file, uint32_t channels, uint32_t sample_rate,
                             uint32_t packet_frames, uint32_t bitrate, int32_t profile);

/* Appends a packet of `size` bytes. One that could not be written is left out without a word. */
AUSPOOL_API void m4a_write_sample(m4a_t *m4a, const void *data, int32_t size);

/* Takes over the configuration in the 48 bytes or more of an ALAC encoder's cookie: 24 bytes that follow its first 24.
 * A shorter cookie clears it; then m4a_finish builds one for 16-bit audio. */
AUSPOOL_API void m4a_alac_setinfo(m4a_t *m4a, const void *cookie, int32_t size);

/* Writes the index, with `tags` (may be null) in it, and releases `m4a`. Without `fix_data` the index is at the end of
 * the file when the call returns. With it, a background job moves the audio up and puts the index in front of it, so
 * that the file plays before it has been read whole; the job has the stream from then on. Where the file cannot grow
 * for that, it is not touched and the index goes to the end. Before any of this room is set aside for the index. Where
 * the disk has none, the last packets are given up for it, a few kilobytes more than it needs: the file is whole for
 * those that are left. A file system that cannot set room aside is taken to have it. 0, or nonzero if the file is not
 * complete (`fix_data` stays with the caller then): memory or the stream failed, or not even an index without packets
 * finds room. A `kind` that is none gives -1 and leaves `m4a` alive. */
AUSPOOL_API int32_t m4a_finish(m4a_t *m4a, const audict *tags, int32_t kind, fs_fix_th_data_t *fix_data);

/* ---- Fragmented files ---- */

/* Begins a file at the start of `file`, with its tags (may be null). Parameters and failures as for m4a_begin. */
AUSPOOL_API m4a_t *m4a_begin_fragmented(FILE *file, const audict *tags, int32_t kind, uint32_t channels,
                                        uint32_t sample_rate, uint32_t packet_frames, uint32_t bitrate,
                                        int32_t profile);

/* Appends a packet. A fragment is complete on the disk once it holds five seconds, 10 packets at least and 1021 at
 * most. Packets of no bytes, and those that could not be written, are left out, and so is a fragment whose index could
 * not be written. */
AUSPOOL_API void m4a_write_sample_fragmented(m4a_t *m4a, const void *data, int32_t size);

/* Completes the last fragment, which needs no memory, and returns 0. `kind` is not looked at. The record is not
 * released: it is left to the end of the process, some kilobytes for each file. */
AUSPOOL_API int32_t m4a_finish_fragmented(m4a_t *m4a, int32_t kind);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_M4A_H */
