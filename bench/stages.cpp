// Single stages of the sample-rate converter beside other libraries' polyphase converters: stereo float, blocks of 1024
// frames, in input frames a second.
//
// 48000 to 44100 is the stage 147/160 with 7737 taps, 53 for each output; 96000 to 48000 is 1/2 with 99. The peers run
// filters of about the same length for each output, or shorter: libswresample with 32 and with 48 taps (twice as many
// going down by two), zita-resampler with 48 (96), speexdsp with quality 3, which is 48 (96).
#include <benchmark/benchmark.h>
#include <speex/speex_resampler.h>
#include <zita-resampler/resampler.h>

#include <cstdlib>
#include <memory>
#include <vector>

#include "auspool/filter_design.h"
#include "auspool/raesampler_stages.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace {

constexpr int kFrames = 1024;
constexpr int kChannels = 2;
constexpr int kRoom = 4 * kFrames;

struct Rates {
  int in, out;
};
constexpr Rates kRates[] = {{48000, 44100}, {96000, 48000}};

// One block, planar and interleaved.
template <typename Sample>
struct Buffers {
  std::vector<Sample> in = std::vector<Sample>(kFrames * kChannels);
  std::vector<Sample> out = std::vector<Sample>(kRoom * kChannels);
  Buffers() {
    for (std::size_t i = 0; i < in.size(); ++i) in[i] = static_cast<Sample>(i % 101) * Sample(0.01) - Sample(0.5);
  }
};

template <typename Sample = float, typename Convert>
void run(benchmark::State &state, const Convert &convert) {
  Buffers<Sample> buffers;
  for (auto _ : state) {
    benchmark::DoNotOptimize(convert(buffers));
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kFrames);
}

stage_spec low_pass(int up, int down, int length, double pass, double stop) {
  stage_spec spec = {};
  spec.type = up == 1 ? RAESAMPLER_STAGE_DECIMATOR : RAESAMPLER_STAGE_RATIONAL;
  spec.up = up;
  spec.down = down;
  spec.length = length;
  spec.ratio = static_cast<double>(up) / down;
  spec.gain = up;
  spec.cutoff = (pass + stop) / 2;
  spec.window = AU_WINDOW_KAISER;
  spec.kaiser_beta = 5.6533;
  return spec;
}

stage_spec sinc(double ratio, int taps) {
  stage_spec spec = {};
  spec.type = RAESAMPLER_STAGE_SINC;
  spec.up = spec.down = 1;
  spec.length = taps;
  spec.ratio = ratio;
  spec.gain = spec.cutoff = 1;
  spec.window = AU_WINDOW_KAISER;
  spec.kaiser_beta = 5.6533;
  return spec;
}

const stage_spec kStages[] = {low_pass(147, 160, 7737, 0.005313, 0.00625), low_pass(1, 2, 99, 0.425, 0.5)};

raesampler *chain_of(const stage_spec &spec, int quality) {
  resampler_structure structure = {};
  structure.stages[structure.count++] = spec;
  return raesampler_create_from_structure(quality, kChannels, 0, &structure, 48000);
}

// Planar, or interleaved with `stride` 2.
void convert_stage(benchmark::State &state, const stage_spec &spec, int stride) {
  raesampler *r = chain_of(spec, RaesamplerQualityRealTime);
  run(state, [&](Buffers<float> &b) {
    const float *const from[] = {b.in.data(), b.in.data() + (stride == 1 ? kFrames : 1)};
    float *const to[] = {b.out.data(), b.out.data() + (stride == 1 ? kRoom : 1)};
    int count = kFrames;
    return raesampler_resample(r, from, stride, to, stride, &count, 0);
  });
  raesampler_destroy(r);
}

void convert_doubles(benchmark::State &state, const stage_spec &spec) {
  raesampler *r = chain_of(spec, RaesamplerQualityVeryHigh);
  run<double>(state, [&](Buffers<double> &b) {
    const double *const from[] = {b.in.data(), b.in.data() + kFrames};
    double *const to[] = {b.out.data(), b.out.data() + kRoom};
    int count = kFrames;
    return raesampler_resampleD(r, from, 1, to, 1, &count, 0);
  });
  raesampler_destroy(r);
}

void auspool_planar(benchmark::State &state, int which) {
  convert_stage(state, kStages[which], 1);
}
void auspool_interleaved(benchmark::State &state, int which) {
  convert_stage(state, kStages[which], 2);
}
void auspool_double(benchmark::State &state, int which) {
  convert_doubles(state, kStages[which]);
}

