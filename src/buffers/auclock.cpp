#include <auspool/auclock.h>

#include <memory>
#include <new>

#include "base/wide_int.h"
#include "buffers/rational.h"
#include "platform/clock.h"

struct autimebase {
  double frequency;
  std::uint32_t numer;
  std::uint32_t denom;
};

struct auclock {
  std::uint64_t epoch_abstime;
  std::int64_t epoch_sampletime;
  double rate;
  std::uint64_t abs_to_sample_mul;
  std::uint64_t sample_to_abs_mul;
  std::uint64_t abs_to_sample_round;
  std::uint64_t sample_to_abs_round;
};

namespace auspool {
namespace {

constexpr std::int64_t kMaxDenominator = std::int64_t{1} << 48;

std::uint64_t scale_down(std::uint64_t value, std::uint32_t mul, std::uint32_t div) {
  if (mul == div) return value;
  return static_cast<std::uint64_t>(static_cast<Uint128>(value) * mul / div);
}

bool fits(std::int64_t a, std::int64_t b) {
  const auto magnitude = [](std::int64_t v) {
    return v < 0 ? 0 - static_cast<std::uint64_t>(v) : static_cast<std::uint64_t>(v);
  };
  return static_cast<Uint128>(magnitude(a)) * magnitude(b) <= UINT64_MAX;
}

struct Rates {
  Rational frequency;
  Rational rate;
};

// It ends at 2 at the latest: numerators have 63 bits.
Rates approximate(double frequency, double rate) {
  for (std::int64_t max_den = kMaxDenominator;; max_den /= 2) {
    const Rates r = {rational_approximation(frequency, max_den), rational_approximation(rate, max_den)};
    if (fits(r.frequency.den, r.rate.num) && fits(r.rate.den, r.frequency.num)) return r;
  }
}

// distance * mul / div with a rounding term, on two's complement of 128 bits.
std::uint64_t scale(Int128 distance, std::uint64_t mul, std::uint64_t round, std::uint64_t div) {
  if (div == 0) return 0;
  return static_cast<std::uint64_t>((static_cast<Uint128>(distance) * mul + round) / div);
}

autimebase read_timebase() {
  const platform::ClockRatio ratio = platform::clock_ratio();
  return {static_cast<double>(ratio.denom) / ratio.numer * 1e9, ratio.numer, ratio.denom};
}

}  // namespace
}  // namespace auspool

using namespace auspool;

double au_now() {
  static const platform::ClockRatio ratio = platform::clock_ratio();
  return static_cast<double>(ratio.numer) * static_cast<double>(platform::clock_ticks()) / ratio.denom / 1e9;
}

autimebase *autimebase_get_shared() {
  static autimebase shared = read_timebase();
  return &shared;
}

autimebase *autimebase_create() {
  return new (std::nothrow) autimebase(read_timebase());
}

void autimebase_destroy(autimebase *timebase) {
  delete timebase;
}

double autimebase_frequency(const autimebase *timebase) {
  return timebase->frequency;
}

std::uint64_t autimebase_abstime(const autimebase *) {
  return platform::clock_ticks();
}

std::uint64_t autimebase_nanoseconds(const autimebase *timebase) {
  return autimebase_abstime_to_nanoseconds(timebase, platform::clock_ticks());
}

std::uint64_t autimebase_abstime_to_nanoseconds(const autimebase *timebase, std::uint64_t ticks) {
  return scale_down(ticks, timebase->numer, timebase->denom);
}

std::uint64_t autimebase_nanoseconds_to_abstime(const autimebase *timebase, std::uint64_t nanoseconds) {
  return scale_down(nanoseconds, timebase->denom, timebase->numer);
}

auclock *auclock_create(std::uint64_t epoch_abstime, std::int64_t epoch_sampletime, double rate) {
  const Rates r = approximate(autimebase_frequency(autimebase_get_shared()), rate);
  const auto rate_num = static_cast<std::uint64_t>(r.rate.num);
  const auto frequency_num = static_cast<std::uint64_t>(r.frequency.num);
  return new (std::nothrow) auclock{
      .epoch_abstime = epoch_abstime,
      .epoch_sampletime = epoch_sampletime,
      .rate = rate,
      .abs_to_sample_mul = static_cast<std::uint64_t>(r.frequency.den) * rate_num,
      .sample_to_abs_mul = static_cast<std::uint64_t>(r.rate.den) * frequency_num,
      .abs_to_sample_round = rate_num >> 1,
      .sample_to_abs_round = frequency_num >> 1,
  };
}

auclock *auclock_create_copy(const auclock *clock) {
  return new (std::nothrow) auclock(*clock);
}

void auclock_destroy(auclock *clock) {
  delete clock;
}

std::uint64_t auclock_epoch_abstime(const auclock *clock) {
  return clock->epoch_abstime;
}

std::int64_t auclock_epoch_sampletime(const auclock *clock) {
  return clock->epoch_sampletime;
}

double auclock_rate(const auclock *clock) {
  return clock->rate;
}

std::int64_t auclock_abstime_to_sampletime(const auclock *clock, std::uint64_t abstime) {
  const Int128 distance = static_cast<Int128>(abstime) - clock->epoch_abstime;
  const std::uint64_t samples =
      scale(distance, clock->abs_to_sample_mul, clock->abs_to_sample_round, clock->sample_to_abs_mul);
  return static_cast<std::int64_t>(samples + static_cast<std::uint64_t>(clock->epoch_sampletime));
}

std::uint64_t auclock_sampletime_to_abstime(const auclock *clock, std::int64_t sampletime) {
  const Int128 distance = static_cast<Int128>(sampletime) - clock->epoch_sampletime;
  return clock->epoch_abstime +
         scale(distance, clock->sample_to_abs_mul, clock->sample_to_abs_round, clock->abs_to_sample_mul);
}
