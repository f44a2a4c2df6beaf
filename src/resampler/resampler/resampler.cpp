#include "auspool/resampler.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>

#include "base/denormal_guard.h"
#include "resampler/resampler/context.h"
#include "resampler/resampler/interpolation.h"
#include "resampler/resampler/lpf.h"

// The two assertions of this family hold in every build.
#undef NDEBUG
#include <cassert>

namespace auspool {
namespace {

constexpr double kFilterAbove = 1.1;
constexpr double kFilterBelow = 0.95;

// Stereo frames as they lie in memory, and the filter for such.
struct Interleaved {
  static constexpr bool kSideBySide = true;
  float *data;

  Strided<float> channel(std::size_t c) const { return {data ? data + c : data, 2}; }
  void filter(resampler &context, int section, std::size_t count, float cutoff) const {
    lpf_process_i2ch(context, section, data, count, cutoff);
  }
};

struct Planar {
  static constexpr bool kSideBySide = false;
  float *left, *right;

  Strided<float> channel(std::size_t c) const { return {c == 0 ? left : right, 1}; }
  void filter(resampler &context, int section, std::size_t count, float cutoff) const {
    lpf_process_ni2ch(context, section, left, right, count, cutoff);
  }
};

// 0 for rates that have no ratio.
double ratio_of(double input_rate, double output_rate) {
  const double ratio = input_rate / output_rate;
  return ratio > 0.0 && std::isfinite(ratio) ? ratio : 0.0;
}

// Whether the input is copied as it is, frame for frame. Counts say so without the position, which is above -1, but so
// little above it at times that a sum with it would count a frame less than the copy takes.
bool copies(const resampler &context, double ratio) {
  return ratio == 1.0 && context.options == 0;
}

template <typename Count>
Count count_from(double frames) {
  constexpr auto kMost = std::numeric_limits<Count>::max();
  if (!(frames > 0.0)) return 0;
  return frames < static_cast<double>(kMost) ? static_cast<Count>(frames) : kMost;
}

void forget_audio(resampler &context) {
  context.position = 0.0;
  context.filter_cutoff = 0.0f;
  std::memset(context.history, 0, sizeof context.history);
  std::memset(context.filter_input, 0, sizeof context.filter_input);
  std::memset(context.filter_output, 0, sizeof context.filter_output);
}

double carry_of(const resampler &context, double input_rate) {
  return input_rate == context.source_rate ? context.position : 0.0;
}

// Sections in a row, one more for each octave.
template <typename Frames>
void filter_aliases(resampler &context, double ratio, const Frames &input, std::uint32_t used) {
  const auto cutoff = static_cast<float>(1.0 / (2.0 * ratio));
  for (int section = 0; section < kResamplerSections; ++section) {
    input.filter(context, section, used, cutoff);
    if (ratio / (2 << section) < kFilterAbove) break;
  }
}

template <typename Frames>
Strided<const float> read_only(const Frames &frames, std::size_t channel) {
  const Strided<float> samples = frames.channel(channel);
  return {samples.data, samples.stride};
}

template <typename Frames>
void interpolate(const resampler &context, const ResamplerPosition &position, const Frames &input, std::uint32_t used,
                 const Frames &output, std::uint32_t frames_out) {
  const ResamplerRun run = find_run(position, used, frames_out);
  const auto edge = [&](std::uint32_t i) {
    const ResamplerPlace place = resampler_place(position, i, used);
    for (std::size_t c : {0u, 1u}) {
      output.channel(c)[i] = interpolate_at_edge(place, context.history[c], read_only(input, c), used);
    }
  };
  for (std::uint32_t i = 0; i < run.begin; ++i) edge(i);
  FourPointPlaces places;
  for (std::uint32_t i = run.begin; i < run.end; i += places.count) {
    find_places(position, i, run.end, places);
    if constexpr (Frames::kSideBySide) {
      interpolate_pair(places, read_only(input, 0), output.channel(0).from(i), ResamplerPolynomial());
    } else {
      interpolate_channel(places, read_only(input, 0), output.channel(0).from(i), ResamplerPolynomial());
      interpolate_channel(places, read_only(input, 1), output.channel(1).from(i), ResamplerPolynomial());
    }
  }
  for (std::uint32_t i = run.end; i < frames_out; ++i) edge(i);
}

void update_history(float *history, Strided<const float> input, std::uint32_t used) {
  if (used == 0) return;
  const std::uint32_t taken = std::min(used, std::uint32_t{3});
  std::copy(history + taken, history + 3, history);
  for (std::uint32_t i = 0; i < taken; ++i) history[3 - taken + i] = input[used - taken + i];
}

template <typename Frames>
void copy(const Frames &input, const Frames &output, std::uint32_t frames) {
  for (std::size_t c : {0u, 1u}) {
    for (std::uint32_t i = 0; i < frames; ++i) output.channel(c)[i] = input.channel(c)[i];
  }
}

// Filters and interpolates, and returns the count of input frames that went in.
template <typename Frames>
std::uint32_t convert(resampler &context, double ratio, const Frames &input, const Frames &output,
                      std::uint32_t frames_out) {
  const auto used = count_from<std::uint32_t>(std::ceil(frames_out * ratio + context.position));
  if (ratio > kFilterAbove) filter_aliases(context, ratio, input, used);
  interpolate(context, {context.position, ratio}, input, used, output, frames_out);
  constexpr double kLeast = -1.0 + 0x1p-53;  // with next to no input for an output, rounding would reach -1
  context.position = std::max((context.position + frames_out * ratio) - used, kLeast);
  return used;
}

template <typename Frames>
void resample(resampler &context, const Frames &input, const Frames &output, std::uint32_t frames_out,
              double input_rate, double output_rate) {
  const DenormalGuard guard;
  if (input_rate != context.source_rate) {
    context.source_rate = input_rate;
    forget_audio(context);
  }
  const double ratio = ratio_of(input_rate, output_rate);
  std::uint32_t used = frames_out;
  if (copies(context, ratio)) {
    copy(input, output, frames_out);
  } else {
    used = convert(context, ratio, input, output, frames_out);
  }
  for (std::size_t c : {0u, 1u}) update_history(context.history[c], read_only(input, c), used);
  if (ratio > 0.0 && ratio < kFilterBelow) output.filter(context, 0, frames_out, static_cast<float>(ratio / 2.0));
}

}  // namespace
}  // namespace auspool

