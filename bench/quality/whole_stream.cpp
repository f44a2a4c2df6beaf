#include "quality/whole_stream.h"

#include <algorithm>
#include <chrono>

#include "auspool/raesampler.h"
#include "support/tone.h"

namespace quality {
namespace {

// A minute of a tone, read again and again from the same second.
struct Source {
  const std::vector<float> &second;
  int left;

  static int read(void *user, void *const *channels, int most) {
    auto &self = *static_cast<Source *>(user);
    const int count = std::min({most, self.left, static_cast<int>(self.second.size())});
    for (int c = 0; c < kChannels; ++c) std::copy_n(self.second.begin(), count, static_cast<float *>(channels[c]));
    self.left -= count;
    return count;
  }
  static void write(void *, const void *const *, int) {}
};

}  // namespace

double measure_whole_stream(const Rates &rates, int quality, int threads) {
  using Clock = std::chrono::steady_clock;
  const auto second = auspool::testing::tone<float>(997, rates.in, static_cast<std::size_t>(rates.in));
  double best = 1e9;
  for (int i = 0; i < 3; ++i) {
    Source source = {second, static_cast<int>(600 * rates.in)};
    const auto start = Clock::now();
    const int failed = raesampler_single_shot(quality, kChannels, sizeof(float), nullptr, &source, Source::read,
                                              Source::write, nullptr, threads, rates.in, rates.out, 0);
    if (failed) return -1;
    best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count());
  }
  return best;
}

}  // namespace quality
