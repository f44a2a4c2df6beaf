// The meters on stereo blocks of noise that lie in the cache, as they do on an audio thread. ns_a_frame is processor
// time.
//
// memcpy copies both channels of the block. libebur128's sample peak comes with momentary loudness: two filters that
// weight frequencies before the mean of squares; it takes interleaved blocks. What the spectrum meter does through FFTW
// is the same down to the levels in decibels: the sum of the channels, the window, a measured plan, powers, logarithms,
// with our row kernels around the transform.
#include <benchmark/benchmark.h>
#include <ebur128.h>
#include <fftw3.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <numbers>
#include <random>
#include <vector>

#include "auspool/aumeter.h"
#include "auspool/auspecmeter.h"
#include "platform/level.h"
#include "platform/spectrum_levels.h"
#include "platform/vector.h"

namespace {

using Row = std::vector<float>;

struct Block {
  explicit Block(const benchmark::State &state)
      : frames(static_cast<std::size_t>(state.range(0))), samples(2 * frames) {
    std::minstd_rand random(1);
    std::uniform_real_distribution<float> uniform(-0.5f, 0.5f);
    for (float &sample : samples) sample = uniform(random);
  }
  au_channel_pair pair() { return {samples.data(), samples.data() + frames}; }

  std::size_t frames;
  Row samples;  // left, then right; for libebur128 interleaved, which is the same to it
};

template <typename Work>
void run(benchmark::State &state, std::size_t frames, const Work &work) {
  for (auto _ : state) {
    work();
    benchmark::ClobberMemory();
  }
  const auto all = static_cast<double>(state.iterations()) * static_cast<double>(frames) * 1e-9;
  state.counters["ns_a_frame"] = benchmark::Counter(all, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// ---- Levels ----

void copy_by_memcpy(benchmark::State &state) {
  const Block block(state);
  Row copy(block.samples.size());
  run(state, block.frames, [&] {
    std::memcpy(copy.data(), block.samples.data(), copy.size() * sizeof(float));
    benchmark::DoNotOptimize(copy.data());
  });
}

// The loop alone, without the clock and the fall.
void peak_and_squares(benchmark::State &state) {
  const Block block(state);
  run(state, block.frames, [&] {
    benchmark::DoNotOptimize(auspool::measure_level(block.samples.data(), block.frames));
    benchmark::DoNotOptimize(auspool::measure_level(block.samples.data() + block.frames, block.frames));
  });
}

void level_meter(benchmark::State &state) {
  Block block(state);
  const au_channel_pair pair = block.pair();
  aumeter *meter = aumeter_create();
  run(state, block.frames, [&] { aumeter_process_ni2ch(meter, &pair, static_cast<std::int32_t>(block.frames)); });
  aumeter_destroy(meter);
}

void ebur128(benchmark::State &state) {
  const Block block(state);
  ebur128_state *meter = ebur128_init(2, 48000, EBUR128_MODE_SAMPLE_PEAK);
  run(state, block.frames, [&] { ebur128_add_frames_float(meter, block.samples.data(), block.frames); });
  ebur128_destroy(&meter);
}

// All four decibel and clip reads of a display.
void level_reads(benchmark::State &state) {
  aumeter *meter = aumeter_create();
  float left, right;
  run(state, 1, [&] {
    aumeter_get_peak_metered(meter, &left, &right);
    aumeter_get_rms_metered(meter, &left, &right);
    aumeter_get_clip(meter, &left, &right);
    benchmark::DoNotOptimize(left + right);
  });
  aumeter_destroy(meter);
}

#define BLOCKS Arg(64)->Arg(256)->Arg(1024)
BENCHMARK(copy_by_memcpy)->BLOCKS;
BENCHMARK(peak_and_squares)->BLOCKS;
BENCHMARK(level_meter)->BLOCKS;
BENCHMARK(ebur128)->BLOCKS;
BENCHMARK(level_reads);

// ---- Spectra, a transform for each block: as many new frames as the meter is wide ----

void spectrum_meter(benchmark::State &state) {
  Block block(state);
  const au_channel_pair pair = block.pair();
  const auto width = static_cast<std::int32_t>(block.frames);
  auspecmeter *meter = auspecmeter_create(width);
  run(state, block.frames, [&] { auspecmeter_process_ni2ch(meter, &pair, width); });
  auspecmeter_destroy(meter);
}

class FftwMeter {
public:
  explicit FftwMeter(std::size_t width)
      : half_(width),
        window_(2 * width),
        samples_(2 * width),
        powers_(width),
        levels_(width),
        windowed_(fftwf_alloc_real(2 * width)),
        bins_(fftwf_alloc_complex(width + 1)),
        plan_(fftwf_plan_dft_r2c_1d(static_cast<int>(2 * width), windowed_, bins_, FFTW_MEASURE)) {
    for (std::size_t i = 0; i < window_.size(); ++i) {
      const double turns = static_cast<double>(i) / static_cast<double>(window_.size() - 1);
      window_[i] = static_cast<float>(0.25 * (1 - std::cos(2 * std::numbers::pi * turns)));
    }
  }
  ~FftwMeter() {
    fftwf_destroy_plan(plan_);
    fftwf_free(bins_);
    fftwf_free(windowed_);
  }
  FftwMeter(const FftwMeter &) = delete;
  FftwMeter &operator=(const FftwMeter &) = delete;

  void process(const au_channel_pair &block) {
    std::copy(samples_.begin() + static_cast<std::ptrdiff_t>(half_), samples_.end(), samples_.begin());
    auspool::vector::add(block.left, block.right, samples_.data() + half_, half_);
    auspool::apply_window(samples_.data(), window_.data(), windowed_, 2 * half_);
    fftwf_execute(plan_);
    const float scale = 2.0f / static_cast<float>(half_);
    for (std::size_t k = 0; k < half_; ++k) {
      const float re = scale * bins_[k][0], im = scale * bins_[k][1];
      powers_[k] = std::min(1.0f, re * re + im * im);
    }
    auspool::fall_levels(levels_.data(), 0.5f, half_);
    auspool::raise_levels(powers_.data(), 1.0f, levels_.data(), half_);
    benchmark::DoNotOptimize(levels_.data());
  }

private:
  std::size_t half_;
  Row window_, samples_, powers_, levels_;
  float *windowed_;
  fftwf_complex *bins_;
  fftwf_plan plan_;
};

void spectrum_through_fftw(benchmark::State &state) {
  Block block(state);
  FftwMeter meter(block.frames);
  run(state, block.frames, [&] { meter.process(block.pair()); });
}

void spectrum_read(benchmark::State &state) {
  const auto width = static_cast<std::int32_t>(state.range(0));
  auspecmeter *meter = auspecmeter_create(width);
  Row levels(static_cast<std::size_t>(width));
  run(state, levels.size(), [&] { auspecmeter_get_spectrum_metered(meter, levels.data()); });
  auspecmeter_destroy(meter);
}

#define WIDTHS Arg(256)->Arg(1024)->Arg(2048)
BENCHMARK(spectrum_through_fftw)->WIDTHS;
BENCHMARK(spectrum_meter)->WIDTHS;
BENCHMARK(spectrum_read)->WIDTHS;

}  // namespace

BENCHMARK_MAIN();
