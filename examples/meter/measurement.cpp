#include "meter/measurement.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <new>

namespace meter {
namespace {

constexpr int kMostBands = 64;

// The widest spectrum that each block completes: a transform takes twice as many frames.
std::int32_t width_for(int block_frames) {
  const auto fitting = static_cast<std::int32_t>(std::bit_floor(static_cast<unsigned>(block_frames) / 2));
  return std::clamp(fitting, 32, 2048);
}

}  // namespace

Measurement::Measurement(float rate, float falloff, bool alone)
    : rate_(rate),
      alone_(alone),
      block_frames_(std::max(1, static_cast<int>(rate) / kMomentsPerSecond)),
      levels_(aumeter_create()),
      spectrum_(auspecmeter_create(width_for(block_frames_))) {
  if (!levels_ || !spectrum_) throw std::bad_alloc();
  aumeter_set_falloff(levels_.get(), falloff);
  bands_ = static_cast<std::size_t>(std::min(auspecmeter_get_width(spectrum_.get()), kMostBands));
}

Moment Measurement::take(au_channel_pair block, int frames) {
  if (alone_) {
    aumeter_reset(levels_.get());
    auspecmeter_reset(spectrum_.get());
  }
  aumeter_process_ni2ch(levels_.get(), &block, frames);
  auspecmeter_process_ni2ch(spectrum_.get(), &block, frames);
  frames_ += frames;

  Moment m;
  m.seconds = static_cast<double>(frames_) / static_cast<double>(rate_);
  m.spectrum.resize(bands_);
  Stereo clip;
  aumeter_get_peak_decibels(levels_.get(), &m.peak[0], &m.peak[1]);
  aumeter_get_rms_decibels(levels_.get(), &m.rms[0], &m.rms[1]);
  aumeter_get_clip(levels_.get(), &clip[0], &clip[1]);
  auspecmeter_get_log_spectrum(spectrum_.get(), m.spectrum.data(), static_cast<std::uint32_t>(bands_));
  for (std::size_t i = 0; i < 2; ++i) {
    // A second read of a kind would store what it returns.
    m.peak_shown[i] = db2metered_levels(m.peak[i]);
    m.rms_shown[i] = db2metered_levels(m.rms[i]);
    m.clip[i] = clip[i] > 0.01f;
  }
  return m;
}

double Measurement::band_hz(double index) const {
  const double width = auspecmeter_get_width(spectrum_.get());
  return std::pow(width, index / static_cast<double>(bands_)) / width * static_cast<double>(rate_) / 2;
}

}  // namespace meter
