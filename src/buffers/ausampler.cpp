#include "buffers/ausampler.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

#include "base/denormal_guard.h"
#include "buffers/sampler_kernel.h"
#include "buffers/sampler_position.h"

namespace auspool {
namespace {

// Input rates below this share of the output rate are filtered against images.
constexpr double kFilterBelow = 0.95f;

// How a block lies in memory: channel(c) is where channel c is.
template <typename Sample>
struct Interleaved {
  static constexpr bool kSideBySide = true;  // channel c + 1 lies one float behind channel c
  Sample *data;
  std::uint32_t channels;
  Strided<Sample> channel(std::uint32_t c) const { return {data ? data + c : data, channels}; }
};

template <typename Sample>
struct Planar {
  static constexpr bool kSideBySide = false;
  Sample *const *data;
  Strided<Sample> channel(std::uint32_t c) const { return {data[c], 1}; }
};

template <typename Sample>
struct Vectors {
  static constexpr bool kSideBySide = false;
  const ausampler_iovec *data;
  Strided<Sample> channel(std::uint32_t c) const { return {data[c].data, data[c].stride / sizeof(Sample)}; }
};

struct Counts {
  std::uint32_t in, out;
  double fraction;  // what the conversion leaves
};

double output_frames(std::uint32_t frames_in, double rate_in, double rate_out) {
  return (rate_out / rate_in) * frames_in;
}

Counts counts_of_pull(const ausampler &sampler, std::uint32_t frames_out, double rate_in, double rate_out) {
  if (frames_out == 0 || rate_in == rate_out) return {frames_out, frames_out, sampler.fraction};
  const std::uint32_t in = sampler_frames_needed(sampler_position(sampler.fraction, rate_in, rate_out), frames_out);
  return {in, frames_out, sampler.fraction + output_frames(in, rate_in, rate_out) - frames_out};
}

Counts counts_of_push(const ausampler &sampler, std::uint32_t frames_in, double rate_in, double rate_out) {
  if (frames_in == 0 || rate_in == rate_out) return {frames_in, frames_in, sampler.fraction};
  const double total = output_frames(frames_in, rate_in, rate_out) + sampler.fraction;
  const SamplerPosition position = sampler_position(sampler.fraction, rate_in, rate_out);
  const std::uint32_t out = sampler_frames_possible(position, frames_from(total), frames_in);
  return {frames_in, out, total - out};
}

void update_history(float *history, Strided<const float> source, std::uint32_t frames_in) {
  const std::uint32_t taken = std::min(frames_in, std::uint32_t{4});
  std::copy(history + taken, history + 4, history);
  for (std::uint32_t i = 0; i < taken; ++i) history[4 - taken + i] = source[frames_in - taken + i];
}

template <typename Source, typename Destination>
void interpolate(const ausampler &sampler, const SamplerPosition &position, const Source &source,
                 const Destination &destination, const Counts &counts) {
  const SteadyRun steady = find_steady_run(position, counts.in, counts.out);
  for (std::uint32_t c = 0; c < sampler.channels; ++c) {
    interpolate_edges(position, steady, sampler.channel_state[c].history, source.channel(c), counts.in,
                      destination.channel(c), counts.out);
  }
  FourPointPlaces places;
  for (std::uint32_t k = steady.begin; k < steady.end; k += places.count) {
    find_places(position, k, steady.end, places);
    for (std::uint32_t c = 0; c < sampler.channels; ++c) {
      const Strided<float> to = destination.channel(c).from(k);
      if (Source::kSideBySide && c + 1 < sampler.channels) {
        interpolate_pair(places, source.channel(c++), to, Lagrange());
      } else {
        interpolate_channel(places, source.channel(c), to, Lagrange());
      }
    }
  }
}

// Two channels at a time where their strides are the same.
template <typename Destination>
void filter_images(ausampler &sampler, double step, const Destination &destination, std::uint32_t frames) {
  const auto cutoff = static_cast<float>(step * 0.5);
  if (cutoff != sampler.cutoff) {
    sampler.cutoff = cutoff;
    sampler.coefficients = low_pass_biquad(cutoff);
  }
  for (std::uint32_t c = 0; c < sampler.channels; ++c) {
    BiquadState &state = sampler.channel_state[c].filter;
    const Strided<float> samples = destination.channel(c);
    if (c + 1 < sampler.channels && destination.channel(c + 1).stride == samples.stride) {
      ++c;
      filter_pair_in_place(sampler.coefficients, state, sampler.channel_state[c].filter, samples.data,
                           destination.channel(c).data, frames, samples.stride);
    } else {
      filter_in_place(sampler.coefficients, state, samples.data, frames, samples.stride);
    }
  }
}

template <typename Source, typename Destination>
void resample(ausampler &sampler, const Source &source, const Destination &destination, const Counts &counts,
              double rate_in, double rate_out) {
  const DenormalGuard guard;
  const SamplerPosition position = sampler_position(sampler.fraction, rate_in, rate_out);
  interpolate(sampler, position, source, destination, counts);
  if (position.step < kFilterBelow && counts.out > 0) filter_images(sampler, position.step, destination, counts.out);
  for (std::uint32_t c = 0; c < sampler.channels; ++c) {
    update_history(sampler.channel_state[c].history, source.channel(c), counts.in);
  }
  // Rates that make no sense must not leave a fraction that would spoil all that follows.
  if (std::isfinite(counts.fraction)) sampler.fraction = counts.fraction;
}

template <typename Source, typename Destination>
std::uint32_t pull(ausampler &sampler, const Source &source, const Destination &destination, std::uint32_t frames_out,
                   double rate_in, double rate_out) {
  if (frames_out == 0) return 0;
  const Counts counts = counts_of_pull(sampler, frames_out, rate_in, rate_out);
  resample(sampler, source, destination, counts, rate_in, rate_out);
  return frames_out;
}

template <typename Source, typename Destination>
std::uint32_t push(ausampler &sampler, const Source &source, const Destination &destination, std::uint32_t frames_in,
                   double rate_in, double rate_out) {
  if (frames_in == 0) return 0;
  const Counts counts = counts_of_push(sampler, frames_in, rate_in, rate_out);
  resample(sampler, source, destination, counts, rate_in, rate_out);
  return frames_in;
}

}  // namespace
}  // namespace auspool

