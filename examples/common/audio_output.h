// Any audio file that libsndfile writes. It appears under its name once it is complete, so that a failure leaves what
// was there before.
#pragma once

#include <sndfile.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace example {

class AudioOutput {
public:
  // The container follows from the end of the name. Channels and, where the container has such, the form of the samples
  // are those of `like`.
  AudioOutput(const std::string &path, int rate, const SF_INFO &like)
      : path_(path), written_path_(is_device(path) ? path : path + ".part"), info_(like) {
    info_.samplerate = rate;
    info_.frames = 0;
    info_.format = format_for(path, info_);
    file_.reset(sf_open(written_path_.c_str(), SFM_WRITE, &info_));
    if (!file_) throw std::runtime_error(path_ + ": " + sf_strerror(nullptr));
    sf_command(file_.get(), SFC_SET_CLIPPING, nullptr, SF_TRUE);
  }
  ~AudioOutput() {
    if (file_) remove_unfinished();
  }
  AudioOutput(const AudioOutput &) = delete;
  AudioOutput &operator=(const AudioOutput &) = delete;

  template <typename Sample>
  void write(const Sample *const *channels, int frames) {
    std::vector<Sample> block;
    block.reserve(static_cast<std::size_t>(frames) * static_cast<std::size_t>(info_.channels));
    for (int i = 0; i < frames; ++i) {
      for (int c = 0; c < info_.channels; ++c) block.push_back(channels[c][i]);
    }
    for (const Sample sample : block) {
      peak_ = std::max(peak_, std::abs(static_cast<double>(sample)));
      if (std::abs(sample) > Sample(1)) ++beyond_full_scale_;
    }
    if (write_frames(block.data(), frames) != frames) throw std::runtime_error(path_ + ": " + sf_strerror(file_.get()));
    frames_ += frames;
  }

  // Completes the file.
  void finish() {
    const int error = sf_close(file_.release());
    if (error == 0 && written_path_ != path_) std::filesystem::rename(written_path_, path_);
    if (error == 0) return;
    remove_unfinished();
    throw std::runtime_error(path_ + ": " + sf_error_number(error));
  }

  std::int64_t frames() const { return frames_; }
  double seconds() const { return static_cast<double>(frames_) / info_.samplerate; }
  double peak() const { return peak_; }  // full scale is 1
  // Samples that the file could not hold: floats hold all.
  std::int64_t clipped() const {
    const int form = info_.format & SF_FORMAT_SUBMASK;
    return form == SF_FORMAT_FLOAT || form == SF_FORMAT_DOUBLE ? 0 : beyond_full_scale_;
  }

private:
  static bool is_device(const std::string &path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored) && !std::filesystem::is_regular_file(path, ignored);
  }

  static int container_for(const std::string &path) {
    std::string wanted = std::filesystem::path(path).extension().string();
    if (!wanted.empty()) wanted.erase(0, 1);
    for (char &c : wanted) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    const std::pair<const char *, int> common[] = {{"wav", SF_FORMAT_WAV},  {"aif", SF_FORMAT_AIFF},
                                                   {"ogg", SF_FORMAT_OGG},  {"opus", SF_FORMAT_OGG},
                                                   {"mp3", SF_FORMAT_MPEG}, {"snd", SF_FORMAT_AU}};
    for (const auto &[extension, container] : common)
      if (wanted == extension) return container;
    int count = 0;
    sf_command(nullptr, SFC_GET_FORMAT_MAJOR_COUNT, &count, sizeof count);
    for (SF_FORMAT_INFO known{}; count-- > 0;) {
      known.format = count;
      sf_command(nullptr, SFC_GET_FORMAT_MAJOR, &known, sizeof known);
      if (known.extension && wanted == known.extension) return known.format;
    }
    throw std::runtime_error(path + ": no kind of audio file has this ending");
  }

  static int format_for(const std::string &path, SF_INFO info) {
    const int container = container_for(path);
    const int form = info.format & SF_FORMAT_SUBMASK;
    for (const int candidate : {form, +SF_FORMAT_PCM_24, +SF_FORMAT_PCM_16, +SF_FORMAT_VORBIS, +SF_FORMAT_OPUS,
                                +SF_FORMAT_MPEG_LAYER_III, +SF_FORMAT_FLOAT}) {
      if (candidate == SF_FORMAT_VORBIS && path.ends_with(".opus")) continue;
      info.format = container | candidate;
      if (sf_format_check(&info)) return info.format;
    }
    throw std::runtime_error(path + ": this kind of file cannot hold such audio");
  }

  sf_count_t write_frames(const float *block, int frames) { return sf_writef_float(file_.get(), block, frames); }
  sf_count_t write_frames(const double *block, int frames) { return sf_writef_double(file_.get(), block, frames); }

  void remove_unfinished() {
    std::error_code ignored;
    if (written_path_ != path_) std::filesystem::remove(written_path_, ignored);
  }

  std::string path_, written_path_;
  SF_INFO info_{};
  std::unique_ptr<SNDFILE, int (*)(SNDFILE *)> file_{nullptr, sf_close};
  std::int64_t frames_ = 0, beyond_full_scale_ = 0;
  double peak_ = 0;
};

}  // namespace example
