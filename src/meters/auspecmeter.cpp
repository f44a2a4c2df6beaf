#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

#include "base/denormal_guard.h"
#include "meters/auspecmeter_record.h"
#include "meters/meter_clock.h"
#include "meters/power_spectra.h"
#include "platform/spectrum_levels.h"
#include "platform/vector.h"

namespace auspool {
namespace {

constexpr double kFall = 20;  // decibels per second

// A Hann window at half its usual height: the two channels that are added make up for it.
AlignedVector<float> make_window(std::int32_t size) {
  AlignedVector<float> window;
  for (std::int32_t i = 0; i < size; ++i) {
    window.push_back(static_cast<float>(0.25 * (1 - std::cos(2 * std::numbers::pi * i / (size - 1)))));
  }
  return window;
}

// Frames of a block that have not been taken yet.
struct Rest {
  const float *left, *right;
  std::int64_t frames;
};

void append(auspecmeter &meter, std::int32_t at, Rest &rest, std::int64_t frames) {
  vector::add(rest.left, rest.right, meter.samples.data() + at, static_cast<std::size_t>(frames));
  rest = {rest.left + frames, rest.right + frames, rest.frames - frames};
}

// With the buffer full: a spectrum of it and of each further half a buffer that the block has. What is left over stays
// behind the half that the next spectrum shares.
std::int64_t add_spectra(auspecmeter &meter, Rest &rest) {
  const auto half = static_cast<std::int32_t>(meter.half());
  const std::int64_t passes = 1 + rest.frames / half;
  const SpectrumScratch scratch{meter.windowed.data(), meter.spectrum.data(), meter.work.data()};
  std::fill(meter.powers.begin(), meter.powers.end(), 0.0f);
  for (std::int64_t pass = 1; pass <= passes; ++pass) {
    fft_power_spectra_summed(meter.fft_setup, meter.window.data(), meter.samples.data(), scratch, meter.powers.data());
    std::copy(meter.samples.begin() + half, meter.samples.end(), meter.samples.begin());
    if (pass < passes) append(meter, half, rest, half);
  }
  meter.sample_count = half + static_cast<std::int32_t>(rest.frames);
  append(meter, half, rest, rest.frames);
  return passes;
}

// Levels as they are so many seconds after the last update.
void load_fallen(const auspecmeter &meter, double seconds, float *levels) {
  meter.levels.load(levels);
  fall_levels(levels, static_cast<float>(seconds * kFall), meter.half());
}

void update_levels(auspecmeter &meter, double seconds, std::int64_t passes) {
  float *levels = meter.work.data();
  load_fallen(meter, seconds, levels);
  raise_levels(meter.powers.data(), static_cast<float>(passes), levels, meter.half());
  meter.levels.store(levels);
}

}  // namespace
}  // namespace auspool

using namespace auspool;

auspecmeter::auspecmeter(std::int32_t width)
    : fft_size(2 * width),
      fft_setup(log2n(static_cast<std::uint32_t>(fft_size))),
      window(make_window(fft_size)),
      levels(static_cast<std::size_t>(width)),
      samples(fft_setup.size()),
      windowed(fft_setup.size()),
      spectrum(fft_setup.size()),
      work(fft_setup.size()),
      powers(levels.size()) {
  auspecmeter_reset(this);
}

auspecmeter *auspecmeter_create(int32_t width) {
  if (width < 32 || width > 2048 || !std::has_single_bit(static_cast<std::uint32_t>(width))) return nullptr;
  try {
    return new auspecmeter(width);
  } catch (...) {
    return nullptr;
  }
}

void auspecmeter_destroy(auspecmeter *meter) {
  delete meter;
}

void auspecmeter_reset(auspecmeter *meter) {
  meter->levels.fill(kSpectrumFloor);
  meter->sample_count = 0;
  meter->last_time = 0.0;
}

void auspecmeter_process_ni2ch(auspecmeter *meter, const au_channel_pair *block, int32_t frames) {
  if (frames <= 0) return;
  const double now = meter_seconds();
  const DenormalGuard guard;
  Rest rest{block->left, block->right, frames};
  const std::int32_t held = meter->sample_count;
  append(*meter, held, rest, std::min<std::int64_t>(rest.frames, meter->fft_size - held));
  meter->sample_count = held + static_cast<std::int32_t>(frames - rest.frames);
  if (meter->sample_count < meter->fft_size) return;
  const std::int64_t passes = add_spectra(*meter, rest);
  update_levels(*meter, now - meter->last_time, passes);
  meter->last_time = meter_seconds();
  meter->update_count = meter->update_count + 1;
}

int32_t auspecmeter_get_width(const auspecmeter *meter) {
  return meter ? meter->fft_size / 2 : 0;
}

void auspecmeter_get_spectrum_decibels(auspecmeter *meter, float *out) {
  load_fallen(*meter, meter_seconds_since(meter->last_time), out);
  if (meter->seen_count == meter->update_count) {
    meter->levels.store(out);
  } else {
    meter->seen_count = static_cast<std::uint32_t>(meter->update_count);
  }
}
