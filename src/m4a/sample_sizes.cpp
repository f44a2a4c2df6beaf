#include "m4a/sample_sizes.h"

namespace auspool::m4a {

std::uint32_t _m4a_sample_count(const SampleSizes *first) {
  std::uint32_t count = 0;
  for (const SampleSizes *node = first; node; node = node->next) count += static_cast<std::uint32_t>(node->count);
  return count;
}

void _m4a_free_sample_size_table(SampleSizes *first) {
  while (first) {
    SampleSizes *const next = first->next;
    delete first;
    first = next;
  }
}

}  // namespace auspool::m4a
