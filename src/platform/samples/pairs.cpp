// Pairs of samples, woven and taken apart.
#include "platform/samples.h"

#include "platform/vector/targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/samples/pairs.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.
#include <hwy/highway.h>

#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace auspool::samples::HWY_NAMESPACE {

// Of the samples behind `done`, one at a time. Three bytes are no type that a vector could have.
template <std::size_t kBytes>
HWY_INLINE void interleave_rest(const std::uint8_t *left, const std::uint8_t *right, std::uint8_t *pairs,
                                std::size_t done, std::size_t count) {
  for (std::size_t i = done; i < count; ++i) {
    std::memcpy(pairs + 2 * i * kBytes, left + i * kBytes, kBytes);
    std::memcpy(pairs + (2 * i + 1) * kBytes, right + i * kBytes, kBytes);
  }
}

template <std::size_t kBytes>
HWY_INLINE void deinterleave_rest(const std::uint8_t *pairs, std::uint8_t *left, std::uint8_t *right, std::size_t done,
                                  std::size_t count) {
  for (std::size_t i = done; i < count; ++i) {
    std::memcpy(left + i * kBytes, pairs + 2 * i * kBytes, kBytes);
    std::memcpy(right + i * kBytes, pairs + (2 * i + 1) * kBytes, kBytes);
  }
}

#if AUSPOOL_PLAIN_TARGET

template <typename Word>
HWY_INLINE std::size_t interleave_vectors(const void *, const void *, void *, std::size_t) {
  return 0;
}
template <typename Word>
HWY_INLINE std::size_t deinterleave_vectors(const void *, void *, void *, std::size_t) {
  return 0;
}

#else

namespace hn = hwy::HWY_NAMESPACE;

template <typename Word>
HWY_INLINE std::size_t interleave_vectors(const void *left, const void *right, void *pairs, std::size_t count) {
  const hn::ScalableTag<Word> d;
  const auto *l = static_cast<const Word *>(left);
  const auto *r = static_cast<const Word *>(right);
  auto *out = static_cast<Word *>(pairs);
  std::size_t i = 0;
  for (; i + hn::Lanes(d) <= count; i += hn::Lanes(d))
    hn::StoreInterleaved2(hn::LoadU(d, l + i), hn::LoadU(d, r + i), d, out + 2 * i);
  return i;
}

template <typename Word>
HWY_INLINE std::size_t deinterleave_vectors(const void *pairs, void *left, void *right, std::size_t count) {
  const hn::ScalableTag<Word> d;
  const auto *in = static_cast<const Word *>(pairs);
  auto *l = static_cast<Word *>(left);
  auto *r = static_cast<Word *>(right);
  std::size_t i = 0;
  for (; i + hn::Lanes(d) <= count; i += hn::Lanes(d)) {
    hn::Vec<decltype(d)> a, b;
    hn::LoadInterleaved2(d, in + 2 * i, a, b);
    hn::StoreU(a, d, l + i);
    hn::StoreU(b, d, r + i);
  }
  return i;
}

#endif

// `Word` is as wide as a sample, or void.
template <std::size_t kBytes, typename Word>
HWY_INLINE void interleave_row(const void *left, const void *right, void *pairs, std::size_t count) {
  std::size_t done = 0;
  if constexpr (!std::is_void_v<Word>) done = interleave_vectors<Word>(left, right, pairs, count);
  interleave_rest<kBytes>(static_cast<const std::uint8_t *>(left), static_cast<const std::uint8_t *>(right),
                          static_cast<std::uint8_t *>(pairs), done, count);
}

template <std::size_t kBytes, typename Word>
HWY_INLINE void deinterleave_row(const void *pairs, void *left, void *right, std::size_t count) {
  std::size_t done = 0;
  if constexpr (!std::is_void_v<Word>) done = deinterleave_vectors<Word>(pairs, left, right, count);
  deinterleave_rest<kBytes>(static_cast<const std::uint8_t *>(pairs), static_cast<std::uint8_t *>(left),
                            static_cast<std::uint8_t *>(right), done, count);
}

void interleave_rows(const void *left, const void *right, void *pairs, std::size_t sample_bytes, std::size_t count) {
  switch (sample_bytes) {
  case 2:
    return interleave_row<2, std::uint16_t>(left, right, pairs, count);
  case 3:
    return interleave_row<3, void>(left, right, pairs, count);
  case 4:
    return interleave_row<4, std::uint32_t>(left, right, pairs, count);
  default:
    return interleave_row<8, std::uint64_t>(left, right, pairs, count);
  }
}

void deinterleave_rows(const void *pairs, void *left, void *right, std::size_t sample_bytes, std::size_t count) {
  switch (sample_bytes) {
  case 2:
    return deinterleave_row<2, std::uint16_t>(pairs, left, right, count);
  case 3:
    return deinterleave_row<3, void>(pairs, left, right, count);
  case 4:
    return deinterleave_row<4, std::uint32_t>(pairs, left, right, count);
  default:
    return deinterleave_row<8, std::uint64_t>(pairs, left, right, count);
  }
}

}  // namespace auspool::samples::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace auspool::samples {

HWY_EXPORT(interleave_rows);
HWY_EXPORT(deinterleave_rows);

void interleave(const void *left, const void *right, void *pairs, std::size_t sample_bytes, std::size_t count) {
  HWY_DYNAMIC_DISPATCH(interleave_rows)(left, right, pairs, sample_bytes, count);
}

void deinterleave(const void *pairs, void *left, void *right, std::size_t sample_bytes, std::size_t count) {
  HWY_DYNAMIC_DISPATCH(deinterleave_rows)(pairs, left, right, sample_bytes, count);
}

}  // namespace auspool::samples
#endif
