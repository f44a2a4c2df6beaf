/* Clocks: the host's time in seconds, its ticks in nanoseconds, and sample counts against ticks without drift.
 *
 * An autimebase converts between ticks of the host's clock and nanoseconds. An auclock converts between ticks and a
 * sample count at a given rate. Both keep their ratios as exact integers, so a conversion depends only on the distance
 * from the epoch: rounding never adds up, however long the run.
 *
 * Records never change after creation. Every function here may be called from any thread; conversions, reads and
 * au_now (from its second call on) are fit for the real-time thread: they allocate nothing and take no lock.
 *
 *   #include <auspool/auclock.h>
 *   #include <stdio.h>
 *
 *   int main(void) {
 *     uint64_t start = autimebase_abstime(autimebase_get_shared());
 *     auclock *clock = auclock_create(start, 0, 44100.0);
 *     if (!clock) return 1;
 *     uint64_t one_second_in = auclock_sampletime_to_abstime(clock, 44100);
 *     printf("sample 44100 comes %llu ticks after sample 0\n", (unsigned long long)(one_second_in - start));
 *     auclock_destroy(clock);
 *     return 0;
 *   }
 */
#ifndef AUSPOOL_AUCLOCK_H
#define AUSPOOL_AUCLOCK_H

#include <auspool/types.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct autimebase autimebase;
typedef struct auclock auclock;

/* The host's time in seconds since an arbitrary start; never steps back. The first call reads the clock's ratio. */
AUSPOOL_API double au_now(void);

/* The timebase that all share, made on first use and never released. Never null. */
AUSPOOL_API autimebase *autimebase_get_shared(void);

/* A timebase of the caller's own, released with autimebase_destroy; null if there is no memory. */
AUSPOOL_API autimebase *autimebase_create(void);
AUSPOOL_API void autimebase_destroy(autimebase *timebase);

/* Ticks per second. */
AUSPOOL_API double autimebase_frequency(const autimebase *timebase);

/* The time now, in ticks and in nanoseconds. autimebase_abstime does not read `timebase`, which may be null. */
AUSPOOL_API uint64_t autimebase_abstime(const autimebase *timebase);
AUSPOOL_API uint64_t autimebase_nanoseconds(const autimebase *timebase);

/* Conversions by the exact ratio, rounded down. */
AUSPOOL_API uint64_t autimebase_abstime_to_nanoseconds(const autimebase *timebase, uint64_t ticks);
AUSPOOL_API uint64_t autimebase_nanoseconds_to_abstime(const autimebase *timebase, uint64_t nanoseconds);

/* A clock on which sample `epoch_sampletime` comes at tick `epoch_abstime`, with `rate` samples a second. Null if there
 * is no memory.
 *
 * The rate and the frequency of ticks are kept as fractions with a denominator of at most 2^48. Where the products of
 * the two would pass 64 bits, as with most measured rates, the bound is halved until they fit: the fraction for
 * 48000.123 is then still within a billionth of a billionth of it.
 *
 * `rate` must be positive. On a clock of rate 0 (and of a rate that is no number, infinite, or too small or too large
 * for 64 bits, which count as 0) every time converts to the epoch; a negative rate gives meaningless results. */
AUSPOOL_API auclock *auclock_create(uint64_t epoch_abstime, int64_t epoch_sampletime, double rate);

/* A second clock like the first; null if there is no memory. */
AUSPOOL_API auclock *auclock_create_copy(const auclock *clock);
AUSPOOL_API void auclock_destroy(auclock *clock);

AUSPOOL_API uint64_t auclock_epoch_abstime(const auclock *clock);
AUSPOOL_API int64_t auclock_epoch_sampletime(const auclock *clock);
AUSPOOL_API double auclock_rate(const auclock *clock);

/* The sample that is due at a tick, and the tick at which a sample is due. From samples to ticks and back gives the
 * same sample at whole rates; at others it may give the one before. The rounding favours that road: a tick maps nearly
 * to the floor, and at whole rates a sample's tick lies half a sample late. Times before the epoch are not supported;
 * their results have no meaning. */
AUSPOOL_API int64_t auclock_abstime_to_sampletime(const auclock *clock, uint64_t abstime);
AUSPOOL_API uint64_t auclock_sampletime_to_abstime(const auclock *clock, int64_t sampletime);

#ifdef __cplusplus
}
#endif

#endif /* AUSPOOL_AUCLOCK_H */
