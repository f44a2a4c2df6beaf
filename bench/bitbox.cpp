// Conversion between sample formats, with and without dither, beside libswresample, which converts in memory, and
// libsndfile, which has packed 24 bits and is given files in memory. Stereo blocks of 1024 frames; seconds a sample.
#include <auspool/bitbox.h>
#include <benchmark/benchmark.h>
#include <sndfile.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace {

constexpr int kFrames = 1024;
constexpr int kChannels = 2;
constexpr int kSamples = kFrames * kChannels;
constexpr int kRate = 44100;

// A block on both sides, large enough for any format, aligned as media libraries do. As floats the source is a loud
// sine.
struct Buffers {
  alignas(64) std::uint8_t source[kSamples * 8] = {};
  alignas(64) std::uint8_t target[kSamples * 8] = {};

  Buffers() {
    for (int i = 0; i < kSamples; ++i) {
      const float x = 0.9f * std::sin(0.05f * static_cast<float>(i));
      std::memcpy(source + 4 * i, &x, sizeof x);
    }
  }
};

template <typename Convert>
void run(benchmark::State &state, const Convert &convert) {
  Buffers buffers;
  for (auto _ : state) {
    convert(buffers);
    benchmark::DoNotOptimize(buffers.target[0]);
    benchmark::ClobberMemory();
  }
  state.counters["each"] = benchmark::Counter(static_cast<double>(state.iterations()) * kSamples,
                                              benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

using Dither = std::unique_ptr<bitbox_dither, void (*)(bitbox_dither *)>;

constexpr std::uint32_t kFloat = BITBOX_FLOAT | 32;

std::vector<float> made_up_taps(std::uint32_t count) {
  std::vector<float> taps;
  for (std::uint32_t i = 0; i < count; ++i)
    taps.push_back(std::cos(static_cast<float>(i)) * std::pow(0.7f, static_cast<float>(i)));
  return taps;
}

// `taps` is of the custom type alone.
Dither make_dither(std::uint32_t type, std::uint32_t taps = 0) {
  const std::vector<float> made_up = made_up_taps(taps);
  const bitbox_custom_filter filter = {0, taps, made_up.data()};
  return {type ? bitbox_dither_create(16, kChannels, type, &filter, kRate) : nullptr, bitbox_dither_destroy};
}

std::uint32_t bytes_of(std::uint32_t format) {
  return (format & 0xFF) / 8;
}

void auspool(benchmark::State &state, std::uint32_t from, std::uint32_t to, std::uint32_t dither_type = 0,
             std::uint32_t taps = 0, bool from_planes = false) {
  const Dither dither = make_dither(dither_type, taps);
  const std::uint32_t apart = bytes_of(from) * (from_planes ? kFrames : 1);
  run(state, [&](Buffers &b) {
    void *source[] = {b.source, b.source + apart};
    void *target[] = {b.target, b.target + bytes_of(to)};
    bitbox_convert(source, from, from_planes ? 1 : kChannels, target, to, kChannels, kChannels, kFrames, dither.get());
  });
}

// Stereo is shaped two channels at a time; one alone takes longer for each of its samples.
void auspool_mono(benchmark::State &state, std::uint32_t dither_type) {
  const Dither dither = make_dither(dither_type);
  run(state, [&](Buffers &b) {
    void *source = b.source;
    void *target = b.target;
    bitbox_convert(&source, kFloat, 1, &target, 16, 1, 1, kSamples, dither.get());
  });
}

void swresample(benchmark::State &state, AVSampleFormat from, AVSampleFormat to, const char *dither = nullptr) {
  AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
  SwrContext *swr = nullptr;
  swr_alloc_set_opts2(&swr, &stereo, to, kRate, &stereo, from, kRate, 0, nullptr);
  if (dither) av_opt_set(swr, "dither_method", dither, 0);
  if (swr_init(swr) < 0) return state.SkipWithError("libswresample refuses");
  run(state, [&](Buffers &b) {
    const std::uint8_t *source[] = {b.source, b.source + kFrames * 4};
    std::uint8_t *target[] = {b.target};
    return swr_convert(swr, target, kFrames, source, kFrames);
  });
  swr_free(&swr);
}

// A file in memory without an end: what is read comes from one block again and again, what is written goes to one.
struct Memory {
  std::uint8_t *bytes;
  sf_count_t size, at = 0;

  sf_count_t move(void *to, const void *from, sf_count_t count) {
    std::memcpy(to, from, static_cast<std::size_t>(count));
    at += count;
    return count;
  }
  static Memory &of(void *user) { return *static_cast<Memory *>(user); }
  static SF_VIRTUAL_IO functions() {
    return {[](void *) -> sf_count_t { return sf_count_t{1} << 60; },
            [](sf_count_t offset, int whence, void *user) {
              return of(user).at = whence == SEEK_CUR ? of(user).at + offset : offset;
            },
            [](void *to, sf_count_t count, void *user) { return of(user).move(to, of(user).bytes, count); },
            [](const void *from, sf_count_t count, void *user) { return of(user).move(of(user).bytes, from, count); },
            [](void *user) { return of(user).at; }};
  }
};

void sndfile(benchmark::State &state, int mode, int subtype) {
  SF_VIRTUAL_IO io = Memory::functions();
  Memory memory{};
  SF_INFO info{};
  info.samplerate = kRate;
  info.channels = kChannels;
  info.format = SF_FORMAT_RAW | SF_ENDIAN_LITTLE | subtype;
  SNDFILE *file = sf_open_virtual(&io, mode, &info, &memory);
  if (!file) return state.SkipWithError(sf_strerror(nullptr));
  sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
  run(state, [&](Buffers &b) {
    memory.bytes = mode == SFM_READ ? b.source : b.target;
    if (mode == SFM_READ) return sf_readf_float(file, reinterpret_cast<float *>(b.target), kFrames);
    return sf_writef_float(file, reinterpret_cast<const float *>(b.source), kFrames);
  });
  sf_close(file);
}

}  // namespace

BENCHMARK_CAPTURE(auspool, float to 16 bits, kFloat, 16);
BENCHMARK_CAPTURE(swresample, float to 16 bits, AV_SAMPLE_FMT_FLT, AV_SAMPLE_FMT_S16);
BENCHMARK_CAPTURE(sndfile, float to 16 bits, SFM_WRITE, SF_FORMAT_PCM_16);
BENCHMARK_CAPTURE(auspool, float to 24 bits, kFloat, 24);
BENCHMARK_CAPTURE(sndfile, float to 24 bits, SFM_WRITE, SF_FORMAT_PCM_24);
BENCHMARK_CAPTURE(auspool, float to 32 bits, kFloat, 32);
BENCHMARK_CAPTURE(swresample, float to 32 bits, AV_SAMPLE_FMT_FLT, AV_SAMPLE_FMT_S32);
BENCHMARK_CAPTURE(sndfile, float to 32 bits, SFM_WRITE, SF_FORMAT_PCM_32);
BENCHMARK_CAPTURE(auspool, 16 bits to float, 16, kFloat);
BENCHMARK_CAPTURE(swresample, 16 bits to float, AV_SAMPLE_FMT_S16, AV_SAMPLE_FMT_FLT);
BENCHMARK_CAPTURE(sndfile, 16 bits to float, SFM_READ, SF_FORMAT_PCM_16);
BENCHMARK_CAPTURE(auspool, 24 bits to float, 24, kFloat);
BENCHMARK_CAPTURE(sndfile, 24 bits to float, SFM_READ, SF_FORMAT_PCM_24);
BENCHMARK_CAPTURE(auspool, planes to 16 bits, kFloat, 16, 0, 0, true);
BENCHMARK_CAPTURE(swresample, planes to 16 bits, AV_SAMPLE_FMT_FLTP, AV_SAMPLE_FMT_S16);
BENCHMARK_CAPTURE(auspool, rectangular noise, kFloat, 16, BITBOX_DITHER_RPDF);
BENCHMARK_CAPTURE(swresample, rectangular noise, AV_SAMPLE_FMT_FLT, AV_SAMPLE_FMT_S16, "rectangular");
BENCHMARK_CAPTURE(auspool, triangular noise, kFloat, 16, BITBOX_DITHER_TPDF);
BENCHMARK_CAPTURE(swresample, triangular noise, AV_SAMPLE_FMT_FLT, AV_SAMPLE_FMT_S16, "triangular");
BENCHMARK_CAPTURE(auspool, shaped by 2 taps, kFloat, 16, BITBOX_DITHER_SIMPLE);
BENCHMARK_CAPTURE(auspool, shaped by 2 poles, kFloat, 16, BITBOX_DITHER_POLES);
BENCHMARK_CAPTURE(auspool, shaped by 5 taps, kFloat, 16, BITBOX_DITHER_CUSTOM, 5);
BENCHMARK_CAPTURE(swresample, shaped by 5 taps, AV_SAMPLE_FMT_FLT, AV_SAMPLE_FMT_S16, "lipshitz");
BENCHMARK_CAPTURE(auspool, shaped by 24 taps, kFloat, 16, BITBOX_DITHER_F_WEIGHTED);
BENCHMARK_CAPTURE(swresample, shaped by 20 taps, AV_SAMPLE_FMT_FLT, AV_SAMPLE_FMT_S16, "shibata");
BENCHMARK_CAPTURE(auspool_mono, shaped by 24 taps, BITBOX_DITHER_F_WEIGHTED);
BENCHMARK_CAPTURE(auspool, shaped by 40 taps, kFloat, 16, BITBOX_DITHER_FLAT_HIGH);
BENCHMARK_MAIN();
