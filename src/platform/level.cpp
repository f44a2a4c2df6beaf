#include "platform/level.h"

#include "platform/vector/targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/level.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace auspool::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

HWY_INLINE void add_samples(Level &level, const float *samples, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const float square = samples[i] * samples[i];
    level.largest_square = square > level.largest_square ? square : level.largest_square;
    level.sum_of_squares += square;
  }
}

// Four accumulators: an addition takes that many cycles.
Level measure(const float *samples, std::size_t count) {
  Level level;
  std::size_t i = 0;
#if !AUSPOOL_PLAIN_TARGET
  const hn::ScalableTag<float> d;
  using V = hn::Vec<decltype(d)>;
  constexpr std::size_t kAccumulators = 4;
  const std::size_t lanes = hn::Lanes(d);
  V sums[kAccumulators];
  V largest[kAccumulators];
  for (std::size_t k = 0; k < kAccumulators; ++k) sums[k] = largest[k] = hn::Zero(d);
  for (; i + kAccumulators * lanes <= count; i += kAccumulators * lanes) {
    for (std::size_t k = 0; k < kAccumulators; ++k) {
      const V x = hn::LoadU(d, samples + i + k * lanes);
      const V square = hn::Mul(x, x);
      sums[k] = hn::Add(sums[k], square);
      largest[k] = hn::IfThenElse(hn::Gt(square, largest[k]), square, largest[k]);  // false for NaN
    }
  }
  const V largest_of_all = hn::Max(hn::Max(largest[0], largest[1]), hn::Max(largest[2], largest[3]));
  level.largest_square = hn::GetLane(hn::MaxOfLanes(d, largest_of_all));
  level.sum_of_squares = hn::GetLane(hn::SumOfLanes(d, hn::Add(hn::Add(sums[0], sums[1]), hn::Add(sums[2], sums[3]))));
#endif
  add_samples(level, samples + i, count - i);
  return level;
}

}  // namespace auspool::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace auspool {

HWY_EXPORT(measure);

Level measure_level(const float *samples, std::size_t count) {
  return HWY_DYNAMIC_DISPATCH(measure)(samples, count);
}

}  // namespace auspool
#endif
