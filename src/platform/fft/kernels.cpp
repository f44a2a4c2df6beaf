#include "platform/fft/kernels.h"

#include "platform/vector/targets.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/fft/kernels.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.
#include <hwy/highway.h>

#include "platform/fft/ordered-inl.h"
#include "platform/fft/unordered-inl.h"

HWY_BEFORE_NAMESPACE();
namespace auspool::fft::HWY_NAMESPACE {

// Wider vectors than of 32 bytes would want squares of more lanes than there are registers.
template <typename T>
using Wide = hn::CappedTag<T, 32 / sizeof(T)>;
template <typename T>
using Narrow = hn::CappedTag<T, HWY_MIN(kLanes<Wide<T>>, 4)>;

template <class D>
constexpr Kernels<Sample<D>> kKernels = {kLanes<D>,
                                         forward<D>,
                                         inverse<D>,
                                         forward_unordered<D>,
                                         inverse_unordered<D>,
                                         multiply_unordered<D, false>,
                                         multiply_unordered<D, true>,
                                         multiply_sum_unordered<D>,
                                         inverse_product<D>};

// The squares of an ordered transform are of F/2 points at least.
template <typename T>
HWY_INLINE const Kernels<T> *choose(std::size_t size) {
  constexpr std::size_t kL = kLanes<Wide<T>>;
  return size / 2 >= kL * kL ? &kKernels<Wide<T>> : &kKernels<Narrow<T>>;
}
const Kernels<float> *choose_float(std::size_t size) {
  return choose<float>(size);
}
const Kernels<double> *choose_double(std::size_t size) {
  return choose<double>(size);
}

}  // namespace auspool::fft::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace auspool::fft {

HWY_EXPORT(choose_float);
HWY_EXPORT(choose_double);

template <>
const Kernels<float> &best_kernels(std::size_t size) {
  return *HWY_DYNAMIC_DISPATCH(choose_float)(size);
}
template <>
const Kernels<double> &best_kernels(std::size_t size) {
  return *HWY_DYNAMIC_DISPATCH(choose_double)(size);
}

}  // namespace auspool::fft
#endif
