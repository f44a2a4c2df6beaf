/* A queue of pointers from any number of producers to one real-time consumer, who never waits, allocates or frees.
 *
 * The newest pointer comes out first: the queue keeps no order, that is the business of whoever sorts behind it.
 * What the consumer has finished with is destroyed on a producer's thread, at the next auptrbuf_add or at
 * auptrbuf_destroy, by the callback given at creation.
 *
 *   #include <auspool/auptrbuf.h>
 *   #include <stdlib.h>
 *
 *   int main(void) {
 *     auptrbuf *queue = auptrbuf_create(free);
 *     if (!queue) return 1;
 *     auptrbuf_add(queue, malloc(100));                               // a producer
 *     auptrbuf_node *node = auptrbuf_get_and_remove_node(queue);      // the consumer
 *     if (node) {
 *       void *packet = auptrbuf_node_get_ptr(node);
 *       (void)packet;                                                 // used here, and not after the next line
 *       auptrbuf_free_node(queue, node);
 *     }
 *     auptrbuf_destroy(queue);
 *     return 0;
 *   }
 */
#ifndef AUSPOOL_AUPTRBUF_H
#define AUSPOOL_AUPTRBUF_H

#include <auspool/types.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct auptrbuf auptrbuf;
typedef struct auptrbuf_node auptrbuf_node;

/* Destroys a stored pointer. Runs on a producer's thread with the producers' lock held: it must not call auptrbuf_add.
 */
typedef void (*auptrbuf_free_callback)(void *ptr);

/* An empty queue, or null if there is no memory. `free_callback` must not be null. */
AUSPOOL_API auptrbuf *auptrbuf_create(auptrbuf_free_callback free_callback);

/* Destroys every pointer still held, those waiting first, and the queue. No other thread may be using it. Accepts null.
 */
AUSPOOL_API void auptrbuf_destroy(auptrbuf *queue);

/* Producers: hands over `ptr`, which belongs to the queue from now on, and destroys what the consumer has finished
 * with. Producers take turns on a short lock; the consumer is not concerned. If there is no memory for the entry, `ptr`
 * is destroyed at once. Not for a real-time thread. */
AUSPOOL_API void auptrbuf_add(auptrbuf *queue, void *ptr);

/* The consumer: takes out the newest entry, or null if nothing waits. Real-time safe. The entry and its pointer are the
 * consumer's until auptrbuf_free_node. One thread at a time may be the consumer. */
AUSPOOL_API auptrbuf_node *auptrbuf_get_and_remove_node(auptrbuf *queue);

/* The pointer of an entry. Real-time safe. */
AUSPOOL_API void *auptrbuf_node_get_ptr(const auptrbuf_node *node);

/* The consumer: gives an entry back to be destroyed by a producer later. Real-time safe. */
AUSPOOL_API void auptrbuf_free_node(auptrbuf *queue, auptrbuf_node *node);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_AUPTRBUF_H */