void swresample(benchmark::State &state, int which, int taps) {
  const Rates rates = kRates[which];
  AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
  SwrContext *swr = nullptr;
  swr_alloc_set_opts2(&swr, &stereo, AV_SAMPLE_FMT_FLTP, rates.out, &stereo, AV_SAMPLE_FMT_FLTP, rates.in, 0, nullptr);
  av_opt_set_int(swr, "filter_size", taps, 0);
  av_opt_set_int(swr, "exact_rational", 1, 0);
  if (swr_init(swr) < 0) return state.SkipWithError("libswresample refuses");
  run(state, [&](Buffers<float> &b) {
    const std::uint8_t *from[] = {reinterpret_cast<const std::uint8_t *>(b.in.data()),
                                  reinterpret_cast<const std::uint8_t *>(b.in.data() + kFrames)};
    std::uint8_t *to[] = {reinterpret_cast<std::uint8_t *>(b.out.data()),
                          reinterpret_cast<std::uint8_t *>(b.out.data() + kRoom)};
    return swr_convert(swr, to, kRoom, from, kFrames);
  });
  swr_free(&swr);
}

void zita(benchmark::State &state, int which) {
  constexpr unsigned kHalfLength = 24;
  const Rates rates = kRates[which];
  Resampler resampler;
  if (resampler.setup(static_cast<unsigned>(rates.in), static_cast<unsigned>(rates.out), kChannels, kHalfLength)) {
    return state.SkipWithError("zita-resampler refuses");
  }
  run(state, [&](Buffers<float> &b) {
    resampler.inp_count = kFrames;
    resampler.inp_data = b.in.data();
    resampler.out_count = kRoom;
    resampler.out_data = b.out.data();
    return resampler.process();
  });
}

void speexdsp(benchmark::State &state, int which) {
  constexpr int kQuality = 3;
  const auto in = static_cast<spx_uint32_t>(kRates[which].in), out = static_cast<spx_uint32_t>(kRates[which].out);
  int error = 0;
  SpeexResamplerState *speex = speex_resampler_init(kChannels, in, out, kQuality, &error);
  run(state, [&](Buffers<float> &b) {
    spx_uint32_t read = kFrames, written = kRoom;
    speex_resampler_process_interleaved_float(speex, b.in.data(), &read, b.out.data(), &written);
    return written;
  });
  speex_resampler_destroy(speex);
}

void auspool_sinc(benchmark::State &state, int taps) {
  convert_stage(state, sinc(1.0003, taps), 1);
}
void auspool_sinc_double(benchmark::State &state, int taps) {
  convert_doubles(state, sinc(1.0003, taps));
}

void create(benchmark::State &state, const stage_spec &spec) {
  for (auto _ : state) raesampler_destroy(chain_of(spec, RaesamplerQualityRealTime));
}

}  // namespace

BENCHMARK_CAPTURE(auspool_planar, 147 / 160, 0);
BENCHMARK_CAPTURE(auspool_interleaved, 147 / 160, 0);
BENCHMARK_CAPTURE(auspool_double, 147 / 160, 0);
BENCHMARK_CAPTURE(swresample, 147 / 160 with 32 taps, 0, 32);
BENCHMARK_CAPTURE(swresample, 147 / 160 with 48 taps, 0, 48);
BENCHMARK_CAPTURE(zita, 147 / 160, 0);
BENCHMARK_CAPTURE(speexdsp, 147 / 160, 0);
BENCHMARK_CAPTURE(auspool_planar, 1 / 2, 1);
BENCHMARK_CAPTURE(auspool_interleaved, 1 / 2, 1);
BENCHMARK_CAPTURE(auspool_double, 1 / 2, 1);
BENCHMARK_CAPTURE(swresample, 1 / 2 with 32 taps, 1, 32);
BENCHMARK_CAPTURE(swresample, 1 / 2 with 48 taps, 1, 48);
BENCHMARK_CAPTURE(zita, 1 / 2, 1);
BENCHMARK_CAPTURE(speexdsp, 1 / 2, 1);
BENCHMARK_CAPTURE(auspool_sinc, 15 taps, 15);
BENCHMARK_CAPTURE(auspool_sinc, 63 taps, 63);
BENCHMARK_CAPTURE(auspool_sinc_double, 255 taps, 255);
BENCHMARK_CAPTURE(create, 147 / 160 of 7737 taps, kStages[0])->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(create, 1 / 2 of 99 taps, kStages[1])->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(create, drift of 15 taps, sinc(1.0, 15))->Unit(benchmark::kMicrosecond);
BENCHMARK_MAIN();
