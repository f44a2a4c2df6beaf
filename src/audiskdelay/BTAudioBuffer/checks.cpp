#include "audiskdelay/BTAudioBuffer/checks.h"

#include <cstdio>

namespace auspool::audiskdelay {
namespace {

constexpr const char *kSource = "src/audiskdelay/BTAudioBuffer";

}  // namespace

void assert_failed(const char *expression, unsigned line) {
  std::fprintf(stderr, "Assertion failed: %s  %s:%u\n", expression, kSource, line);
  __builtin_trap();
}

bool check(bool holds, const char *expression, unsigned line) {
  if (!holds) std::fprintf(stderr, "Check failed: %s  %s:%u\n", expression, kSource, line);
  return holds;
}

}  // namespace auspool::audiskdelay
