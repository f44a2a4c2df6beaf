// A spectrum meter as tests use it.
#pragma once

#include <memory>

#include "auspool/auspecmeter.h"
#include "meters/auspecmeter_record.h"
#include "support/signals.h"

namespace auspool::testing::spectrum_meter {

struct Destroy {
  void operator()(auspecmeter *meter) const { auspecmeter_destroy(meter); }
};
using Meter = std::unique_ptr<auspecmeter, Destroy>;

inline Meter make(std::int32_t width) {
  return Meter(auspecmeter_create(width));
}

inline void process(const Meter &meter, Samples left, Samples right) {
  const au_channel_pair pair = {left.data(), right.data()};
  auspecmeter_process_ni2ch(meter.get(), &pair, static_cast<std::int32_t>(left.size()));
}
inline void process(const Meter &meter, const Samples &both) {
  process(meter, both, both);
}

using Get = void (*)(auspecmeter *, float *);
inline Samples read(const Meter &meter, Get get = auspecmeter_get_spectrum_decibels) {
  Samples levels(static_cast<std::size_t>(auspecmeter_get_width(meter.get())));
  get(meter.get(), levels.data());
  return levels;
}

inline Samples stored(const Meter &meter) {
  Samples levels(meter->levels.size());
  meter->levels.load(levels.data());
  return levels;
}

// A sine that fits `bin` times into the transform.
inline Samples bin_sine(std::size_t frames, std::int32_t width, double bin, double amplitude) {
  return testing::sine(frames, 2.0 * width, bin, amplitude);
}

}  // namespace auspool::testing::spectrum_meter
