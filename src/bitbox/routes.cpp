// The four routes. Whatever needs an intermediate form goes in chunks through 8192 bytes on the stack.
#include <algorithm>

#include "auspool/bitbox.h"
#include "bitbox/block.h"
#include "bitbox/dither.h"
#include "bitbox/inner_routines.h"
#include "bitbox/swap.h"

namespace auspool {
namespace {

constexpr std::size_t kChunkBytes = 8192;

// `convert(source, target, frames)` for each chunk of a run. The state of a shaped dither is rounded between chunks, so
// that their size is part of the result.
template <typename Convert>
void for_each_chunk(const Block &block, const Run &run, std::size_t chunk_frames, const Convert &convert) {
  const std::ptrdiff_t source_step = run.source_stride * bytes_per_sample(block.source.format);
  const std::ptrdiff_t target_step = run.target_stride * bytes_per_sample(block.target.format);
  for (std::size_t done = 0; done < run.frames; done += chunk_frames) {
    const auto at = static_cast<std::ptrdiff_t>(done);
    convert(run.source + at * source_step, run.target + at * target_step, std::min(chunk_frames, run.frames - done));
  }
}

// A chunk of the source in native order, dithered where there is a dither.
void bring_to_buffer(const std::uint8_t *source, std::uint32_t format, std::int32_t stride, void *buffer,
                     std::size_t frames, bitbox_dither *dither, std::int32_t channel) {
  const bool is_double = width_of(format) == 64;
  const auto count = static_cast<std::int32_t>(frames);
  if (!is_big_endian(format)) return bitbox_dither_op(dither, channel, is_double, source, stride, buffer, 1, count);
  const std::uint32_t native = BITBOX_FLOAT | width_of(format);
  float_to_float_routine(format, native)(source, format, stride, buffer, native, 1, frames);
  if (dither) bitbox_dither_ip(dither, channel, is_double, buffer, 1, count);
}

void swap_in_place(const Block &block, const Run &run) {
  const bool wide = width_of(block.target.format) == 64;
  // A joined run may have more samples than `swap32` counts.
  constexpr std::size_t kMost = std::size_t{1} << 30;
  for_each_chunk(block, run, kMost, [&](const std::uint8_t *, std::uint8_t *target, std::size_t frames) {
    (wide ? swap64 : swap32)(target, run.target_stride, static_cast<std::uint32_t>(frames));
  });
}

}  // namespace

void bitconvert_f2f(const Block &block) {
  const std::uint32_t from = block.source.format;
  const std::uint32_t to = block.target.format;
  const InnerRoutine routine = float_to_float_routine(from, to);
  for_each_run(block, true, [&](const Run &run) {
    routine(run.source, from, run.source_stride, run.target, to, run.target_stride, run.frames);
  });
}

void bitconvert_f2i(const Block &block, const Run &run, bitbox_dither *dither) {
  const std::uint32_t from = block.source.format;
  const std::uint32_t to = block.target.format;
  const InnerRoutine routine = float_to_integer_routine(to);
  if (!dither && !is_big_endian(from)) {
    return routine(run.source, from, run.source_stride, run.target, to, run.target_stride, run.frames);
  }
  alignas(64) std::uint8_t buffer[kChunkBytes];
  const std::size_t chunk_frames = kChunkBytes / static_cast<std::size_t>(bytes_per_sample(from));
  for_each_chunk(block, run, chunk_frames, [&](const std::uint8_t *source, std::uint8_t *target, std::size_t frames) {
    bring_to_buffer(source, from, run.source_stride, buffer, frames, dither, run.channel);
    routine(buffer, from, 1, target, to, run.target_stride, frames);
  });
}

void bitconvert_f2i(const Block &block, bitbox_dither *dither) {
  for_each_run(block, may_join_channels(dither), [&](const Run &run) { bitconvert_f2i(block, run, dither); });
}

void bitconvert_i2f(const Block &block) {
  const std::uint32_t from = block.source.format;
  const std::uint32_t to = block.target.format;
  const InnerRoutine routine = integer_to_float_routine(from);
  for_each_run(block, true, [&](const Run &run) {
    routine(run.source, from, run.source_stride, run.target, to, run.target_stride, run.frames);
    if (is_big_endian(to)) swap_in_place(block, run);
  });
}

// Always by way of 64-bit floats, which hold every integer, so that one rule rounds and clips.
void bitconvert_i2i(const Block &block, bitbox_dither *dither) {
  const std::uint32_t from = block.source.format;
  const InnerRoutine to_float = integer_to_float_routine(from);
  Block second = block;
  second.source.format = kDoubleFormat;
  for_each_run(block, may_join_channels(dither), [&](const Run &run) {
    alignas(64) double buffer[kChunkBytes / sizeof(double)];
    for_each_chunk(block, run, std::size(buffer), [&](const std::uint8_t *source, std::uint8_t *target, std::size_t n) {
      to_float(source, from, run.source_stride, buffer, kDoubleFormat, 1, n);
      const Run rest{reinterpret_cast<std::uint8_t *>(buffer), 1, target, run.target_stride, n, run.channel};
      bitconvert_f2i(second, rest, dither);
    });
  });
}

}  // namespace auspool
