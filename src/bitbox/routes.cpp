// The four routes. Whatever needs an intermediate form goes in chunks through 8192 bytes on the stack for each channel.
#include <algorithm>

#include "auspool/bitbox.h"
#include "bitbox/block.h"
#include "bitbox/dither.h"
#include "bitbox/inner_routines.h"
#include "bitbox/noise_shaper.h"
#include "bitbox/swap.h"
#include "bitbox/woven.h"

namespace auspool {
namespace {

constexpr std::size_t kChunkBytes = 8192;

// `convert(block)` for blocks of one channel, where nothing is carried from sample to sample.
template <typename Convert>
void for_each_row(const Block &block, const Convert &convert) {
  if (can_weave(block)) return convert_woven(block, convert);
  for_each_channel(block, true, [&](const Block &one, std::int32_t) { convert(one); });
}

// Of one channel.
void call(InnerRoutine routine, const Block &one) {
  const auto &[source, target, channels, frames] = one;
  routine(source.channels[0], source.format, source.stride, target.channels[0], target.format, target.stride, frames);
}

void swap_in_place(const Side &side, std::size_t frames) {
  // Joined channels may have more samples than `swap32` counts.
  constexpr std::size_t kMost = std::size_t{1} << 30;
  const auto swap = width_of(side.format) == 64 ? swap64 : swap32;
  for (std::size_t done = 0; done < frames; done += kMost)
    swap(side.at(0, done), side.stride, static_cast<std::uint32_t>(std::min(kMost, frames - done)));
}

// Floats in native order to integers, without dither.
void round_to_integers(const Block &block) {
  const InnerRoutine routine = float_to_integer_routine(block.target.format);
  for_each_row(block, [&](const Block &one) { call(routine, one); });
}

// One or two channels to integers by way of native floats, `change(planes, frames)` being called for each chunk of
// those. The state of a shaped dither is rounded between chunks, so that their size is part of the result.
template <typename Change>
void through_floats(const Block &block, std::uint32_t floats, const Change &change) {
  alignas(64) std::uint8_t buffers[2][kChunkBytes];
  void *const planes[] = {buffers[0], buffers[1]};
  const std::size_t chunk_frames = kChunkBytes / static_cast<std::size_t>(bytes_per_sample(floats));
  const auto &[source, target, channels, all] = block;
  for (std::size_t done = 0; done < all; done += chunk_frames) {
    const std::size_t frames = std::min(chunk_frames, all - done);
    const std::int32_t last = channels - 1;
    void *const from[] = {source.at(0, done), source.at(last, done)};
    void *const to[] = {target.at(0, done), target.at(last, done)};
    const Block in = {{from, source.format, source.stride}, {planes, floats, 1}, channels, frames};
    is_float(source.format) ? bitconvert_f2f(in) : bitconvert_i2f(in);
    change(planes, static_cast<std::int32_t>(frames));
    round_to_integers({{planes, floats, 1}, {to, target.format, target.stride}, channels, frames});
  }
}

void dither_channel(const Block &one, std::int32_t channel, std::uint32_t floats, bitbox_dither *dither) {
  through_floats(one, floats, [&](void *const *planes, std::int32_t frames) {
    if (dither) bitbox_dither_ip(dither, channel, width_of(floats) == 64, planes[0], 1, frames);
  });
}

void shape_two_channels(const Block &two, std::int32_t first, std::uint32_t floats, bitbox_dither *dither) {
  TwoChannelShaper shaper(*dither, first, two.frames);
  through_floats(two, floats, [&](void *const *planes, std::int32_t frames) {
    width_of(floats) == 64 ? shaper.shape_f64(planes, frames) : shaper.shape_f32(planes, frames);
  });
}

// Shaped channels take their noise one after another, but as each has a state of its own they may be shaped two at a
// time.
void dither_all(const Block &block, std::uint32_t floats, bitbox_dither *dither) {
  std::int32_t done = 0;
  if (!may_join_channels(dither)) {
    for (; done + 2 <= block.channels; done += 2) shape_two_channels(channels_of(block, done, 2), done, floats, dither);
  }
  for_each_channel(channels_of(block, done, block.channels - done), may_join_channels(dither),
                   [&](const Block &one, std::int32_t i) { dither_channel(one, done + i, floats, dither); });
}

}  // namespace

void bitconvert_f2f(const Block &block) {
  const InnerRoutine routine = float_to_float_routine(block.source.format, block.target.format);
  for_each_row(block, [&](const Block &one) { call(routine, one); });
}

void bitconvert_f2i(const Block &block, bitbox_dither *dither) {
  const std::uint32_t from = block.source.format;
  if (!dither && !is_big_endian(from)) return round_to_integers(block);
  dither_all(block, BITBOX_FLOAT | width_of(from), dither);
}

void bitconvert_i2f(const Block &block) {
  const InnerRoutine routine = integer_to_float_routine(block.source.format);
  const bool swaps = is_big_endian(block.target.format);
  for_each_row(block, [&](const Block &one) {
    call(routine, one);
    if (swaps) swap_in_place(one.target, one.frames);
  });
}

// Always by way of 64-bit floats, which hold every integer, so that one rule rounds and clips.
void bitconvert_i2i(const Block &block, bitbox_dither *dither) {
  dither_all(block, kDoubleFormat, dither);
}

}  // namespace auspool
