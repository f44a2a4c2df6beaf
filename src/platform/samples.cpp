#include "platform/samples.h"

#include "platform/samples/tables.h"

namespace auspool::samples {
Convert float_to_integer(bool from_double, Integer to, Order to_order) {
  return best_kernels()->to_integer[from_double][static_cast<std::size_t>(to)][to_order == Order::kBig];
}

Convert float_to_integer_toward_zero(Integer to, Order to_order) {
  return best_kernels()->toward_zero[to == Integer::k24][to_order == Order::kBig];
}

Convert integer_to_float(Integer from, Order from_order, bool to_double) {
  return best_kernels()->to_float[static_cast<std::size_t>(from)][from_order == Order::kBig][to_double];
}

Convert float_to_float(bool from_double, Order from_order, bool to_double, Order to_order) {
  return best_kernels()->between[from_double][from_order == Order::kBig][to_double][to_order == Order::kBig];
}

}  // namespace auspool::samples
