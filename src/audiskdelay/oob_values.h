// Values that a host tags the stream with, by frame, and the reading side's place in that stream.
#pragma once

#include <cstdint>
#include <memory>

#include "auspool/audiskdelay.h"
#include "platform/spin_lock.h"

namespace auspool::audiskdelay {

struct OobEntry {
  std::int64_t position;  // the first frame that the value applies to
  void *value;
};

// An entry and its neighbours. None: position -1, value null.
struct OobFound {
  static constexpr OobEntry kNone{-1, nullptr};
  OobEntry previous = kNone, current = kNone, next = kNone;
};

// Entries in the order of their positions. Changes come one at a time, under the owner's lock; look-ups come from any
// thread. The reader's only tries, so that it never waits.
class OobValues {
public:
  ~OobValues();

  // Enters a value at `position`, not before that of any other, and drops the entries that apply to no frame from
  // `oldest` on. False if memory ran out.
  bool add(std::int64_t position, void *value, audiskdelay_free_function free_function, std::int64_t oldest) noexcept;

  // So many frames from `position` on never came: what lies after them comes so much earlier.
  void close_gap(std::int64_t position, std::int64_t frames) noexcept;

  OobFound find(std::int64_t position) const noexcept;
  // Real-time thread. False if a change is under way.
  bool try_find(std::int64_t position, OobFound &found) const noexcept;

private:
  struct Table {
    std::unique_ptr<OobEntry[]> entries;
    std::size_t count = 0, capacity = 0;
  };
  static constexpr std::size_t kGrowth = 64;

  std::size_t first_applying(std::int64_t oldest) const;
  void append(const OobEntry &entry);
  OobFound find_unlocked(std::int64_t position) const;

  mutable platform::SpinLock lock_;  // guards the table against look-ups
  Table table_;
  audiskdelay_free_function free_function_ = nullptr;
};

}  // namespace auspool::audiskdelay
