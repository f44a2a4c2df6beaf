// raesampler_single_shot: a whole stream, block by block.
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "platform/vector.h"
#include "resampler/chain/chain.h"
#include "resampler/planning/find_structure.h"
#include "resampler/quality.h"
#include "resampler/single_shot/buffers.h"
#include "resampler/single_shot/engine.h"

namespace auspool {
namespace {

constexpr std::int32_t kBlockSamples = 0x100000;  // of all channels together
constexpr std::int32_t kFailed = -1;

// The host's side of a stream.
struct Host {
  void *user;
  raesampler_read read;
  raesampler_write write;
  std::size_t sample_size;
  std::size_t channels;
};

// Equal rates: blocks go on as they come.
std::int32_t pass_on(const Host &host, std::int32_t block) {
  const std::size_t channel_bytes = static_cast<std::size_t>(block) * host.sample_size;
  const auto memory = make_block<std::byte>(host.channels * channel_bytes);
  std::vector<void *> pointers(host.channels);
  for (std::size_t c = 0; c < host.channels; ++c) pointers[c] = memory.get() + c * channel_bytes;
  std::int32_t count;
  while ((count = std::min(host.read(host.user, pointers.data(), block), block)) > 0) {
    host.write(host.user, pointers.data(), count);
  }
  return count == 0 ? 0 : kFailed;
}

class Conversion {
public:
  Conversion(const Host &host, const raesampler &chain, const BlockSizes &sizes, std::int32_t threads, double ratio)
      : host_(host),
        chain_(chain),
        block_(sizes.block),
        ratio_(ratio),
        buffers_(chain.channels, chain.sample_size, sizes),
        pointers_(chain.channels),
        engine_(chain, buffers_, threads) {}

  std::int32_t run() {
    std::int64_t total_in = 0;
    for (std::int32_t count; (count = read_block()) != 0; total_in += count) {
      if (count < 0) return kFailed;
      convert(count, std::numeric_limits<std::int64_t>::max());
    }
    if (total_in == 0) return kFailed;
    flush(std::llround(static_cast<double>(total_in) * ratio_));
    return 0;
  }

private:
  // Feeds silence until `expected` samples in all are out, and drops what is more. The stages may ask for less silence
  // than that takes, so it repeats.
  void flush(std::int64_t expected) {
    do {
      const std::int32_t count = std::clamp(raesampler_padding(&chain_), 1, block_);
      buffers_.restore();
      for (const BufferPair &pair : buffers_)
        std::memset(pair.from, 0, static_cast<std::size_t>(count) * chain_.sample_size);
      convert(count, expected);
    } while (total_out_ < expected);
  }

  // Runs a block, and writes its output up to the stream's sample `end`.
  void convert(std::int32_t count, std::int64_t end) {
    const std::int64_t made = engine_.run(count);
    total_out_ += made;
    const std::int64_t wanted = std::min(made, made - (total_out_ - end));
    if (wanted > 0) write_block(static_cast<std::int32_t>(wanted));
  }

  bool is_widened() const { return host_.sample_size < chain_.sample_size; }

  // Narrow samples are read beside where they go as wide ones.
  std::int32_t read_block() {
    buffers_.restore();
    for (std::size_t c = 0; c < pointers_.size(); ++c) pointers_[c] = is_widened() ? buffers_[c].to : buffers_[c].from;
    const std::int32_t count = std::min(host_.read(host_.user, pointers_.data(), block_), block_);
    for (const BufferPair &pair : buffers_) {
      if (!is_widened() || count < 1) break;
      vector::widen(reinterpret_cast<float *>(pair.to), 1, reinterpret_cast<double *>(pair.from), 1,
                    static_cast<std::size_t>(count));
    }
    return count;
  }

  void write_block(std::int32_t count) {
    for (const BufferPair &pair : buffers_) {
      if (!is_widened()) break;
      vector::narrow(reinterpret_cast<double *>(pair.from), 1, reinterpret_cast<float *>(pair.to), 1,
                     static_cast<std::size_t>(count));
    }
    for (std::size_t c = 0; c < pointers_.size(); ++c) pointers_[c] = is_widened() ? buffers_[c].to : buffers_[c].from;
    host_.write(host_.user, pointers_.data(), count);
  }

  const Host &host_;
  const raesampler &chain_;
  const std::int32_t block_;
  const double ratio_;
  ChannelBuffers buffers_;
  std::vector<void *> pointers_;
  Engine engine_;
  std::int64_t total_out_ = 0;
};

struct Request {
  std::int32_t flags;
  std::int32_t channels;
  std::int32_t threads;
  double *actual_ratio;
  const precomputed_structure *precomputed;
  double input_rate;
  double output_rate;
  double rate_tolerance;

  std::int32_t quality() const { return flags & RAESAMPLER_QUALITY_MASK; }
};

// The number of stages, 0 for equal rates, below 0 for none.
std::int32_t structure_of(const Request &request, resampler_structure *structure) {
  const auto is_rate = [](double rate) { return rate > 0 && std::isfinite(rate); };
  if (!is_quality(request.quality()) || !is_rate(request.input_rate) || !is_rate(request.output_rate)) return -1;
  if (request.precomputed) return expand_precomputed(*request.precomputed, structure);
  const bool sdm = (request.flags & RAESAMPLER_FLAG_SDM) != 0;
  return find_structure(request.quality(), request.actual_ratio, false, sdm, structure, request.input_rate,
                        request.output_rate, request.rate_tolerance);
}

std::int32_t convert(const Request &request, const Host &host) {
  const std::int32_t block = kBlockSamples / request.channels;
  resampler_structure structure = {};
  const std::int32_t stages = structure_of(request, &structure);
  if (stages < 0) return RAESAMPLER_NO_STRUCTURE;
  if (stages == 0) return pass_on(host, block);

  raesampler chain;
  chain.sample_size = sample_size_of(request.quality());
  chain.channels = static_cast<std::uint32_t>(request.channels);
  const std::int32_t section_threads = std::max(1, request.threads / request.channels);
  const ChainPlan plan = {request.flags, section_threads, false, 0, request.input_rate};
  if (!build_stages(chain, structure, plan)) return RAESAMPLER_NO_STAGE;

  const BlockSizes sizes = size_blocks(chain, block);
  if (sizes.block == 0) return kFailed;
  return Conversion(host, chain, sizes, request.threads, request.output_rate / request.input_rate).run();
}

}  // namespace
}  // namespace auspool

using namespace auspool;

std::int32_t raesampler_single_shot(std::int32_t flags, std::int32_t channels, std::int32_t io_sample_size,
                                    double *actual_ratio, void *user, raesampler_read read, raesampler_write write,
                                    const precomputed_structure *precomputed, std::int32_t threads, double input_rate,
                                    double output_rate, double rate_tolerance) try {
  const Request request = {flags,       channels,   std::max(threads, 1), actual_ratio,
                           precomputed, input_rate, output_rate,          rate_tolerance};
  if (channels < 1 || channels > kBlockSamples) return kFailed;
  if (io_sample_size != 4 && io_sample_size != 8) return kFailed;
  if (io_sample_size == 8 && sample_size_of(request.quality()) != 8) return kFailed;
  return convert(request,
                 {user, read, write, static_cast<std::size_t>(io_sample_size), static_cast<std::size_t>(channels)});
} catch (...) {
  return kFailed;
}
