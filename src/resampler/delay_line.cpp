#include "resampler/delay_line.h"

#include <algorithm>
#include <cstring>

#include "platform/vector.h"

namespace auspool {
namespace {

std::size_t count_of(std::int32_t count) {
  return count > 0 ? static_cast<std::size_t>(count) : 0;
}

std::size_t bytes_of(std::int32_t sample_size, std::int32_t count) {
  return count_of(count) * static_cast<std::size_t>(sample_size);
}

}  // namespace

void copy_samples(std::int32_t sample_size, const void *source, std::int32_t in_stride, void *destination,
                  std::int32_t out_stride, std::int32_t count) {
  if (in_stride == 1 && out_stride == 1) {
    if (count > 0) std::memcpy(destination, source, bytes_of(sample_size, count));
  } else if (sample_size == 8) {
    vector::copy(static_cast<const double *>(source), in_stride, static_cast<double *>(destination), out_stride,
                 count_of(count));
  } else {
    vector::copy(static_cast<const float *>(source), in_stride, static_cast<float *>(destination), out_stride,
                 count_of(count));
  }
}

}  // namespace auspool

using namespace auspool;

void deinterleave_channelF32(const float *source, std::int32_t stride, float *destination, std::int32_t count) {
  vector::copy(source, stride, destination, 1, count_of(count));
}

void deinterleave_channelF64(const double *source, std::int32_t stride, double *destination, std::int32_t count) {
  vector::copy(source, stride, destination, 1, count_of(count));
}

void copy_to_delay_line(std::int32_t sample_size, void *destination, const void **input, std::int32_t in_stride,
                        std::int32_t count) {
  copy_samples(sample_size, *input, in_stride, destination, 1, count);
  *input = sample_at(sample_size, *input, std::ptrdiff_t{std::max(count, 0)} * in_stride);
}

void copy_to_delay_lineF64(std::int32_t sample_size, double *destination, const void **input, std::int32_t in_stride,
                           std::int32_t count) {
  if (sample_size == 8) {
    copy_samples(8, *input, in_stride, destination, 1, count);
  } else {
    vector::widen(static_cast<const float *>(*input), in_stride, destination, 1, count_of(count));
  }
  *input = sample_at(sample_size, *input, std::ptrdiff_t{std::max(count, 0)} * in_stride);
}

std::int32_t save_delay_line(std::int32_t sample_size, std::int32_t position, void *line, std::int32_t capacity,
                             std::int32_t /*capacity_again*/, const void *input, std::int32_t in_stride,
                             std::int32_t count) {
  if (position < 0) {
    const std::int32_t kept = -position;
    std::memmove(line, sample_at(sample_size, line, std::ptrdiff_t{capacity} - kept), bytes_of(sample_size, kept));
    copy_samples(sample_size, input, in_stride, sample_at(sample_size, line, kept), 1, count);
  } else if (position < count) {
    const void *rest = sample_at(sample_size, input, std::ptrdiff_t{position} * in_stride);
    copy_samples(sample_size, rest, in_stride, line, 1, count - position);
  }
  return count - position;
}
