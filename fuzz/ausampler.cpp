// Any sequence of blocks, rates and layouts through a rate follower: in buffers of exactly the counts that it gives.
#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <vector>

#include "auspool/ausampler.h"
#include "buffers/ausampler.h"

namespace {

constexpr std::uint32_t kMostFrames = 5000;  // more only costs speed

void require(bool condition) {
  if (!condition) std::abort();
}

double any_rate(FuzzedDataProvider &input) {
  constexpr double kUsual[] = {8000, 11025, 22050, 44100, 44101, 45600, 48000, 96000, 192000};
  switch (input.ConsumeIntegralInRange(0, 3)) {
  case 0:
    return input.ConsumeFloatingPoint<double>();
  case 1:
    return input.ConsumeFloatingPointInRange(1.0, 400000.0);
  default:
    return input.PickValueInArray(kUsual);
  }
}

// A block of each channel in memory of its own, the samples `stride` floats apart.
class Block {
public:
  Block(std::uint32_t channels, std::uint32_t frames, std::uint32_t stride) {
    const std::size_t samples = frames == 0 ? 0 : (std::size_t{frames} - 1) * stride + 1;
    for (std::uint32_t c = 0; c < channels; ++c) {
      memory_.emplace_back(new float[samples]());
      vectors_.push_back({memory_.back().get(), static_cast<std::uint32_t>(stride * sizeof(float))});
      planes_.push_back(memory_.back().get());
    }
  }
  const ausampler_iovec *vectors() const { return vectors_.data(); }
  float *const *planes() const { return planes_.data(); }

private:
  std::vector<std::unique_ptr<float[]>> memory_;
  std::vector<ausampler_iovec> vectors_;
  std::vector<float *> planes_;
};

void convert(ausampler *sampler, FuzzedDataProvider &input, bool pull, std::uint32_t asked, std::uint32_t in,
             std::uint32_t out, double rate_in, double rate_out) {
  const std::uint32_t channels = sampler->channels;
  std::uint32_t answer = 0;
  switch (input.ConsumeIntegralInRange(0, 2)) {
  case 0: {
    const std::unique_ptr<float[]> from(new float[std::size_t{in} * channels]());
    const std::unique_ptr<float[]> to(new float[std::size_t{out} * channels]);
    answer = (pull ? ausampler_read_interleaved : ausampler_write_interleaved)(sampler, from.get(), to.get(), asked,
                                                                               rate_in, rate_out);
    break;
  }
  case 1: {
    const Block from(channels, in, 1), to(channels, out, 1);
    answer = (pull ? ausampler_read_noninterleaved : ausampler_write_noninterleaved)(
        sampler, from.planes(), to.planes(), asked, rate_in, rate_out);
    break;
  }
  default: {
    const Block from(channels, in, input.ConsumeIntegralInRange(1u, 4u));
    const Block to(channels, out, input.ConsumeIntegralInRange(1u, 4u));
    answer = (pull ? ausampler_read_iovec : ausampler_write_iovec)(sampler, from.vectors(), to.vectors(), asked,
                                                                   rate_in, rate_out);
  }
  }
  require(answer == asked);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  ausampler *sampler = ausampler_create(input.ConsumeIntegralInRange(1u, 4u));
  while (input.remaining_bytes() > 0) {
    const bool pull = input.ConsumeBool();
    const double rate_in = any_rate(input), rate_out = any_rate(input);
    const std::uint32_t asked = input.ConsumeIntegralInRange(0u, input.ConsumeBool() ? 10u : kMostFrames);
    const std::uint32_t in = pull ? ausampler_read_frames_in(sampler, asked, rate_in, rate_out) : asked;
    const std::uint32_t out = pull ? asked : ausampler_write_frames_out(sampler, asked, rate_in, rate_out);
    if (!pull && rate_in > 0 && rate_out > 0) {
      require(ausampler_read_frames_in(sampler, out, rate_in, rate_out) <= in);
    }
    if (in > kMostFrames || out > kMostFrames) continue;
    convert(sampler, input, pull, asked, in, out, rate_in, rate_out);
    require(std::isfinite(sampler->fraction));
    if (input.ConsumeIntegralInRange(0, 20) == 0) ausampler_reset(sampler);
  }
  ausampler_destroy(sampler);
  return 0;
}
