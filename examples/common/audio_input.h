// Any audio file that libsndfile reads, as two channels: a mono file feeds both, of more channels the first two count.
#pragma once

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace example {

class AudioInput {
public:
  explicit AudioInput(const std::string &path) : path_(path), file_(sf_open(path.c_str(), SFM_READ, &info_), sf_close) {
    if (!file_) throw std::runtime_error(path_ + ": " + sf_strerror(nullptr));
  }

  float rate() const { return static_cast<float>(info_.samplerate); }
  sf_count_t frames() const { return info_.frames; }
  double seconds() const { return static_cast<double>(info_.frames) / info_.samplerate; }

  // Reads the next frames, at most so many, and returns how many there were; 0 at the end.
  int read(int frames) {
    const auto channels = static_cast<std::size_t>(info_.channels), most = static_cast<std::size_t>(frames);
    interleaved_.resize(most * channels);
    const auto count = static_cast<std::size_t>(sf_readf_float(file_.get(), interleaved_.data(), frames));
    if (count < most && sf_error(file_.get())) throw std::runtime_error(path_ + ": " + sf_strerror(file_.get()));
    left_.resize(most);
    right_.resize(most);
    for (std::size_t i = 0; i < count; ++i) {
      left_[i] = interleaved_[i * channels];
      right_[i] = interleaved_[i * channels + (channels > 1 ? 1 : 0)];
      power_ += (std::pow(left_[i], 2) + std::pow(right_[i], 2)) / 2;
    }
    read_ += static_cast<double>(count);
    return static_cast<int>(count);
  }

  // The level in dB of what was read since this was last asked, both channels together.
  double level() {
    const double mean = power_ / std::max(1.0, read_);
    power_ = read_ = 0;
    return 10 * std::log10(mean + 1e-10);
  }

  const std::vector<float> &left() const { return left_; }
  const std::vector<float> &right() const { return right_; }

private:
  std::string path_;
  SF_INFO info_{};
  std::unique_ptr<SNDFILE, int (*)(SNDFILE *)> file_;
  std::vector<float> interleaved_, left_, right_;
  double power_ = 0, read_ = 0;
};

}  // namespace example