resampler *resampler_create(void) {
  resampler *resamp = new (std::nothrow) resampler;
  assert(resamp);
  return resamp;
}

void resampler_reset(resampler *context) {
  resampler *resamp = context;
  assert(resamp);
  auspool::forget_audio(*resamp);
}

void resampler_destroy(resampler *context) {
  delete context;
}

int32_t resampler_frames_in(const resampler *context, int32_t frames_out, double input_rate, double output_rate) {
  if (frames_out <= 0) return 0;
  const double ratio = auspool::ratio_of(input_rate, output_rate);
  if (auspool::copies(*context, ratio)) return frames_out;
  return auspool::count_from<std::int32_t>(std::ceil(frames_out * ratio + auspool::carry_of(*context, input_rate)));
}

int32_t resampler_frames_out(const resampler *context, int32_t frames_in, double input_rate, double output_rate) {
  const double ratio = auspool::ratio_of(input_rate, output_rate);
  if (frames_in <= 0 || ratio == 0.0) return 0;
  if (auspool::copies(*context, ratio)) return frames_in;
  const double carry = auspool::carry_of(*context, input_rate);
  auto frames = auspool::count_from<std::int32_t>(std::ceil((frames_in - carry) / ratio));
  while (frames > 0 && std::ceil(frames * ratio + carry) > frames_in) --frames;
  return frames;
}

void resampler_set_options(resampler *context, const uint32_t *options) {
  if (options) context->options = *options;
}

uint32_t resampler_resample_i2ch(resampler *context, float *input, float *output, uint32_t frames_out,
                                 double input_rate, double output_rate) {
  if (frames_out == 0) return 0;
  auspool::resample(*context, auspool::Interleaved{input}, auspool::Interleaved{output}, frames_out, input_rate,
                    output_rate);
  return frames_out;
}

int32_t resampler_resample_ni2ch(resampler *context, const au_channel_pair *input, const au_channel_pair *output,
                                 int32_t frames_out, double input_rate, double output_rate) {
  if (frames_out <= 0) return 0;
  auspool::resample(*context, auspool::Planar{input->left, input->right}, auspool::Planar{output->left, output->right},
                    static_cast<std::uint32_t>(frames_out), input_rate, output_rate);
  return frames_out;
}
