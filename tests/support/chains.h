// Stages and chains for tests: their descriptions, owners, and ways to run them.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <random>
#include <span>
#include <vector>

#include "auspool/raesampler_stages.h"

namespace auspool::testing {

struct RaesamplerDestroyer {
  void operator()(raesampler *r) const { raesampler_destroy(r); }
};
using RaesamplerHandle = std::unique_ptr<raesampler, RaesamplerDestroyer>;

// A low-pass stage whose filter has `length` taps, shaped as a plan would: `pass` and `stop` are fractions of the
// narrower of the two bands. The type follows from the factors.
stage_spec filter_spec(std::int32_t up, std::int32_t down, std::int32_t length, double attenuation = 60.0);

// The same with the length that the edges ask for: flat up to `pass`, silent from `stop` on, as fractions of the
// narrower of the two bands.
stage_spec designed_spec(std::int32_t up, std::int32_t down, double pass, double stop, double attenuation);

stage_spec sinc_spec(double ratio, std::int32_t taps, double beta = 5.6533);

resampler_structure chain_of(std::initializer_list<stage_spec> stages);

// Short random stages, and chains of them whose ratio stays moderate.
stage_spec random_filter_spec(std::mt19937 &random);
resampler_structure random_structure(std::mt19937 &random, std::int32_t most_stages, bool with_sinc);

std::int32_t random_between(std::mt19937 &random, std::int32_t least, std::int32_t most);

RaesamplerHandle make_chain(const resampler_structure &structure, std::int32_t flags = 0, std::int32_t channels = 1);

// One stage of one channel.
class Stage {
public:
  Stage(const stage_spec &spec, std::int32_t sample_size, std::int32_t channels = 1, std::int32_t low_latency_block = 0,
        std::int32_t threads = 1);
  ~Stage();
  Stage(const Stage &) = delete;
  Stage &operator=(const Stage &) = delete;

  raesampler_stage *operator->() { return &stage_; }
  void *state() const { return stage_.states[0]; }
  std::int32_t outputs(std::int32_t inputs) const { return stage_.output_samples(state(), inputs, 0); }
  std::int32_t bound(std::int32_t inputs) const { return stage_.output_samples(state(), inputs, 1); }
  std::int32_t inputs(std::int32_t outputs) const { return stage_.input_samples(state(), outputs); }

  // Runs `process` over a block; what comes out is appended to `out`.
  template <typename Sample>
  std::int32_t process(std::span<const Sample> in, std::vector<Sample> &out);

  // The same over a whole signal in blocks of 1 to `longest`, drawn from `random`. Blocks that the stage skips are fed
  // by themselves.
  template <typename Sample>
  std::vector<Sample> stream(const std::vector<Sample> &in, std::mt19937 &random, std::int32_t longest);

private:
  raesampler_stage stage_ = {};
  std::int32_t channels_;
  std::int32_t window_;
};

// The filter of a stage as a plain sum over the whole signal, in double, from the first input on. `first` is the input
// sample that the first output's window ends with.
std::vector<double> plain_filter(const stage_spec &spec, const std::vector<double> &in, std::int64_t first);

// The same for a sinc stage.
std::vector<double> plain_sinc(const stage_spec &spec, const std::vector<double> &in, std::int64_t first);

// Random samples between -1 and 1.
template <typename Sample>
std::vector<Sample> random_samples(std::size_t count, std::uint32_t seed);

// The greatest difference between two signals of the same length.
template <typename A, typename B>
double greatest_difference(const A &a, const B &b) {
  double greatest = a.size() == b.size() ? 0.0 : 1e9;
  for (std::size_t i = 0; i < a.size() && i < b.size(); ++i) {
    greatest = std::max(greatest, std::abs(static_cast<double>(a[i]) - static_cast<double>(b[i])));
  }
  return greatest;
}

}  // namespace auspool::testing
