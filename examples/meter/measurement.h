// The library's two meters over one stereo stream, read once for each block.
#pragma once

#include <auspool/aumeter.h>
#include <auspool/auspecmeter.h>

#include <array>
#include <memory>
#include <vector>

namespace meter {

using Stereo = std::array<float, 2>;  // left and right

// What a display shows after a block.
struct Moment {
  double seconds = 0;            // where the block ends
  Stereo peak, rms;              // decibels
  Stereo peak_shown, rms_shown;  // on the scale of a meter, from 0 to 1
  std::array<bool, 2> clip;      // whether it clipped lately: with the usual fall, within two seconds
  std::vector<float> spectrum;   // bands of equal ratio, from 0 at -80 decibels to 1 at 0
};

class Measurement {
public:
  static constexpr int kMomentsPerSecond = 20;

  // With `alone`, each block is measured by itself; otherwise levels fall by the clock. Throws std::bad_alloc.
  Measurement(float rate, float falloff, bool alone);

  int block_frames() const { return block_frames_; }

  Moment take(au_channel_pair block, int frames);

  // Where band `index` of the spectrum begins, in Hz.
  double band_hz(double index) const;
  std::size_t bands() const { return bands_; }

private:
  struct Destroy {
    void operator()(aumeter *meter) const { aumeter_destroy(meter); }
    void operator()(auspecmeter *meter) const { auspecmeter_destroy(meter); }
  };

  const float rate_;
  const bool alone_;
  const int block_frames_;
  std::int64_t frames_ = 0;
  std::unique_ptr<aumeter, Destroy> levels_;
  std::unique_ptr<auspecmeter, Destroy> spectrum_;
  std::size_t bands_;
};

}  // namespace meter
