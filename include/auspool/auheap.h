/* A binary min-heap of pointers with a fixed capacity and the caller's order. For one thread; it never allocates after
 * creation, so it is fit for the real-time thread as far as the order function is.
 *
 * Of items with equal keys, the one added later comes out first when they meet on a path from leaf to root.
 *
 *   #include <auspool/auheap.h>
 *   #include <stdint.h>
 *
 *   static int earlier(const void *a, const void *b, void *context) {
 *     (void)context;
 *     return *(const int64_t *)a < *(const int64_t *)b;
 *   }
 *
 *   int main(void) {
 *     int64_t times[] = {3, 1, 2};
 *     auheap *heap = auheap_create(8, earlier, 0);
 *     if (!heap) return 1;
 *     for (int i = 0; i < 3; ++i) auheap_add(heap, &times[i]);
 *     int64_t first = *(int64_t *)auheap_get_and_remove_minimum(heap);
 *     auheap_destroy(heap);
 *     return first == 1 ? 0 : 1;
 *   }
 */
#ifndef AUSPOOL_AUHEAP_H
#define AUSPOOL_AUHEAP_H

#include <auspool/types.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct auheap auheap;

/* Nonzero when `a` sorts before `b`. `context` is what auheap_create was given. */
typedef int (*auheap_less_than)(const void *a, const void *b, void *context);

/* An empty heap for up to `capacity` items, or null if there is no memory or `capacity` is negative. */
AUSPOOL_API auheap *auheap_create(int32_t capacity, auheap_less_than less_than, void *context);

/* Releases the heap and leaves the items alone. Accepts null. */
AUSPOOL_API void auheap_destroy(auheap *heap);

/* Calls `callback` on every item still held, in no particular order, then releases the heap. Accepts a null heap. */
AUSPOOL_API void auheap_destroy_with_callback(auheap *heap, void (*callback)(void *item));

/* Adds an item, which stays the caller's. Returns 1, or 0 when the heap is full: nothing has changed then. */
AUSPOOL_API int auheap_add(auheap *heap, void *item);

/* The first item in order, left in or taken out; null when the heap is empty. */
AUSPOOL_API void *auheap_get_minimum(const auheap *heap);
AUSPOOL_API void *auheap_get_and_remove_minimum(auheap *heap);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_AUHEAP_H */
