#include <cstddef>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/fft.h"

namespace auspool {
namespace {

// Each thread makes, uses and drops transforms of the same sizes, so that tables come and go under the others.
TEST(RealFft, ThreadsShareTables) {
  const auto work = [] {
    for (int round = 0; round < 200; ++round) {
      const RealFft<double> fft(5 + round % 3);
      std::vector<double> samples(fft.size(), 1.0);
      std::vector<double> spectrum(fft.size());
      std::vector<double> scratch(fft.size());
      fft.forward(samples.data(), spectrum.data(), scratch.data());
      ASSERT_EQ(spectrum[0], 2.0 * static_cast<double>(fft.size()));
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back(work);
  for (std::thread &thread : threads) thread.join();
}

}  // namespace
}  // namespace auspool
