// The rate follower beside the lightest converters of other libraries, stereo, in output frames a second.
//
// libsamplerate's linear converter does less for a sample (two points); zita-resampler's Resampler and VResampler do
// more (16 points, their shortest filter) and are of another quality. All convert the same blocks of 512 input frames.
#include <benchmark/benchmark.h>
#include <samplerate.h>
#include <zita-resampler/resampler.h>
#include <zita-resampler/vresampler.h>

#include <vector>

#include "auspool/ausampler.h"

namespace {

constexpr int kFrames = 512;
constexpr std::size_t kChannels = 2;

struct Rates {
  int in, out;
};
constexpr Rates kRates[] = {{44100, 48000}, {48000, 44100}, {48000, 47990}, {22050, 48000}};

struct Buffers {
  std::vector<float> in = std::vector<float>(kFrames * kChannels);
  std::vector<float> out = std::vector<float>(4 * kFrames * kChannels);
  Buffers() {
    for (std::size_t i = 0; i < in.size(); ++i) in[i] = static_cast<float>(i % 101) * 0.01f - 0.5f;
  }
};

// Calls convert(buffers, rates), which returns the frames that came out, again and again.
template <typename Convert>
void run(benchmark::State &state, const Convert &convert) {
  Buffers buffers;
  const Rates rates = kRates[state.range(0)];
  std::int64_t frames = 0;
  for (auto _ : state) {
    frames += convert(buffers, rates);
    benchmark::DoNotOptimize(buffers.out.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(frames);
  state.SetLabel(std::to_string(rates.in) + " to " + std::to_string(rates.out));
}

void ausampler_interleaved(benchmark::State &state) {
  ausampler *sampler = ausampler_create(kChannels);
  run(state, [&](Buffers &b, Rates r) {
    const std::uint32_t out = ausampler_write_frames_out(sampler, kFrames, r.in, r.out);
    ausampler_write_interleaved(sampler, b.in.data(), b.out.data(), kFrames, r.in, r.out);
    return out;
  });
  ausampler_destroy(sampler);
}

void ausampler_planar(benchmark::State &state) {
  ausampler *sampler = ausampler_create(kChannels);
  run(state, [&](Buffers &b, Rates r) {
    const float *const from[] = {b.in.data(), b.in.data() + kFrames};
    float *const to[] = {b.out.data(), b.out.data() + 2 * kFrames};
    const std::uint32_t out = ausampler_write_frames_out(sampler, kFrames, r.in, r.out);
    ausampler_write_noninterleaved(sampler, from, to, kFrames, r.in, r.out);
    return out;
  });
  ausampler_destroy(sampler);
}

void samplerate(benchmark::State &state, int converter) {
  int error = 0;
  SRC_STATE *src = src_new(converter, kChannels, &error);
  run(state, [&](Buffers &b, Rates r) {
    SRC_DATA data = {};
    data.data_in = b.in.data();
    data.data_out = b.out.data();
    data.input_frames = kFrames;
    data.output_frames = 4 * kFrames;
    data.src_ratio = static_cast<double>(r.out) / r.in;
    src_process(src, &data);
    return data.output_frames_gen;
  });
  src_delete(src);
}
void libsamplerate_linear(benchmark::State &state) {
  samplerate(state, SRC_LINEAR);
}
void libsamplerate_sinc_fastest(benchmark::State &state) {
  samplerate(state, SRC_SINC_FASTEST);
}

template <typename Resampler>
std::int64_t process(Resampler &resampler, Buffers &b) {
  resampler.inp_count = kFrames;
  resampler.inp_data = b.in.data();
  resampler.out_count = 4 * kFrames;
  resampler.out_data = b.out.data();
  resampler.process();
  return 4 * kFrames - resampler.out_count;
}

constexpr int kShortestFilter = 8;  // half of its length

void zita_resampler(benchmark::State &state) {
  Resampler resampler;
  const Rates rates = kRates[state.range(0)];
  if (resampler.setup(static_cast<unsigned>(rates.in), static_cast<unsigned>(rates.out), kChannels, kShortestFilter)) {
    return state.SkipWithError("zita-resampler refuses this ratio");
  }
  run(state, [&](Buffers &b, Rates) { return process(resampler, b); });
}

void zita_vresampler(benchmark::State &state) {
  VResampler resampler;
  const Rates rates = kRates[state.range(0)];
  if (resampler.setup(static_cast<double>(rates.out) / rates.in, kChannels, kShortestFilter)) {
    return state.SkipWithError("zita-resampler refuses this ratio");
  }
  run(state, [&](Buffers &b, Rates) { return process(resampler, b); });
}

}  // namespace

BENCHMARK(ausampler_interleaved)->DenseRange(0, 3);
BENCHMARK(ausampler_planar)->DenseRange(0, 3);
BENCHMARK(libsamplerate_linear)->DenseRange(0, 3);
BENCHMARK(libsamplerate_sinc_fastest)->DenseRange(0, 3);
BENCHMARK(zita_resampler)->DenseRange(0, 3);
BENCHMARK(zita_vresampler)->DenseRange(0, 3);
BENCHMARK_MAIN();
