// How a push of input is cut into rounds, and the two buffers that carry a round's samples from stage to stage.
#pragma once

#include <cstddef>
#include <cstdint>

#include "resampler/chain/chain.h"

namespace auspool {

// The buffers lie behind one another, so that a long deinterleaved input can reach from the second into the first.
struct Rounds {
  std::byte *first = nullptr;
  std::byte *second = nullptr;
  std::byte *deinterleaved = nullptr;  // where the input of stage 0 goes when it must be laid out
  std::int32_t samples = 0;            // input samples of a round
};

// On the stack in the normal case. A chain in which a single sample may grow beyond them has its own.
struct RoundStorage {
  static constexpr std::size_t kBytes = 8192;  // of each buffer
  alignas(64) std::byte bytes[2 * kBytes];
};

// Plans rounds over `count` samples such that no stage but the last writes more than a buffer holds. `deinterleave`:
// whether the input is laid out first. A result of 0 samples: memory ran out.
Rounds plan_rounds(raesampler &chain, RoundStorage &storage, std::int32_t count, bool deinterleave);

// Makes the chain's own buffers where it needs them, so that no later call allocates them. False when memory runs out.
bool reserve_scratch(raesampler &chain);

}  // namespace auspool
