// A level meter as tests use it.
#pragma once

#include <memory>

#include "auspool/aumeter.h"
#include "meters/aumeter_context.h"
#include "support/signals.h"

namespace auspool::testing::level_meter {

struct Destroy {
  void operator()(aumeter *meter) const { aumeter_destroy(meter); }
};
using Meter = std::unique_ptr<aumeter, Destroy>;

inline Meter make() {
  return Meter(aumeter_create());
}

inline void process(const Meter &meter, Samples left, Samples right) {
  const au_channel_pair pair = {left.data(), right.data()};
  aumeter_process_ni2ch(meter.get(), &pair, static_cast<std::int32_t>(left.size()));
}
inline void process(const Meter &meter, const Samples &both) {
  process(meter, both, both);
}

struct Pair {
  float left, right;
};
using Get = void (*)(aumeter *, float *, float *);
inline Pair read(const Meter &meter, Get get) {
  Pair result;
  get(meter.get(), &result.left, &result.right);
  return result;
}
inline float peak(const Meter &meter) {
  return read(meter, aumeter_get_peak_decibels).left;
}
inline float rms(const Meter &meter) {
  return read(meter, aumeter_get_rms_decibels).left;
}
inline float clip(const Meter &meter) {
  return read(meter, aumeter_get_clip).left;
}

}  // namespace auspool::testing::level_meter
