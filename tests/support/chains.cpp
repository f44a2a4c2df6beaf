#include "support/chains.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <stdexcept>

#include "auspool/filter_design.h"
#include "resampler/stages/stage.h"

namespace auspool::testing {
namespace {

std::uint32_t type_of(std::int32_t up, std::int32_t down) {
  if (up == 1) return down == 1 ? RAESAMPLER_STAGE_FILTER : RAESAMPLER_STAGE_DECIMATOR;
  return down == 1 ? RAESAMPLER_STAGE_INTERPOLATOR : RAESAMPLER_STAGE_RATIONAL;
}

double beta_of(double attenuation) {
  return (attenuation - 8.7) * 0.1102;
}

bool is_polyphase(const stage_spec &spec) {
  return spec.type == RAESAMPLER_STAGE_RATIONAL || spec.type == RAESAMPLER_STAGE_INTERPOLATOR;
}

std::vector<double> prototype_of(const stage_spec &spec) {
  const std::int32_t taps = (spec.length + spec.up - 1) / spec.up;
  const std::int32_t length = is_polyphase(spec) ? (taps * spec.up - 1) | 1 : spec.length;
  double *made =
      create_lp_filter(length, static_cast<std::int32_t>(spec.window), static_cast<std::int32_t>(spec.minimum_phase),
                       nullptr, spec.gain, spec.cutoff, spec.kaiser_beta);
  std::vector<double> prototype(made, made + length);
  std::free(made);
  return prototype;
}

}  // namespace

stage_spec filter_spec(std::int32_t up, std::int32_t down, std::int32_t length, double attenuation) {
  stage_spec spec = {};
  spec.type = type_of(up, down);
  spec.up = up;
  spec.down = down;
  spec.length = length;
  spec.ratio = static_cast<double>(up) / down;
  spec.gain = up;
  spec.window = AU_WINDOW_KAISER;
  spec.kaiser_beta = beta_of(attenuation);
  spec.stop_edge = 1.0 / std::max(up, down);
  spec.pass_edge = 0.85 * spec.stop_edge;
  spec.cutoff = (spec.pass_edge + spec.stop_edge) / 2;
  return spec;
}

stage_spec designed_spec(std::int32_t up, std::int32_t down, double pass, double stop, double attenuation) {
  stage_spec spec = filter_spec(up, down, 1, attenuation);
  const double ripple = std::pow(10.0, -attenuation / 20);
  spec.pass_edge = pass / std::max(up, down);
  spec.stop_edge = stop / std::max(up, down);
  spec.length = static_cast<std::int32_t>(
      kaiser_estimate(&spec.kaiser_beta, &spec.cutoff, spec.pass_edge, spec.stop_edge, ripple, ripple) | 1);
  return spec;
}

stage_spec sinc_spec(double ratio, std::int32_t taps, double beta) {
  stage_spec spec = {};
  spec.type = RAESAMPLER_STAGE_SINC;
  spec.up = 1;
  spec.down = 1;
  spec.length = taps;
  spec.ratio = ratio;
  spec.gain = 1.0;
  spec.cutoff = 1.0;
  spec.window = AU_WINDOW_KAISER;
  spec.kaiser_beta = beta;
  return spec;
}

resampler_structure chain_of(std::initializer_list<stage_spec> stages) {
  resampler_structure structure = {};
  for (const stage_spec &spec : stages) structure.stages[structure.count++] = spec;
  return structure;
}

std::int32_t random_between(std::mt19937 &random, std::int32_t least, std::int32_t most) {
  return std::uniform_int_distribution<std::int32_t>(least, most)(random);
}

stage_spec random_filter_spec(std::mt19937 &random) {
  const std::int32_t kind = random_between(random, 0, 3);
  const std::int32_t up = kind == 0 || kind == 1 ? 1 : random_between(random, 1, 12);
  const std::int32_t down = kind == 1 || kind == 3 ? 1 : random_between(random, 1, 12);
  stage_spec spec = filter_spec(up, down, random_between(random, 1, 40 * std::max(up, down)));
  spec.minimum_phase = random_between(random, 0, 4) == 0;
  // A polyphase stage may be asked for any factors.
  if (random_between(random, 0, 5) == 0) spec.type = RAESAMPLER_STAGE_RATIONAL;
  return spec;
}

resampler_structure random_structure(std::mt19937 &random, std::int32_t most_stages, bool with_sinc) {
  resampler_structure structure = {};
  const std::int32_t stages = random_between(random, 1, most_stages);
  double ratio = 1.0;
  while (structure.count < stages) {
    stage_spec spec = random_filter_spec(random);
    if (with_sinc && random_between(random, 0, 2) == 0) {
      spec = sinc_spec(std::uniform_real_distribution<>(0.2, 3.0)(random), 2 * random_between(random, 1, 12) + 1);
    }
    if (ratio * spec.ratio > 40 || ratio * spec.ratio < 1.0 / 40) continue;
    ratio *= spec.ratio;
    structure.stages[structure.count++] = spec;
  }
  return structure;
}

RaesamplerHandle make_chain(const resampler_structure &structure, std::int32_t flags, std::int32_t channels) {
  return RaesamplerHandle(raesampler_create_from_structure(flags, channels, 0, &structure, 48000.0));
}

Stage::Stage(const stage_spec &spec, std::int32_t sample_size, std::int32_t channels, std::int32_t low_latency_block,
             std::int32_t threads)
    : channels_(channels), window_(stage_window(spec)) {
  if (create_converter_stage(sample_size, &stage_, &spec, channels, threads, low_latency_block) != 0) {
    throw std::runtime_error("the stage could not be built");
  }
}

Stage::~Stage() {
  if (stage_.free_shared) stage_.free_shared(stage_.shared);
  if (stage_.free_workbuffer) stage_.free_workbuffer(stage_.work);
  for (std::int32_t c = 0; stage_.states && c < channels_; ++c) stage_.destroy(stage_.states[c]);
  std::free(stage_.states);
}

template <typename Sample>
std::int32_t Stage::process(std::span<const Sample> in, std::vector<Sample> &out) {
  const std::size_t before = out.size();
  const auto count = static_cast<std::int32_t>(in.size());
  out.resize(before + static_cast<std::size_t>(bound(count)) + 1);
  const std::int32_t made =
      stage_.process(state(), stage_.shared, stage_.work, in.data(), 1, out.data() + before, 1, count, 1);
  out.resize(before + static_cast<std::size_t>(made));
  return made;
}

template <typename Sample>
std::vector<Sample> Stage::stream(const std::vector<Sample> &in, std::mt19937 &random, std::int32_t longest) {
  std::vector<Sample> out;
  for (std::size_t at = 0; at < in.size();) {
    const std::int32_t waiting = inputs(1) - window_;
    const std::int32_t drawn = waiting > 0 ? waiting : random_between(random, 1, longest);
    const std::size_t count = std::min(static_cast<std::size_t>(drawn), in.size() - at);
    process(std::span<const Sample>(in).subspan(at, count), out);
    at += count;
  }
  return out;
}

template std::int32_t Stage::process(std::span<const float>, std::vector<float> &);
template std::int32_t Stage::process(std::span<const double>, std::vector<double> &);
template std::vector<float> Stage::stream(const std::vector<float> &, std::mt19937 &, std::int32_t);
template std::vector<double> Stage::stream(const std::vector<double> &, std::mt19937 &, std::int32_t);

std::vector<double> plain_filter(const stage_spec &spec, const std::vector<double> &in, std::int64_t first) {
  const std::vector<double> prototype = prototype_of(spec);
  const auto length = static_cast<std::int64_t>(prototype.size());
  const auto count = static_cast<std::int64_t>(in.size());
  std::vector<double> out;
  for (std::int64_t k = 0;; ++k) {
    const std::int64_t newest = first + k * spec.down / spec.up;
    if (newest >= count) return out;
    double sum = 0;
    std::int64_t tap = k * spec.down % spec.up;
    for (std::int64_t i = newest; tap < length && i >= 0; --i, tap += spec.up) {
      sum += prototype[static_cast<std::size_t>(tap)] * in[static_cast<std::size_t>(i)];
    }
    out.push_back(sum);
  }
}

std::vector<double> plain_sinc(const stage_spec &spec, const std::vector<double> &in, std::int64_t first) {
  const std::int32_t length = spec.length * 1024 + 1025;
  const std::int32_t middle = length / 2;
  std::vector<double> function(static_cast<std::size_t>(length), 1.0);
  for (std::int32_t i = 1; i <= middle; ++i) {
    const double x = i * std::numbers::pi / 1024;
    function[static_cast<std::size_t>(middle + i)] = function[static_cast<std::size_t>(middle - i)] = std::sin(x) / x;
  }
  apply_kaiser_window_with_gain(function.data(), length, spec.kaiser_beta, 1.0);
  const auto weight = [&](double distance) {
    const double place = middle + distance * 1024;
    const auto below = static_cast<std::size_t>(std::floor(place));
    return function[below] + (function[below + 1] - function[below]) * (place - std::floor(place));
  };
  std::vector<double> out;
  double position = 0;
  for (std::int64_t newest = first; newest < static_cast<std::int64_t>(in.size());) {
    const std::int64_t centre = newest - spec.length / 2;
    double sum = 0;
    for (std::int64_t i = std::max<std::int64_t>(newest - spec.length + 1, 0); i <= newest; ++i) {
      sum += in[static_cast<std::size_t>(i)] * weight(position - static_cast<double>(i - centre));
    }
    out.push_back(sum);
    position += 1.0 / spec.ratio;
    newest += static_cast<std::int64_t>(std::floor(position));
    position -= std::floor(position);
  }
  return out;
}

template <typename Sample>
std::vector<Sample> random_samples(std::size_t count, std::uint32_t seed) {
  std::mt19937 random(seed);
  std::vector<Sample> samples(count);
  for (Sample &sample : samples) sample = std::uniform_real_distribution<Sample>(-1, 1)(random);
  return samples;
}
template std::vector<float> random_samples(std::size_t, std::uint32_t);
template std::vector<double> random_samples(std::size_t, std::uint32_t);

}  // namespace auspool::testing
