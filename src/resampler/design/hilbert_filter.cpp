#include <cstdint>
#include <cstdlib>
#include <numbers>

#include "auspool/filter_design.h"
#include "resampler/design/windows.h"

double *create_hilbert_filter(std::int32_t length, std::int32_t window, double beta) {
  if (length < 2 || length % 2 == 0) return nullptr;
  auto *taps = static_cast<double *>(std::calloc(static_cast<std::size_t>(length), sizeof(double)));
  if (!taps) return nullptr;
  const std::int32_t middle = (length - 1) / 2;
  for (std::int32_t k = 1; k <= middle; k += 2) {
    taps[middle + k] = 2.0 / (k * std::numbers::pi);
    taps[middle - k] = -taps[middle + k];
  }
  auspool::apply_window(taps, length, window, 1.0, beta);
  return taps;
}
