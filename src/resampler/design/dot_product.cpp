#include <cstddef>
#include <cstdint>

#include "auspool/filter_design.h"
#include "platform/vector.h"

namespace {

// In groups, so that four sums can grow side by side.
template <typename T>
double dot(const T *a, std::ptrdiff_t a_stride, const T *b, std::ptrdiff_t b_stride, std::int32_t count) {
  double sums[4] = {};
  std::int32_t i = 0;
  for (; i + 4 <= count; i += 4) {
    for (double &sum : sums) {
      sum += double{*a} * double{*b};
      a += a_stride;
      b += b_stride;
    }
  }
  double sum = (sums[0] + sums[1]) + (sums[2] + sums[3]);
  for (; i < count; ++i, a += a_stride, b += b_stride) sum += double{*a} * double{*b};
  return sum;
}

}  // namespace

void dot_product_unrolledF32(const float *a, std::int32_t a_stride, const float *b, std::int32_t b_stride,
                             float *result, std::int32_t count) {
  *result = static_cast<float>(dot(a, a_stride, b, b_stride, count));
}

void dot_product_unrolledF64(const double *a, std::int32_t a_stride, const double *b, std::int32_t b_stride,
                             double *result, std::int32_t count) {
  if (a_stride == 1 && b_stride == 1) {
    *result = auspool::vector::dot(a, b, count > 0 ? static_cast<std::size_t>(count) : 0);
  } else {
    *result = dot(a, a_stride, b, b_stride, count);
  }
}
