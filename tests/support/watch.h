// The watch over calls that our code makes into the C library and the C++ allocator
// (watched_calls.inc).
//
//   RealtimeGuard guard;          // from here to the end of the scope this thread is a real-time thread:
//   code_under_test();            // allocating, locking or blocking fails the test, and names the call
//
//   CallFailer failer("malloc");  // every call of that name by this thread fails,
//   CallFailer third("fwrite", 3) // or only the third one from here
//
//   AllocationFailer nth(n);      // the n-th allocation of any kind on this thread fails
//
//   run_without_system_calls(f);  // runs f on a thread of its own, on which the kernel itself refuses
//                                 // system calls other than a semaphore's post
//
// The watch sees calls from our own objects and from this program; what another library does inside
// is seen by run_without_system_calls alone.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace auspool::testing {

class RealtimeGuard {
public:
  RealtimeGuard();
  // Like the above, but lets the named calls pass: the short waits that an interface documents.
  explicit RealtimeGuard(const char *allowed);
  ~RealtimeGuard();
  RealtimeGuard(const RealtimeGuard &) = delete;
  RealtimeGuard &operator=(const RealtimeGuard &) = delete;
};

class CallFailer {
public:
  // `nth` counts from 1; 0 fails all. A failing call sets errno to `error` and gives its usual
  // failure value.
  explicit CallFailer(const char *call, int nth = 0, int error = 12 /* ENOMEM */);
  ~CallFailer();
  CallFailer(const CallFailer &) = delete;
  CallFailer &operator=(const CallFailer &) = delete;

  int failures() const;  // how many calls have been failed since this object was made
};

class AllocationFailer {
public:
  explicit AllocationFailer(int nth);
  ~AllocationFailer();
  AllocationFailer(const AllocationFailer &) = delete;
  AllocationFailer &operator=(const AllocationFailer &) = delete;

  bool failed() const;  // whether the n-th allocation was reached
};

// Calls `create` with its first, second, third ... allocation failing until one run meets no
// failure. `create` returns whether it succeeded and cleans up; every run that met the failure must
// have reported it. Returns the number of allocations that were failed.
int fail_each_allocation(const std::function<bool()> &create);

// Allocations, less releases, by this thread since it began: equal before and after something that
// leaks nothing.
long live_allocations();
long allocation_count();
// Bytes asked of operator new by this thread since it began, those given back included.
long bytes_of_new();

// Runs `body` as above. Returns false where the kernel or a sanitizer's own system calls do not
// allow it (skip then).
bool run_without_system_calls(const std::function<void()> &body);

}  // namespace auspool::testing
