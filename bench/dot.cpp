// Dot products of filter lengths: ours alone and several outputs a pass, beside a plain loop and OpenBLAS.
#include <benchmark/benchmark.h>
#include <cblas.h>

#include <cstddef>
#include <memory>
#include <random>
#include <type_traits>
#include <vector>

#include "platform/vector.h"
#include "platform/vector/reference.h"

namespace {

constexpr std::size_t kWindows = 256;  // outputs a round, their windows a sample apart

template <typename T>
struct Signal {
  explicit Signal(std::size_t taps) : samples(taps + kWindows), rows(taps + 64 / sizeof(T)), out(kWindows) {
    std::minstd_rand random(1);
    std::uniform_real_distribution<T> uniform(-1, 1);
    for (T &x : samples) x = uniform(random);
    for (T &x : rows) x = uniform(random);
    void *start = rows.data();
    std::size_t space = rows.size() * sizeof(T);
    filter = static_cast<T *>(std::align(64, taps * sizeof(T), start, space));
  }
  std::vector<T> samples, rows, out;
  const T *filter;  // on a cache line, as stages keep theirs
};

void count(benchmark::State &state) {
  const double dots = static_cast<double>(state.iterations()) * kWindows;
  const double flops = 2 * dots * static_cast<double>(state.range(0));
  state.counters["FLOP"] = benchmark::Counter(flops, benchmark::Counter::kIsRate);
  state.counters["s/dot"] = benchmark::Counter(dots, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

template <typename T, class Dot>
void each_window(benchmark::State &state, Dot dot) {
  const auto taps = static_cast<std::size_t>(state.range(0));
  Signal<T> s(taps);
  for (auto _ : state) {
    for (std::size_t k = 0; k < kWindows; ++k) s.out[k] = dot(s.samples.data() + k, s.filter, taps);
    benchmark::DoNotOptimize(s.out.data());
    benchmark::ClobberMemory();
  }
  count(state);
}

template <typename T>
void plain_loop(benchmark::State &state) {
  each_window<T>(state, auspool::vector::reference::dot<T>);
}

template <typename T>
void openblas(benchmark::State &state) {
  each_window<T>(state, [](const T *a, const T *b, std::size_t count) -> T {
    if constexpr (std::is_same_v<T, float>) {
      return cblas_sdot(static_cast<blasint>(count), a, 1, b, 1);
    } else {
      return cblas_ddot(static_cast<blasint>(count), a, 1, b, 1);
    }
  });
}

template <typename T>
void dot(benchmark::State &state) {
  each_window<T>(state, auspool::vector::dot<T>);
}

// `state.range(1)`: from one window to the next.
template <typename T>
void dot_many(benchmark::State &state) {
  const auto taps = static_cast<std::size_t>(state.range(0));
  const std::ptrdiff_t hop = state.range(1);
  Signal<T> s(taps + 8 * static_cast<std::size_t>(hop));
  for (auto _ : state) {
    for (std::size_t k = 0; k < kWindows; k += 8) {
      auspool::vector::dot_many<T>({s.samples.data() + k, hop, s.filter, 0, taps, s.out.data() + k, 1, 8});
    }
    benchmark::DoNotOptimize(s.out.data());
    benchmark::ClobberMemory();
  }
  count(state);
}

constexpr int kTaps[] = {15, 53, 99, 447, 753, 3461};

void lengths(benchmark::internal::Benchmark *benchmark) {
  for (const int taps : kTaps) benchmark->Arg(taps);
}

// Windows as a filter, a halving and a 147/160 resampler have them.
void lengths_and_hops(benchmark::internal::Benchmark *benchmark) {
  for (const int hop : {1, 2, 160}) {
    for (const int taps : kTaps) benchmark->Args({taps, hop});
  }
}

BENCHMARK(plain_loop<double>)->Apply(lengths);
BENCHMARK(openblas<double>)->Apply(lengths);
BENCHMARK(dot<double>)->Apply(lengths);
BENCHMARK(dot_many<double>)->Apply(lengths_and_hops);
BENCHMARK(plain_loop<float>)->Apply(lengths);
BENCHMARK(openblas<float>)->Apply(lengths);
BENCHMARK(dot<float>)->Apply(lengths);
BENCHMARK(dot_many<float>)->Apply(lengths_and_hops);

}  // namespace

BENCHMARK_MAIN();
