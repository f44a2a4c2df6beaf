/* Byte rings between one writing and one reading thread: `rbuffer`, and `rbuffer2` over two planes.
 *
 *   #include <auspool/rbuffer.h>
 *   #include <stdio.h>
 *
 *   int main(void) {
 *     float block[2 * 256] = {0};
 *     rbuffer *ring = rbuffer_create(48000 * 8, 1);  // one second of stereo floats, pinned
 *     if (!ring) return 1;
 *     // on the writing thread, which never waits:
 *     int32_t written = rbuffer_write(ring, block, sizeof block);
 *     // on the reading thread, which never waits either:
 *     int32_t read = rbuffer_read(ring, block, sizeof block);
 *     printf("%d bytes in, %d out\n", written, read);
 *     // when both have ended:
 *     rbuffer_destroy(ring);
 *     return 0;
 *   }
 *
 * Conventions
 * - Sizes and counts are bytes, signed 32-bit. Every byte of the size can be used. In `rbuffer2` they
 *   count for each plane: one count governs both, so the planes never drift apart.
 * - One thread writes and one reads, at the same time if they like. Each operation says its side.
 *   Writing and reading allocate nothing, take no lock that waits and make no system call: they are
 *   safe on a real-time thread.
 * - A ring keeps whole units only if counts and size are multiples of the unit: a write that does not
 *   fit is cut to the free space, wherever that falls.
 * - A ring passed to any operation but the destroyers must not be null.
 */
#ifndef AUSPOOL_RBUFFER_H
#define AUSPOOL_RBUFFER_H

#include <auspool/types.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct rbuffer rbuffer;
typedef struct rbuffer2 rbuffer2;

/* Makes a ring of `size` bytes, zeroed and page-aligned. A size of 0 or below makes a ring without
 * storage, on which every read and write gives 0 until rbuffer_set_size. Where `lock_memory` is not 0,
 * storage is pinned in memory, now and at each later rbuffer_set_size; if the system refuses, the ring
 * works unpinned. Returns null if memory ran out. */
AUSPOOL_API rbuffer *rbuffer_create(int32_t size, int32_t lock_memory);

/* Releases the ring and its storage. Neither side may be in an operation. Accepts null. */
AUSPOOL_API void rbuffer_destroy(rbuffer *ring);

/* Gives the ring new, zeroed storage of `size` bytes and drops what it held; 0 or below only releases
 * the storage. The caller keeps both sides away meanwhile. Not for a real-time thread. Returns 0, or -1
 * if memory ran out: the ring is then without storage, and usable as such. */
AUSPOOL_API int32_t rbuffer_set_size(rbuffer *ring, int32_t size);

/* Writing side. Copies up to `count` bytes from `source` into the ring and returns how many fitted,
 * possibly 0; what the ring holds is never overwritten. Null sources and counts below 1 give 0. */
AUSPOOL_API int32_t rbuffer_write(rbuffer *ring, const void *source, int32_t count);

/* Reading side. Moves up to `count` bytes from the ring to `destination`, or drops them if that is null,
 * and returns how many. Returns 0 when the ring is empty, and when a flush is under way. */
AUSPOOL_API int32_t rbuffer_read(rbuffer *ring, void *destination, int32_t count);

/* Any thread. Drops what the ring holds at the moment of the call. Waits, in sleeps of 20 microseconds,
 * while a read or another flush is under way; bytes that are written meanwhile stay. */
AUSPOOL_API void rbuffer_flush(rbuffer *ring);

/* The same, under the name for callers on the writing side. */
AUSPOOL_API void rbuffer_flush_w(rbuffer *ring);

/* Empties the ring and starts again at the beginning of its storage, without any lock. Only for a moment
 * when neither side runs. */
AUSPOOL_API void rbuffer_flush_sync(rbuffer *ring);

/* Either side. Bytes that wait to be read: the reader finds at least as many. */
AUSPOOL_API int32_t rbuffer_used_space(const rbuffer *ring);

/* Either side. Bytes that can be written: the writer finds at least as many. */
AUSPOOL_API int32_t rbuffer_free_space(const rbuffer *ring);

/* The capacity in bytes, 0 without storage. */
AUSPOOL_API int32_t rbuffer_size(const rbuffer *ring);

/* The ring over two planes, for two channels in buffers of their own. All sizes and counts are those of
 * one plane. What is not told here is as above. */

/* Makes both planes in one block of about twice `size`. Sizes above 1073741820 are treated as memory
 * that ran out. The second plane may begin at any multiple of 4 bytes. */
AUSPOOL_API rbuffer2 *rbuffer2_create(int32_t size, int32_t lock_memory);
AUSPOOL_API void rbuffer2_destroy(rbuffer2 *ring);
AUSPOOL_API int32_t rbuffer2_set_size(rbuffer2 *ring, int32_t size);

/* Writes `count` bytes to each plane. Returns 0, and writes nothing, unless both sources are given. */
AUSPOOL_API int32_t rbuffer2_write(rbuffer2 *ring, const void *source0, const void *source1, int32_t count);

/* Reads `count` bytes of each plane. A plane whose destination is null is dropped. */
AUSPOOL_API int32_t rbuffer2_read(rbuffer2 *ring, void *destination0, void *destination1, int32_t count);

AUSPOOL_API void rbuffer2_flush(rbuffer2 *ring);
AUSPOOL_API void rbuffer2_flush_w(rbuffer2 *ring);
AUSPOOL_API void rbuffer2_flush_sync(rbuffer2 *ring);
AUSPOOL_API int32_t rbuffer2_used_space(const rbuffer2 *ring);
AUSPOOL_API int32_t rbuffer2_free_space(const rbuffer2 *ring);
AUSPOOL_API int32_t rbuffer2_size(const rbuffer2 *ring);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_RBUFFER_H */
