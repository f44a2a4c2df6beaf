// A host of raesampler_single_shot: a stream in memory.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <vector>

#include "auspool/raesampler.h"
#include "auspool/raesampler_stages.h"

namespace auspool::testing {

template <typename Sample>
struct HostStream {
  std::vector<std::vector<Sample>> in;   // a signal for each channel
  std::vector<std::vector<Sample>> out;  // what was written
  std::int32_t most = 0x7fffffff;        // samples that a read gives at a time
  std::int64_t fail_at = -1;             // a read that begins there gives up
  std::size_t at = 0;
  std::int32_t reads = 0;
  std::int32_t asked = 0;  // what the last read was asked for
  std::int32_t writes = 0;
  std::int32_t lie = 0;             // samples that a read claims beyond what it gave
  std::function<void()> on_read{};  // called within each read

  HostStream(std::size_t channels, std::size_t samples, std::uint32_t seed = 1);

  static std::int32_t read(void *user, void *const *channels, std::int32_t max_samples) {
    auto &self = *static_cast<HostStream *>(user);
    ++self.reads;
    self.asked = max_samples;
    if (self.on_read) self.on_read();
    if (self.fail_at >= 0 && self.at >= static_cast<std::size_t>(self.fail_at)) return -7;
    const std::size_t count = std::min<std::size_t>(
        {static_cast<std::size_t>(max_samples), self.in[0].size() - self.at, static_cast<std::size_t>(self.most)});
    for (std::size_t c = 0; c < self.in.size(); ++c) {
      std::copy_n(self.in[c].begin() + static_cast<std::ptrdiff_t>(self.at), count, static_cast<Sample *>(channels[c]));
    }
    self.at += count;
    return static_cast<std::int32_t>(count) + (count > 0 ? self.lie : 0);
  }

  static void write(void *user, const void *const *channels, std::int32_t samples) {
    auto &self = *static_cast<HostStream *>(user);
    ++self.writes;
    for (std::size_t c = 0; c < self.out.size(); ++c) {
      const auto *from = static_cast<const Sample *>(channels[c]);
      self.out[c].insert(self.out[c].end(), from, from + samples);
    }
  }

  // Converts the stream through a ready chain.
  std::int32_t convert(const precomputed_structure *chain, double input_rate, double output_rate,
                       std::int32_t flags = 0, std::int32_t threads = 1) {
    return raesampler_single_shot(flags, static_cast<std::int32_t>(in.size()), sizeof(Sample), nullptr, this, read,
                                  write, chain, threads, input_rate, output_rate, 0.0);
  }
};

template <typename Sample>
std::vector<Sample> random_samples(std::size_t count, std::uint32_t seed);

template <typename Sample>
HostStream<Sample>::HostStream(std::size_t channels, std::size_t samples, std::uint32_t seed) : out(channels) {
  for (std::size_t c = 0; c < channels; ++c) {
    in.push_back(random_samples<Sample>(samples, seed + static_cast<std::uint32_t>(c)));
  }
}

// A stage of a ready chain; the same as a spec.
precomputed_stage precomputed(const stage_spec &spec);
precomputed_structure precomputed_chain_of(std::initializer_list<stage_spec> stages);

}  // namespace auspool::testing
