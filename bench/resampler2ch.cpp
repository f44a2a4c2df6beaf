// The two-channel resampler beside libsamplerate's linear converter and speexdsp's lowest quality, stereo, in output
// frames a second, in blocks of 512 output frames as a device asks for them.
#include <benchmark/benchmark.h>
#include <samplerate.h>
#include <speex/speex_resampler.h>

#include <string>
#include <vector>

#include "auspool/resampler.h"

namespace {

constexpr std::uint32_t kFrames = 512;

struct Rates {
  int in, out;
};
constexpr Rates kRates[] = {{44100, 48000}, {48000, 44100}, {48000, 47000}, {96000, 48000}, {192000, 44100}};

std::vector<float> signal() {
  std::vector<float> samples(2 * 8 * kFrames);
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<float>(i % 101) * 0.01f - 0.5f;
  return samples;
}

// Calls convert(input, output, rates), which returns the frames that came out, again and again.
template <typename Convert>
void run(benchmark::State &state, const Convert &convert) {
  std::vector<float> input = signal(), output(4 * kFrames);
  const Rates rates = kRates[state.range(0)];
  std::int64_t frames = 0;
  for (auto _ : state) {
    frames += convert(input.data(), output.data(), rates);
    benchmark::DoNotOptimize(output.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(frames);
  state.SetLabel(std::to_string(rates.in) + " to " + std::to_string(rates.out));
}

// The input is filtered in place, so it is copied first where that happens: part of the cost.
void refresh(float *input, const float *source, std::int32_t frames, Rates rates) {
  if (rates.in > rates.out) std::copy_n(source, frames, input);
}

void resampler_interleaved(benchmark::State &state) {
  resampler *r = resampler_create();
  const std::vector<float> source = signal();
  run(state, [&](float *in, float *out, Rates rates) {
    refresh(in, source.data(), 2 * resampler_frames_in(r, kFrames, rates.in, rates.out), rates);
    return resampler_resample_i2ch(r, in, out, kFrames, rates.in, rates.out);
  });
  resampler_destroy(r);
}

void resampler_planar(benchmark::State &state) {
  resampler *r = resampler_create();
  const std::vector<float> source = signal();
  run(state, [&](float *in, float *out, Rates rates) {
    const au_channel_pair from = {in, in + 8 * kFrames}, to = {out, out + kFrames};
    const std::int32_t needed = resampler_frames_in(r, kFrames, rates.in, rates.out);
    refresh(from.left, source.data(), needed, rates);
    refresh(from.right, source.data(), needed, rates);
    return resampler_resample_ni2ch(r, &from, &to, kFrames, rates.in, rates.out);
  });
  resampler_destroy(r);
}

void libsamplerate_linear(benchmark::State &state) {
  int error = 0;
  SRC_STATE *src = src_new(SRC_LINEAR, 2, &error);
  run(state, [&](float *in, float *out, Rates rates) {
    SRC_DATA data = {};
    data.data_in = in;
    data.data_out = out;
    data.input_frames = 8 * kFrames;
    data.output_frames = kFrames;
    data.src_ratio = static_cast<double>(rates.out) / rates.in;
    src_process(src, &data);
    return data.output_frames_gen;
  });
  src_delete(src);
}

void speexdsp_quality_0(benchmark::State &state) {
  const Rates rates = kRates[state.range(0)];
  int error = 0;
  SpeexResamplerState *speex =
      speex_resampler_init(2, static_cast<spx_uint32_t>(rates.in), static_cast<spx_uint32_t>(rates.out), 0, &error);
  run(state, [&](float *in, float *out, Rates) {
    spx_uint32_t taken = 8 * kFrames, given = kFrames;
    speex_resampler_process_interleaved_float(speex, in, &taken, out, &given);
    return given;
  });
  speex_resampler_destroy(speex);
}

}  // namespace

BENCHMARK(resampler_interleaved)->DenseRange(0, 4);
BENCHMARK(resampler_planar)->DenseRange(0, 4);
BENCHMARK(libsamplerate_linear)->DenseRange(0, 4);
BENCHMARK(speexdsp_quality_0)->DenseRange(0, 4);
BENCHMARK_MAIN();
