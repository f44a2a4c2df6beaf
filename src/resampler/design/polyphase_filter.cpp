#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "auspool/filter_design.h"

namespace {

template <typename T>
void split(const double *prototype, std::int32_t length, T *row, std::int32_t taps, std::int32_t phases,
           std::int32_t step) {
  for (std::int32_t phase = 0; phase < phases; ++phase, row += taps) {
    std::int64_t entry = phase;
    for (std::int32_t j = 0; j < taps && entry < length; ++j, entry += phases) {
      row[step == 1 ? j : taps - 1 - j] = static_cast<T>(prototype[entry]);
    }
  }
}

template <typename T>
void copy(const double *prototype, std::int32_t length, T *row, std::int32_t taps, std::int32_t step) {
  const double *entry = step == 1 ? prototype : prototype + length - 1;
  for (std::int32_t j = 0; j < std::min(length, taps); ++j, entry += step) row[j] = static_cast<T>(*entry);
}

template <typename T>
void *make(const double *prototype, std::int32_t length, std::int32_t taps, std::int32_t phases, std::int32_t step) {
  const std::size_t count = static_cast<std::size_t>(taps) * static_cast<std::size_t>(phases);
  auto *block = static_cast<T *>(std::calloc(count, sizeof(T)));
  if (!block) return nullptr;
  if (phases == 1) {
    copy(prototype, length, block, taps, step);
  } else {
    split(prototype, length, block, taps, phases, step);
  }
  return block;
}

}  // namespace

void *make_polyphase_filter(std::int32_t sample_size, const double *prototype, std::int32_t length, std::int32_t taps,
                            std::int32_t phases, std::int32_t step) {
  if (length < 1 || taps < 1 || phases < 1) return nullptr;
  const auto maker = sample_size == 8 ? make<double> : make<float>;
  return maker(prototype, length, taps, phases, step);
}
