// Flushes denormal numbers to zero for the length of a scope. A decaying filter tail otherwise
// costs a hundred cycles a sample on x86. The mode of before is restored.
#pragma once

#include <cstdint>

#if defined(__SSE__)
#include <xmmintrin.h>
#endif

namespace auspool {

class DenormalGuard {
public:
#if defined(__SSE__)
  DenormalGuard() : saved_(_mm_getcsr()) {
    _mm_setcsr(saved_ | kFlushToZero | kDenormalsAreZero);
  }
  ~DenormalGuard() {
    _mm_setcsr(saved_);
  }
#elif defined(__aarch64__)
  DenormalGuard() {
    asm volatile("mrs %0, fpcr" : "=r"(saved_));
    asm volatile("msr fpcr, %0" ::"r"(saved_ | kFlushToZero));
  }
  ~DenormalGuard() {
    asm volatile("msr fpcr, %0" ::"r"(saved_));
  }
#else
  DenormalGuard() = default;
#endif
  DenormalGuard(const DenormalGuard &) = delete;
  DenormalGuard &operator=(const DenormalGuard &) = delete;

private:
#if defined(__SSE__)
  static constexpr unsigned kFlushToZero = 0x8000;
  static constexpr unsigned kDenormalsAreZero = 0x0040;
  unsigned saved_;
#elif defined(__aarch64__)
  static constexpr std::uint64_t kFlushToZero = 1u << 24;
  std::uint64_t saved_;
#endif
};

}  // namespace auspool
