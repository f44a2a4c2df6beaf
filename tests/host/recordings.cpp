#include "host/recordings.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cstring>
#include <memory>
#include <sstream>
#include <stdexcept>

#include "support/programs.h"
#include "support/temp_dir.h"

namespace auspool::testing {
namespace {

using Sound = std::unique_ptr<SNDFILE, int (*)(SNDFILE *)>;

Sound open_sound(const std::string &path, SF_INFO &info) {
  Sound sound(sf_open(path.c_str(), SFM_READ, &info), sf_close);
  if (!sound) throw std::runtime_error(path + ": " + sf_strerror(nullptr));
  return sound;
}

}  // namespace

Audio read_by_libsndfile(const std::string &path) {
  SF_INFO info{};
  const Sound sound = open_sound(path, info);
  Audio audio{info.samplerate, info.channels, std::vector<int>(static_cast<std::size_t>(info.frames * info.channels))};
  const auto frames = sf_readf_int(sound.get(), audio.samples.data(), info.frames);
  audio.samples.resize(static_cast<std::size_t>(frames * info.channels));
  return audio;
}

Samples read_floats(const std::string &path) {
  SF_INFO info{};
  const Sound sound = open_sound(path, info);
  Samples samples(static_cast<std::size_t>(info.frames * info.channels));
  const auto frames = sf_readf_float(sound.get(), samples.data(), info.frames);
  samples.resize(static_cast<std::size_t>(frames * info.channels));
  return samples;
}

Audio read_by_ffmpeg(const std::string &path) {
  const auto about = run("ffprobe -v error -of json -show_streams " + quoted(path));
  const auto decoded = run("ffmpeg -v error -i " + quoted(path) + " -f s32le -c:a pcm_s32le -");
  if (about.status != 0 || decoded.status != 0) throw std::runtime_error(about.errors + decoded.errors);
  const auto stream = nlohmann::json::parse(about.output).at("streams").at(0);
  Audio audio{std::stoi(stream.at("sample_rate").get<std::string>()), stream.at("channels"), {}};
  audio.samples.resize(decoded.output.size() / sizeof(std::int32_t));
  std::memcpy(audio.samples.data(), decoded.output.data(), audio.samples.size() * sizeof(std::int32_t));
  return audio;
}

void write_source(const std::string &path, int rate, int channels, const Samples &interleaved) {
  SF_INFO info{};
  info.samplerate = rate;
  info.channels = channels;
  info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
  const Sound sound(sf_open(path.c_str(), SFM_WRITE, &info), sf_close);
  const auto frames = static_cast<sf_count_t>(interleaved.size()) / channels;
  if (!sound || sf_writef_float(sound.get(), interleaved.data(), frames) != frames)
    throw std::runtime_error("cannot write " + path);
}

std::int32_t stored(float sample, int bits) {
  const double scale = bits == 24 ? 8388608.0 : 32768.0;
  const bool over = bits == 24 ? sample > 0.99999988f : static_cast<double>(sample) > 0.9999694;
  double value = over ? scale - 1 : sample < -1.0f ? -scale : std::trunc(static_cast<double>(sample) * scale);
  if (std::isnan(sample)) value = 0;
  return static_cast<std::int32_t>(value * 2147483648.0 / scale);
}

std::vector<std::int32_t> stored(const Samples &samples, int bits) {
  std::vector<std::int32_t> all;
  all.reserve(samples.size());
  for (const float sample : samples) all.push_back(stored(sample, bits));
  return all;
}

Recording record(const std::string &arguments) {
  const auto result = run(quoted(AUSPOOL_RECORD) + " --json " + arguments);
  Recording recording{result.status, {}, {}, result.errors};
  std::istringstream lines(result.output);
  for (std::string line; std::getline(lines, line);) {
    auto object = nlohmann::json::parse(line);
    if (object.contains("path"))
      recording.files.push_back(std::move(object));
    else
      recording.summary = std::move(object);
  }
  return recording;
}

std::vector<std::int32_t> Recording::joined() const {
  std::vector<std::int32_t> all;
  for (std::size_t i = 0; i < files.size(); ++i) {
    const Audio audio = read_by_libsndfile(path(i));
    EXPECT_EQ(audio.frames(), files[i].at("frames"));
    all.insert(all.end(), audio.samples.begin(), audio.samples.end());
  }
  return all;
}

}  // namespace auspool::testing
