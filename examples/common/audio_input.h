// Any audio file that libsndfile reads: all its channels, or as two, where a mono file feeds both, and of more channels
// the first two count.
#pragma once

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

namespace example {

class AudioInput {
public:
  explicit AudioInput(const std::string &path) : path_(path), file_(sf_open(path.c_str(), SFM_READ, &info_), sf_close) {
    if (!file_) throw std::runtime_error(path_ + ": " + sf_strerror(nullptr));
  }

  const SF_INFO &info() const { return info_; }
  float rate() const { return static_cast<float>(info_.samplerate); }
  sf_count_t frames() const { return info_.frames; }
  double seconds() const { return static_cast<double>(info_.frames) / info_.samplerate; }

  // Reads the next frames, at most so many, and returns how many there were; 0 at the end. The first form puts each
  // channel into a buffer of the caller's, the second into left() and right().
  template <typename Sample>
  int read(Sample *const *channels, int frames) {
    const Sample *from = read_interleaved<Sample>(frames);
    for (int i = 0; i < got_; ++i) {
      for (int c = 0; c < info_.channels; ++c) channels[c][i] = *from++;
    }
    return got_;
  }

  int read(int frames) {
    left_.resize(static_cast<std::size_t>(frames));
    right_.resize(static_cast<std::size_t>(frames));
    const float *from = read_interleaved<float>(frames);
    const int right = info_.channels > 1 ? 1 : 0;
    for (std::size_t i = 0; i < static_cast<std::size_t>(got_); ++i, from += info_.channels) {
      left_[i] = from[0];
      right_[i] = from[right];
    }
    return got_;
  }

  // The level in dB of what was read since this was last asked, all channels together.
  double level() {
    const double mean = power_ / std::max(1.0, read_);
    power_ = read_ = 0;
    return 10 * std::log10(mean + 1e-10);
  }

  const std::vector<float> &left() const { return left_; }
  const std::vector<float> &right() const { return right_; }

private:
  template <typename Sample>
  const Sample *read_interleaved(int frames) {
    auto &block = std::get<std::vector<Sample>>(interleaved_);
    const auto channels = static_cast<std::size_t>(info_.channels);
    block.resize(static_cast<std::size_t>(frames) * channels);
    if constexpr (std::is_same_v<Sample, float>)
      got_ = static_cast<int>(sf_readf_float(file_.get(), block.data(), frames));
    else
      got_ = static_cast<int>(sf_readf_double(file_.get(), block.data(), frames));
    if (got_ < frames && sf_error(file_.get())) throw std::runtime_error(path_ + ": " + sf_strerror(file_.get()));
    const std::size_t samples = static_cast<std::size_t>(got_) * channels;
    for (std::size_t i = 0; i < samples; ++i) power_ += std::pow(static_cast<double>(block[i]), 2);
    read_ += static_cast<double>(samples);
    return block.data();
  }

  std::string path_;
  SF_INFO info_{};
  std::unique_ptr<SNDFILE, int (*)(SNDFILE *)> file_;
  std::tuple<std::vector<float>, std::vector<double>> interleaved_;
  std::vector<float> left_, right_;
  int got_ = 0;
  double power_ = 0, read_ = 0;
};

}  // namespace example