using auspool::Interleaved;
using auspool::Planar;
using auspool::Vectors;

ausampler *ausampler_create(uint32_t channels) {
  using auspool::SamplerChannel;
  static_assert(sizeof(ausampler) % alignof(SamplerChannel) == 0);
  void *block = ::operator new(sizeof(ausampler) + channels * sizeof(SamplerChannel), std::nothrow);
  if (!block) return nullptr;
  auto *sampler = new (block) ausampler;
  sampler->channels = channels;
  sampler->channel_state = reinterpret_cast<SamplerChannel *>(sampler + 1);
  std::uninitialized_default_construct_n(sampler->channel_state, channels);
  return sampler;
}

void ausampler_reset(ausampler *sampler) {
  std::fill_n(sampler->channel_state, sampler->channels, auspool::SamplerChannel{});
  sampler->fraction = 1.0;
  sampler->cutoff = 0.0f;
}

void ausampler_destroy(ausampler *sampler) {
  ::operator delete(sampler);
}

uint32_t ausampler_read_frames_in(const ausampler *sampler, uint32_t frames_out, double rate_in, double rate_out) {
  return auspool::counts_of_pull(*sampler, frames_out, rate_in, rate_out).in;
}

uint32_t ausampler_write_frames_out(const ausampler *sampler, uint32_t frames_in, double rate_in, double rate_out) {
  return auspool::counts_of_push(*sampler, frames_in, rate_in, rate_out).out;
}

uint32_t ausampler_read_interleaved(ausampler *sampler, const float *source, float *destination, uint32_t frames_out,
                                    double rate_in, double rate_out) {
  return auspool::pull(*sampler, Interleaved<const float>{source, sampler->channels},
                       Interleaved<float>{destination, sampler->channels}, frames_out, rate_in, rate_out);
}

uint32_t ausampler_read_noninterleaved(ausampler *sampler, const float *const *source, float *const *destination,
                                       uint32_t frames_out, double rate_in, double rate_out) {
  return auspool::pull(*sampler, Planar<const float>{source}, Planar<float>{destination}, frames_out, rate_in,
                       rate_out);
}

uint32_t ausampler_read_iovec(ausampler *sampler, const ausampler_iovec *source, const ausampler_iovec *destination,
                              uint32_t frames_out, double rate_in, double rate_out) {
  return auspool::pull(*sampler, Vectors<const float>{source}, Vectors<float>{destination}, frames_out, rate_in,
                       rate_out);
}

uint32_t ausampler_write_interleaved(ausampler *sampler, const float *source, float *destination, uint32_t frames_in,
                                     double rate_in, double rate_out) {
  return auspool::push(*sampler, Interleaved<const float>{source, sampler->channels},
                       Interleaved<float>{destination, sampler->channels}, frames_in, rate_in, rate_out);
}

uint32_t ausampler_write_noninterleaved(ausampler *sampler, const float *const *source, float *const *destination,
                                        uint32_t frames_in, double rate_in, double rate_out) {
  return auspool::push(*sampler, Planar<const float>{source}, Planar<float>{destination}, frames_in, rate_in, rate_out);
}

uint32_t ausampler_write_iovec(ausampler *sampler, const ausampler_iovec *source, const ausampler_iovec *destination,
                               uint32_t frames_in, double rate_in, double rate_out) {
  return auspool::push(*sampler, Vectors<const float>{source}, Vectors<float>{destination}, frames_in, rate_in,
                       rate_out);
}
