// Converters of sample rates behind one interface: stereo floats, streaming, in blocks.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace quality {

inline constexpr int kFrames = 1024;  // of a block
inline constexpr int kChannels = 2;
inline constexpr int kRoom = 1 << 18;  // frames of output that a block may give

struct Rates {
  double in;
  double out;
};

// A block in both layouts; each converter takes the one that it works in.
struct Block {
  std::vector<float> planar = std::vector<float>(kFrames * kChannels);
  std::vector<float> interleaved = std::vector<float>(kFrames * kChannels);

  // The same mono signal in both channels.
  void fill(std::span<const float> signal);
};

class Converter {
public:
  virtual ~Converter() = default;

  // Converts a block; the output's first channel is at `out` then, `stride` apart. Returns its frames.
  virtual int convert(const Block &block) = 0;

  const float *first_channel() const { return out_.data(); }
  int stride() const { return stride_; }

protected:
  explicit Converter(int stride) : stride_(stride) {}

  // The room is made with the first block, so that creation costs what the converter costs.
  float *channel(int c) {
    if (out_.empty()) out_.resize(std::size_t{kRoom} * kChannels);
    return out_.data() + (stride_ == 1 ? static_cast<std::ptrdiff_t>(c) * kRoom : c);
  }

private:
  int stride_;
  std::vector<float> out_;
};

struct Kind {
  std::string name;
  // Null where the converter does not do these rates.
  std::function<std::unique_ptr<Converter>(const Rates &rates)> make;
};

// Ours first.
std::vector<Kind> all_kinds();

// Ours in partitions.
Kind low_latency_kind(int quality, int microseconds);

}  // namespace quality
