// Four floats at a time, by the compilers' own vectors: every processor that we know has registers of that width, so
// this needs no dispatch. Operators work lane by lane, also between a Float4 and a float.
#pragma once

#include <cstring>

namespace auspool {

using Float4 = float __attribute__((vector_size(16)));

inline Float4 load4(const float *from) {
  Float4 v;
  std::memcpy(&v, from, sizeof v);
  return v;
}

inline void store4(float *to, Float4 v) {
  std::memcpy(to, &v, sizeof v);
}

// Two floats from each place.
inline Float4 load_pairs(const float *low, const float *high) {
  float pairs[4];
  std::memcpy(pairs, low, 2 * sizeof(float));
  std::memcpy(pairs + 2, high, 2 * sizeof(float));
  return load4(pairs);
}

inline void store_pairs(float *low, float *high, Float4 v) {
  float pairs[4];
  store4(pairs, v);
  std::memcpy(low, pairs, 2 * sizeof(float));
  std::memcpy(high, pairs + 2, 2 * sizeof(float));
}

// Turns four rows into four columns.
inline void transpose4(Float4 &a, Float4 &b, Float4 &c, Float4 &d) {
  const Float4 ab_low = __builtin_shufflevector(a, b, 0, 4, 1, 5);
  const Float4 ab_high = __builtin_shufflevector(a, b, 2, 6, 3, 7);
  const Float4 cd_low = __builtin_shufflevector(c, d, 0, 4, 1, 5);
  const Float4 cd_high = __builtin_shufflevector(c, d, 2, 6, 3, 7);
  a = __builtin_shufflevector(ab_low, cd_low, 0, 1, 4, 5);
  b = __builtin_shufflevector(ab_low, cd_low, 2, 3, 6, 7);
  c = __builtin_shufflevector(ab_high, cd_high, 0, 1, 4, 5);
  d = __builtin_shufflevector(ab_high, cd_high, 2, 3, 6, 7);
}

}  // namespace auspool
