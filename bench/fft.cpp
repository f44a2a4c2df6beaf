// Real transforms of 64 to 131072 points beside FFTW, whose plans are made by estimate and by measurement. FFTW's
// spectra are ordered; ours are timed in both forms.
#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <type_traits>

#include "platform/fft.h"

namespace {

using auspool::RealFft;

template <typename T>
struct Array {
  explicit Array(std::size_t count)
      : samples(static_cast<T *>(std::aligned_alloc(64, (count + 16) * sizeof(T))), std::free) {
    std::minstd_rand random(1);
    std::uniform_real_distribution<T> uniform(-1, 1);
    for (std::size_t i = 0; i < count; ++i) samples.get()[i] = uniform(random);
  }
  T *get() const { return samples.get(); }
  std::unique_ptr<T[], void (*)(void *)> samples;
};

// What both libraries are given: F samples, a spectrum, and our work.
template <typename T>
struct Data {
  explicit Data(const benchmark::State &state)
      : log2_size(static_cast<int>(state.range(0))),
        size(std::size_t{1} << log2_size),
        samples(size),
        spectrum(size + 2),
        work(size) {}
  int log2_size;
  std::size_t size;
  Array<T> samples, spectrum, work;
};

template <typename T>
void count(benchmark::State &state, const Data<T> &data) {
  const double points = static_cast<double>(state.iterations()) * static_cast<double>(data.size);
  state.counters["FLOP"] = benchmark::Counter(2.5 * points * data.log2_size, benchmark::Counter::kIsRate);
  state.SetLabel(std::to_string(data.size) + " points");
}

template <typename T>
using Transform = void (RealFft<T>::*)(const T *, T *, T *) const;

template <typename T>
void run(benchmark::State &state, Transform<T> transform) {
  Data<T> d(state);
  const RealFft<T> fft(d.log2_size);
  for (auto _ : state) {
    (fft.*transform)(d.samples.get(), d.spectrum.get(), d.work.get());
    benchmark::ClobberMemory();
  }
  count(state, d);
}

template <typename T>
void forward(benchmark::State &state) {
  run<T>(state, &RealFft<T>::forward);
}
template <typename T>
void forward_unordered(benchmark::State &state) {
  run<T>(state, &RealFft<T>::forward_unordered);
}
template <typename T>
void inverse(benchmark::State &state) {
  run<T>(state, &RealFft<T>::inverse);
}
template <typename T>
void inverse_unordered(benchmark::State &state) {
  run<T>(state, &RealFft<T>::inverse_unordered);
}

// FFTW's two families of names under one.
template <typename T>
auto make_plan(const Data<T> &d, bool is_forward, unsigned flags) {
  const int size = static_cast<int>(d.size);
  if constexpr (std::is_same_v<T, float>) {
    auto *bins = reinterpret_cast<fftwf_complex *>(d.spectrum.get());
    return is_forward ? fftwf_plan_dft_r2c_1d(size, d.samples.get(), bins, flags)
                      : fftwf_plan_dft_c2r_1d(size, bins, d.samples.get(), flags | FFTW_PRESERVE_INPUT);
  } else {
    auto *bins = reinterpret_cast<fftw_complex *>(d.spectrum.get());
    return is_forward ? fftw_plan_dft_r2c_1d(size, d.samples.get(), bins, flags)
                      : fftw_plan_dft_c2r_1d(size, bins, d.samples.get(), flags | FFTW_PRESERVE_INPUT);
  }
}
void execute(fftw_plan plan) {
  fftw_execute(plan);
}
void execute(fftwf_plan plan) {
  fftwf_execute(plan);
}
void destroy(fftw_plan plan) {
  fftw_destroy_plan(plan);
}
void destroy(fftwf_plan plan) {
  fftwf_destroy_plan(plan);
}

template <typename T, bool kForward, unsigned kFlags>
void fftw(benchmark::State &state) {
  Data<T> d(state);
  const auto plan = make_plan(d, kForward, kFlags);
  for (auto _ : state) {
    execute(plan);
    benchmark::ClobberMemory();
  }
  destroy(plan);
  count(state, d);
}

template <typename T>
void set_up(benchmark::State &state) {
  Data<T> d(state);
  for (auto _ : state) benchmark::DoNotOptimize(RealFft<T>(d.log2_size).size());
  count(state, d);
}
template <typename T>
void set_up_fftw(benchmark::State &state) {
  Data<T> d(state);
  for (auto _ : state) {
    destroy(make_plan(d, true, FFTW_ESTIMATE));
    fftw_cleanup();
    fftwf_cleanup();
  }
  count(state, d);
}

#define SIZES DenseRange(6, 17)
#define FAMILY(T)                                                                       \
  BENCHMARK(fftw<T, true, FFTW_ESTIMATE>)->Name("fftw_estimate<" #T ">")->SIZES;        \
  BENCHMARK(fftw<T, true, FFTW_MEASURE>)->Name("fftw_measure<" #T ">")->SIZES;          \
  BENCHMARK(forward<T>)->SIZES;                                                         \
  BENCHMARK(forward_unordered<T>)->SIZES;                                               \
  BENCHMARK(fftw<T, false, FFTW_MEASURE>)->Name("fftw_measure_inverse<" #T ">")->SIZES; \
  BENCHMARK(inverse<T>)->SIZES;                                                         \
  BENCHMARK(inverse_unordered<T>)->SIZES;                                               \
  BENCHMARK(set_up_fftw<T>)->SIZES;                                                     \
  BENCHMARK(set_up<T>)->SIZES;

FAMILY(double)
FAMILY(float)

}  // namespace

BENCHMARK_MAIN();
