#include "platform/clock.h"

#include <ctime>

namespace auspool::platform {
namespace {

const ClockSource *replacement = nullptr;

}  // namespace

std::uint64_t clock_ticks() {
  if (replacement) return replacement->ticks(replacement->context);
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1000000000u + static_cast<std::uint64_t>(now.tv_nsec);
}

std::uint64_t time_of_day() {
  if (replacement && replacement->time_of_day) return replacement->time_of_day(replacement->context);
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1000000u + static_cast<std::uint64_t>(now.tv_nsec) / 1000u;
}

ClockRatio clock_ratio() {
  return replacement ? replacement->ratio : ClockRatio{};
}

void replace_clock(const ClockSource *source) {
  replacement = source;
}

}  // namespace auspool::platform
