#include "support/watch.h"

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>
#include <thread>
#include <type_traits>

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
#define AUSPOOL_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define AUSPOOL_SANITIZED 1
#endif
#endif

namespace auspool::testing {
namespace {

#ifdef AUSPOOL_SANITIZED
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

struct Watch {
  bool realtime = false;
  const char *allowed = "";
  const char *violation = nullptr;  // the first forbidden call of a guarded scope

  const char *failing_call = nullptr;
  int failing_nth = 0;  // 0 for all, otherwise counts down to the one that fails
  int failing_error = 0;
  int failures = 0;

  int allocation_to_fail = 0;
  bool allocation_failed = false;

  long allocations = 0;
  long releases = 0;
  long bytes_of_new = 0;
};
thread_local constinit Watch watch;

constexpr bool is_memory(const char *kind) {
  return kind[0] == 'm';
}

void note(const char *call) {
  if (watch.realtime && !watch.violation && !std::strstr(watch.allowed, call)) watch.violation = call;
}

bool must_fail(const char *kind, const char *call) {
  if (is_memory(kind) && watch.allocation_to_fail > 0 && --watch.allocation_to_fail == 0) {
    watch.allocation_failed = true;
    errno = ENOMEM;
    return true;
  }
  if (!watch.failing_call || std::strcmp(watch.failing_call, call) != 0) return false;
  if (watch.failing_nth > 0) {
    if (--watch.failing_nth > 0) return false;
    watch.failing_call = nullptr;
  }
  ++watch.failures;
  errno = watch.failing_error;
  return true;
}

// What a failing call of this name gives.
template <typename Result>
Result failure_of(const char *call) {
  if constexpr (std::is_pointer_v<Result>) {
    if (std::strcmp(call, "mmap") == 0) return static_cast<Result>(MAP_FAILED);
    return nullptr;
  } else if constexpr (std::is_unsigned_v<Result>) {
    return 0;
  } else {
    return std::strncmp(call, "pthread_", 8) == 0 ? static_cast<Result>(errno) : static_cast<Result>(-1);
  }
}

}  // namespace

#define WATCH(kind, call, result, parameters, arguments)           \
  extern "C" result __real_##call parameters;                      \
  extern "C" result __wrap_##call parameters;                      \
  extern "C" result __wrap_##call parameters {                     \
    note(#call);                                                   \
    if (must_fail(#kind, #call)) return failure_of<result>(#call); \
    if (is_memory(#kind)) ++watch.allocations;                     \
    return __real_##call arguments;                                \
  }
#define WATCH_GROW(kind, call, result, parameters, arguments)      \
  extern "C" result __real_##call parameters;                      \
  extern "C" result __wrap_##call parameters;                      \
  extern "C" result __wrap_##call parameters {                     \
    note(#call);                                                   \
    if (must_fail(#kind, #call)) return failure_of<result>(#call); \
    if (!block) ++watch.allocations;                               \
    return __real_##call arguments;                                \
  }
#define WATCH_FREE(kind, call, result, parameters, arguments) \
  extern "C" result __real_##call parameters;                 \
  extern "C" result __wrap_##call parameters;                 \
  extern "C" result __wrap_##call parameters {                \
    note(#call);                                              \
    if (block) ++watch.releases;                              \
    return __real_##call arguments;                           \
  }
#include "support/watched_calls.inc"
// Other libraries call these too, which makes the linker look for ours from there.
#pragma GCC visibility push(default)
#ifdef AUSPOOL_FLAC
#include "support/watched_flac.inc"
#endif
#ifdef AUSPOOL_LAME
#include "support/watched_lame.inc"
#endif
#ifdef AUSPOOL_LIBAV
#include "support/watched_libav.inc"
#endif
#pragma GCC visibility pop
#undef WATCH
#undef WATCH_GROW
#undef WATCH_FREE

namespace {

void *allocate(std::size_t size, std::size_t alignment) noexcept {
  note("operator new");
  if (must_fail("memory", "operator new")) return nullptr;
  ++watch.allocations;
  watch.bytes_of_new += static_cast<long>(size);
  if (alignment <= alignof(std::max_align_t)) return __real_malloc(size != 0 ? size : 1);
  return __real_aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
}

void *allocate_or_throw(std::size_t size, std::size_t alignment) {
  void *block = allocate(size, alignment);
  if (!block) throw std::bad_alloc();
  return block;
}

void release(void *block) noexcept {
  note("operator delete");
  if (block) ++watch.releases;
  __real_free(block);
}

}  // namespace
}  // namespace auspool::testing

// Replaced, not wrapped: so the C++ library's own calls, those of std::string among them, pass here too.
using auspool::testing::allocate;
using auspool::testing::allocate_or_throw;
using auspool::testing::release;
#define REPLACE_OPERATORS(suffix)                                                                            \
  void *operator new suffix(std::size_t size) {                                                              \
    return allocate_or_throw(size, 1);                                                                       \
  }                                                                                                          \
  void *operator new suffix(std::size_t size, std::align_val_t alignment) {                                  \
    return allocate_or_throw(size, static_cast<std::size_t>(alignment));                                     \
  }                                                                                                          \
  void *operator new suffix(std::size_t size, const std::nothrow_t &) noexcept {                             \
    return allocate(size, 1);                                                                                \
  }                                                                                                          \
  void *operator new suffix(std::size_t size, std::align_val_t alignment, const std::nothrow_t &) noexcept { \
    return allocate(size, static_cast<std::size_t>(alignment));                                              \
  }                                                                                                          \
  void operator delete suffix(void *block) noexcept {                                                        \
    release(block);                                                                                          \
  }                                                                                                          \
  void operator delete suffix(void *block, std::size_t) noexcept {                                           \
    release(block);                                                                                          \
  }                                                                                                          \
  void operator delete suffix(void *block, std::align_val_t) noexcept {                                      \
    release(block);                                                                                          \
  }                                                                                                          \
  void operator delete suffix(void *block, std::size_t, std::align_val_t) noexcept {                         \
    release(block);                                                                                          \
  }                                                                                                          \
  void operator delete suffix(void *block, const std::nothrow_t &) noexcept {                                \
    release(block);                                                                                          \
  }                                                                                                          \
  void operator delete suffix(void *block, std::align_val_t, const std::nothrow_t &) noexcept {              \
    release(block);                                                                                          \
  }
REPLACE_OPERATORS()
REPLACE_OPERATORS([])
#undef REPLACE_OPERATORS

namespace auspool::testing {

RealtimeGuard::RealtimeGuard() : RealtimeGuard("") {}

RealtimeGuard::RealtimeGuard(const char *allowed) {
  watch.violation = nullptr;
  watch.allowed = allowed;
  watch.realtime = true;
}

RealtimeGuard::~RealtimeGuard() {
  watch.realtime = false;
  if (watch.violation) ADD_FAILURE() << "real-time code called " << watch.violation;
}

CallFailer::CallFailer(const char *call, int nth, int error) {
  watch.failing_call = call;
  watch.failing_nth = nth;
  watch.failing_error = error;
  watch.failures = 0;
}

CallFailer::~CallFailer() {
  watch.failing_call = nullptr;
}

int CallFailer::failures() const {
  return watch.failures;
}

AllocationFailer::AllocationFailer(int nth) {
  watch.allocation_failed = false;
  watch.allocation_to_fail = nth;
}

AllocationFailer::~AllocationFailer() {
  watch.allocation_to_fail = 0;
}

bool AllocationFailer::failed() const {
  return watch.allocation_failed;
}

int fail_each_allocation(const std::function<bool()> &create) {
  for (int nth = 1;; ++nth) {
    const long before = live_allocations();
    bool created = false;
    bool failed = false;
    {
      AllocationFailer failer(nth);
      created = create();
      failed = failer.failed();
    }
    EXPECT_EQ(live_allocations(), before) << "allocation " << nth << " failed and something was left behind";
    if (!failed) {
      EXPECT_TRUE(created) << "with all memory to be had";
      return nth - 1;
    }
    EXPECT_FALSE(created) << "allocation " << nth << " failed unnoticed";
  }
}

long live_allocations() {
  return watch.allocations - watch.releases;
}
long allocation_count() {
  return watch.allocations;
}
long bytes_of_new() {
  return watch.bytes_of_new;
}

namespace {

volatile std::sig_atomic_t refused_call = -1;

void on_refused_call(int, siginfo_t *info, void *) {
  refused_call = info->si_syscall;
}

bool refuse_system_calls() {
  // A futex is let through for a semaphore's post; the thread's end needs the rest of the first
  // row.
  const auto allow = [](unsigned call) { return sock_filter BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1); };
  const sock_filter pass = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
  const sock_filter filter[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                                allow(SYS_futex),
                                pass,
                                allow(SYS_exit),
                                pass,
                                allow(SYS_madvise),
                                pass,
                                allow(SYS_rseq),
                                pass,
                                allow(SYS_rt_sigreturn),
                                pass,
                                allow(SYS_rt_sigprocmask),
                                pass,
                                allow(SYS_munmap),
                                pass,
                                BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP)};
  const sock_fprog program = {sizeof filter / sizeof *filter, const_cast<sock_filter *>(filter)};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

}  // namespace

bool run_without_system_calls(const std::function<void()> &body) {
  if (kSanitized) return false;  // a sanitizer's runtime makes system calls of its own
  struct sigaction action = {}, old = {};
  action.sa_sigaction = on_refused_call;
  action.sa_flags = SA_SIGINFO;
  sigaction(SIGSYS, &action, &old);
  refused_call = -1;
  bool possible = false;
  std::thread([&] {
    // The thread's end releases memory: let malloc map its arena for that now.
    void *volatile block = std::malloc(1);
    std::free(block);
    possible = refuse_system_calls();
    if (possible) body();
  }).join();
  sigaction(SIGSYS, &old, nullptr);
  EXPECT_EQ(refused_call, -1) << "real-time code made this system call";
  return possible;
}

}  // namespace auspool::testing
