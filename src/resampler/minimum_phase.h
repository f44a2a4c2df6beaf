// Filters of minimum phase from filters of linear phase.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace auspool {

struct FreeDeleter {
  void operator()(void *memory) const { std::free(memory); }
};
using Prototype = std::unique_ptr<double[], FreeDeleter>;

// Replaces `length` taps by those of minimum phase and the same magnitudes. False when memory runs out, or no transform
// is that long; the taps are then as they were.
bool make_minimum_phase(double *taps, std::int32_t length);

}  // namespace auspool
