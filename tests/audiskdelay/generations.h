// Both generations as one, for tests of what they have in common.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "audiskdelay/BTAudioBuffer/context.h"
#include "audiskdelay/audiskdelay2_record.h"
#include "audiskdelay/audiskdelay_record.h"

namespace auspool::testing {

struct NewDelay {
  using Handle = std::unique_ptr<audiskdelay2, DestroyWith<audiskdelay2_destroy>>;
  static constexpr bool kSleeps = true;

  static Handle make(std::int32_t seconds, float rate) { return audiskdelay::make_delay2(seconds, nullptr, rate); }
  static audiskdelay2 *create(std::int32_t seconds, float rate) { return audiskdelay2_create(seconds, nullptr, rate); }
  static constexpr auto destroy = audiskdelay2_destroy;
  static constexpr auto write = audiskdelay2_write;
  static constexpr auto read = audiskdelay2_read;
  static constexpr auto set = audiskdelay2_set_delay;
  static constexpr auto max = audiskdelay2_max_delay;
  static constexpr auto info = audiskdelay2_info;
  static constexpr auto set_writeonly = audiskdelay2_set_zero_delay_writeonly_mode;

  static void replace_file(audiskdelay2 &delay, std::unique_ptr<platform::UncachedFile> file) {
    delay.store->file = std::move(file);
  }

  // In frames: all that was ever stored, what of it is held, and of that what is not yet in the read ring.
  static std::uint64_t stored(const audiskdelay2 &delay) { return start(delay) + held(delay); }
  static std::uint64_t held(const audiskdelay2 &delay) {
    std::uint64_t length = 0;
    audiskdelay::BTAudioBufferGetInfo(delay.store.get(), nullptr, &length, nullptr);
    return length;
  }
  static std::uint64_t behind(const audiskdelay2 &delay) { return delay.delay_frames; }
  static std::int32_t waiting(const rbuffer *ring) { return rbuffer_used_space(ring) / 4; }

private:
  static std::uint64_t start(const audiskdelay2 &delay) {
    std::uint64_t frame = 0;
    audiskdelay::BTAudioBufferGetInfo(delay.store.get(), &frame, nullptr, nullptr);
    return frame;
  }
};

struct OldDelay {
  using Handle = std::unique_ptr<::audiskdelay, DestroyWith<audiskdelay_destroy>>;
  static constexpr bool kSleeps = false;

  static Handle make(std::int32_t seconds, float rate) { return audiskdelay::make_delay(seconds, 1, nullptr, rate); }
  static ::audiskdelay *create(std::int32_t seconds, float rate) {
    return audiskdelay_create(seconds, 1, nullptr, rate);
  }
  static constexpr auto destroy = audiskdelay_destroy;
  static constexpr auto write = audiskdelay_write;
  static constexpr auto read = audiskdelay_read;
  static constexpr auto set = audiskdelay_set_backtrack;
  static constexpr auto max = audiskdelay_max_backtrack;
  static constexpr auto info = audiskdelay_info;
  static constexpr auto set_writeonly = audiskdelay_set_zero_delay_writeonly_mode;

  static void replace_file(::audiskdelay &delay, std::unique_ptr<platform::UncachedFile> file) {
    delay.file.replace_file(std::move(file));
  }

  static std::uint64_t stored(const ::audiskdelay &delay) { return delay.file.total() / 4; }
  static std::uint64_t held(const ::audiskdelay &delay) { return delay.file.file_size() / 4; }
  static std::uint64_t behind(const ::audiskdelay &delay) { return delay.file.behind() / 4; }
  static std::int32_t waiting(const rbuffer *ring) { return rbuffer_used_space(ring) / 4; }
};

using DelayGenerations = ::testing::Types<OldDelay, NewDelay>;
struct DelayNames {
  template <typename Generation>
  static std::string GetName(int) {
    return Generation::kSleeps ? "audiskdelay2" : "audiskdelay";
  }
};

}  // namespace auspool::testing
