#include "audiskdelay/oob_values.h"

#include <algorithm>
#include <mutex>
#include <new>
#include <utility>

#include "audiskdelay/patience.h"

namespace auspool::audiskdelay {
namespace {

// The number of entries at or before a position.
std::size_t count_until(const OobEntry *entries, std::size_t count, std::int64_t position) {
  const auto after = [](std::int64_t wanted, const OobEntry &entry) { return wanted < entry.position; };
  return static_cast<std::size_t>(std::upper_bound(entries, entries + count, position, after) - entries);
}

}  // namespace

OobValues::~OobValues() {
  if (!free_function_) return;
  for (std::size_t i = 0; i < table_.count; ++i) free_function_(table_.entries[i].value, nullptr);
}

// An entry applies until the next one.
std::size_t OobValues::first_applying(std::int64_t oldest) const {
  return std::max<std::size_t>(count_until(table_.entries.get(), table_.count, oldest), 1) - 1;
}

void OobValues::append(const OobEntry &entry) {
  const auto lock = lock_patiently(lock_);
  table_.entries[table_.count++] = entry;
}

bool OobValues::add(std::int64_t position, void *value, audiskdelay_free_function free_function,
                    std::int64_t oldest) noexcept {
  const std::size_t dropped = first_applying(oldest);
  if (dropped == 0 && table_.count < table_.capacity) {
    append({position, value});
    free_function_ = free_function;
    return true;
  }
  const std::size_t kept = table_.count - dropped;
  Table next;
  next.capacity = (kept / kGrowth + 1) * kGrowth;
  next.entries.reset(new (std::nothrow) OobEntry[next.capacity]);
  if (!next.entries) return false;
  next.count = kept + 1;
  std::copy_n(table_.entries.get() + dropped, kept, next.entries.get());
  next.entries[kept] = {position, value};

  if (free_function && dropped > 0) free_function(table_.entries[dropped - 1].value, value);
  {
    const auto lock = lock_patiently(lock_);
    std::swap(table_, next);
  }
  free_function_ = free_function;
  for (std::size_t i = 0; free_function && i < dropped; ++i) free_function(next.entries[i].value, nullptr);
  return true;
}

void OobValues::close_gap(std::int64_t position, std::int64_t frames) noexcept {
  const auto lock = lock_patiently(lock_);
  for (std::size_t i = 0; i < table_.count; ++i) {
    std::int64_t &at = table_.entries[i].position;
    if (at > position) at = std::max(position, at - frames);
  }
}

OobFound OobValues::find_unlocked(std::int64_t position) const {
  OobFound found;
  const std::size_t until = count_until(table_.entries.get(), table_.count, position);
  if (until > 1) found.previous = table_.entries[until - 2];
  if (until > 0) found.current = table_.entries[until - 1];
  if (until < table_.count) found.next = table_.entries[until];
  return found;
}

OobFound OobValues::find(std::int64_t position) const noexcept {
  const auto lock = lock_patiently(lock_);
  return find_unlocked(position);
}

bool OobValues::try_find(std::int64_t position, OobFound &found) const noexcept {
  const std::unique_lock lock(lock_, std::try_to_lock);
  if (lock) found = find_unlocked(position);
  return lock.owns_lock();
}

}  // namespace auspool::audiskdelay
