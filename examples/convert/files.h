// The files of auspool-convert, through libsndfile.
#pragma once

#include <sndfile.h>

#include <cmath>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <vector>

#include "convert/settings.h"

namespace convert {

using SoundFile = std::unique_ptr<SNDFILE, int (*)(SNDFILE *)>;

[[noreturn]] inline void fail(const std::filesystem::path &path, const char *reason) {
  throw std::runtime_error(path.string() + ": " + reason);
}

// A file as interleaved samples: 32-bit integers where it has integers, 64-bit floats otherwise, which lose nothing.
class Source {
public:
  explicit Source(const std::filesystem::path &path)
      : path_(path), file_(sf_open(path.c_str(), SFM_READ, &info), sf_close) {
    if (!file_) fail(path_, sf_strerror(nullptr));
    switch (info.format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
    case SF_FORMAT_PCM_16:
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_PCM_32:
      word = 32;
    }
  }

  // Returns the frames that there were; 0 at the end.
  std::int32_t read(std::int32_t most) {
    const auto size = static_cast<std::size_t>(most) * static_cast<std::size_t>(info.channels);
    integers_.resize(size);
    floats_.resize(size);
    const auto frames = word == 32 ? sf_readf_int(file_.get(), integers_.data(), most)
                                   : sf_readf_double(file_.get(), floats_.data(), most);
    if (frames < most && sf_error(file_.get())) fail(path_, sf_strerror(file_.get()));
    for (std::size_t i = 0; word != 32 && i < static_cast<std::size_t>(frames * info.channels); ++i)
      beyond_full_scale += std::abs(floats_[i]) > 1;
    return static_cast<std::int32_t>(frames);
  }

  void *first() { return word == 32 ? static_cast<void *>(integers_.data()) : floats_.data(); }
  std::size_t sample_bytes() const { return word == 32 ? sizeof(int) : sizeof(double); }

  SF_INFO info{};
  std::uint32_t word = BITBOX_FLOAT | 64;
  std::int64_t beyond_full_scale = 0;  // samples

private:
  std::filesystem::path path_;
  SoundFile file_;
  std::vector<int> integers_;
  std::vector<double> floats_;
};

// The samples as they are stored, into a container or bare. What is not finished is removed.
class Target {
public:
  Target(const Settings &settings, const SF_INFO &source) : path_(settings.out), part_(path_.string() + ".part") {
    SF_INFO info{};
    info.samplerate = source.samplerate;
    info.channels = source.channels;
    info.format = settings.container ? settings.container->type | settings.target().subtype  // in its own order
                                     : SF_FORMAT_RAW | SF_FORMAT_PCM_S8;                     // bytes
    if (!settings.container) info.channels = 1;
    // The sizes in these headers have 32 bits.
    if (settings.container && settings.container->type != SF_FORMAT_CAF &&
        source.frames >= (std::int64_t{0xFFFFF000} / source.channels / settings.target().bytes))
      fail(path_, "too long for this container; .caf and raw files have no limit");
    file_.reset(sf_open(part_.c_str(), SFM_WRITE, &info));
    if (!file_) fail(path_, sf_strerror(nullptr));
    sf_command(file_.get(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
  }
  ~Target() {
    file_.reset();
    std::error_code none;
    std::filesystem::remove(part_, none);
  }

  void write(const std::vector<std::uint8_t> &bytes, std::size_t count) {
    const auto wanted = static_cast<sf_count_t>(count);
    if (sf_write_raw(file_.get(), bytes.data(), wanted) != wanted)
      fail(path_, "it cannot be written: is the disk full?");
  }
  void finish() {
    sf_write_sync(file_.get());
    if (sf_close(file_.release()) != 0) fail(path_, "it cannot be completed: is the disk full?");
    std::filesystem::rename(part_, path_);
  }

private:
  const std::filesystem::path path_, part_;
  SoundFile file_{nullptr, sf_close};
};

}  // namespace convert
