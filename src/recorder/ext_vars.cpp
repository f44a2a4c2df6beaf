#include "recorder/ext_vars.h"

namespace auspool {

// No value can be both a time limit and a size limit. So while the pair changes, a reader that meets the new unit
// beside the old value finds the value changed when it looks again.
void ext_vars_t::set_limit(std::int64_t value, bool is_time) {
  limit.store(0, std::memory_order_relaxed);
  limit_is_time.store(is_time ? 1 : 0, std::memory_order_release);
  limit.store(value, std::memory_order_release);
}

ext_vars_t::Limit ext_vars_t::read_limit() const {
  for (;;) {
    const std::int64_t value = limit.load(std::memory_order_acquire);
    const bool is_time = limit_is_time.load(std::memory_order_acquire) != 0;
    if (limit.load(std::memory_order_relaxed) == value) return {value, is_time};
  }
}

}  // namespace auspool
