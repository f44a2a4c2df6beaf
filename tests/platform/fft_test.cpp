#include "platform/fft.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

#include "support/signals.h"

namespace auspool {
namespace {

// Bin `k` of the mathematical spectrum, real part first.
std::pair<double, double> bin(const std::vector<double> &samples, std::size_t k) {
  double real = 0;
  double imaginary = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double angle = 2 * std::numbers::pi * static_cast<double>(i * k % samples.size()) / double(samples.size());
    real += samples[i] * std::cos(angle);
    imaginary -= samples[i] * std::sin(angle);
  }
  return {real, imaginary};
}

TEST(RealFft, ForwardGivesTwiceTheSpectrumPacked) {
  for (int log2 = 1; log2 <= 10; ++log2) {
    const RealFft<double> fft(log2);
    const auto noise = testing::noise(fft.size(), 1);
    const std::vector<double> samples(noise.begin(), noise.end());
    std::vector<double> spectrum(fft.size());
    std::vector<double> work(fft.size());
    fft.forward(samples.data(), spectrum.data(), work.data());
    const std::size_t half = fft.size() / 2;
    EXPECT_NEAR(spectrum[0], 2 * bin(samples, 0).first, 1e-10);
    EXPECT_NEAR(spectrum[half], 2 * bin(samples, half).first, 1e-10);
    for (std::size_t k = 1; k < half; ++k) {
      EXPECT_NEAR(spectrum[k], 2 * bin(samples, k).first, 1e-10) << fft.size() << " points, bin " << k;
      EXPECT_NEAR(spectrum[half + k], 2 * bin(samples, k).second, 1e-10) << fft.size() << " points, bin " << k;
    }
  }
}

TEST(RealFft, InverseOfForwardIsTwiceTheSizeTimesTheSequence) {
  for (int log2 = 1; log2 <= 14; ++log2) {
    const RealFft<double> fft(log2);
    const auto noise = testing::noise(fft.size(), 2);
    const std::vector<double> samples(noise.begin(), noise.end());
    std::vector<double> spectrum(fft.size());
    std::vector<double> back(fft.size());
    std::vector<double> work(fft.size());
    fft.forward(samples.data(), spectrum.data(), work.data());
    fft.inverse(spectrum.data(), back.data(), work.data());
    for (std::size_t i = 0; i < fft.size(); ++i) {
      EXPECT_NEAR(back[i] / (2 * double(fft.size())), samples[i], 1e-13) << fft.size() << " points, sample " << i;
    }
  }
}

}  // namespace
}  // namespace auspool
