#include "support/pcm_file.h"

#include <cmath>

#include "support/temp_dir.h"

namespace auspool::testing {
namespace {

struct Bytes {
  const std::string &data;
  bool big;

  std::uint32_t number(std::size_t at, int size) const {
    std::uint32_t value = 0;
    for (int i = 0; i < size; ++i) {
      const std::size_t place = at + static_cast<std::size_t>(big ? i : size - 1 - i);
      value = value << 8 | (place < data.size() ? static_cast<unsigned char>(data[place]) : 0u);
    }
    return value;
  }
};

double extended(const Bytes &bytes, std::size_t at) {
  const int exponent = static_cast<int>(bytes.number(at, 2) & 0x7fff);
  return std::ldexp(bytes.number(at + 2, 4), exponent - 16383 - 31) +
         std::ldexp(bytes.number(at + 6, 4), exponent - 16383 - 63);
}

std::int32_t signed_number(std::uint32_t word, int bits) {
  const std::uint32_t sign = 1u << (bits - 1);
  return static_cast<std::int32_t>(word ^ sign) - static_cast<std::int32_t>(sign);
}

void read_samples(PcmFile &file, const Bytes &bytes, std::size_t at, std::size_t size) {
  const std::size_t width = static_cast<std::size_t>(file.bits / 8);
  if (width == 0) return;
  for (std::size_t i = 0; i + width <= size; i += width) {
    file.samples.push_back(signed_number(bytes.number(at + i, static_cast<int>(width)), file.bits));
  }
}

PcmFile read_aiff(const std::string &data) {
  const Bytes bytes{data, true};
  PcmFile file;
  const std::size_t sound = data.find("SSND", 38);
  if (data.compare(8, 8, "AIFFCOMM") != 0 || bytes.number(16, 4) != 18 || sound == std::string::npos) return file;
  file.channels = static_cast<int>(bytes.number(20, 2));
  file.frames = bytes.number(22, 4);
  file.bits = static_cast<int>(bytes.number(26, 2));
  file.rate = extended(bytes, 28);
  file.tags = data.substr(38, sound - 38);
  const std::size_t size = bytes.number(sound + 4, 4) - 8;
  read_samples(file, bytes, sound + 16, size);
  file.valid = bytes.number(4, 4) == data.size() - 8 && sound + 16 + size == data.size() &&
               bytes.number(sound + 8, 4) == 0 && bytes.number(sound + 12, 4) == 0;
  return file;
}

PcmFile read_wave(const std::string &data) {
  const Bytes bytes{data, false};
  PcmFile file;
  const std::size_t chunk = data.find("data", 36);
  if (data.compare(8, 8, "WAVEfmt ") != 0 || bytes.number(16, 4) != 16 || chunk == std::string::npos) return file;
  file.channels = static_cast<int>(bytes.number(22, 2));
  file.rate = bytes.number(24, 4);
  file.bits = static_cast<int>(bytes.number(34, 2));
  file.tags = data.substr(36, chunk - 36);
  const std::uint32_t frame = bytes.number(32, 2);
  const std::size_t size = bytes.number(chunk + 4, 4);
  file.frames = frame ? static_cast<std::int64_t>(size / frame) : 0;
  read_samples(file, bytes, chunk + 8, size);
  file.valid = bytes.number(4, 4) == data.size() - 8 && chunk + 8 + size == data.size() && bytes.number(20, 2) == 1 &&
               frame == static_cast<std::uint32_t>(file.channels * file.bits / 8) &&
               bytes.number(28, 4) == bytes.number(24, 4) * frame;
  return file;
}

}  // namespace

std::vector<std::int32_t> PcmFile::channel(int number) const {
  std::vector<std::int32_t> result;
  for (std::size_t i = static_cast<std::size_t>(number); i < samples.size(); i += static_cast<std::size_t>(channels)) {
    result.push_back(samples[i]);
  }
  return result;
}

PcmFile read_pcm_file(const std::string &path) {
  const std::string data = read_file(path);
  PcmFile file = data.starts_with("FORM") ? read_aiff(data) : data.starts_with("RIFF") ? read_wave(data) : PcmFile();
  file.valid = file.valid && file.samples.size() == static_cast<std::size_t>(file.frames * file.channels);
  return file;
}

std::int32_t integer_of(float sample, int bits) {
  if (std::isnan(sample)) return 0;
  const double value = sample;
  const std::int32_t scale = 1 << (bits - 1);
  if (bits == 16 ? value > 0.9999694 : sample > 0.99999988f) return scale - 1;
  if (value < -1.0) return -scale;
  return static_cast<std::int32_t>(std::trunc(value * scale));
}

std::vector<std::int32_t> integers_of(const std::vector<float> &left, const std::vector<float> &right, int bits) {
  std::vector<std::int32_t> result;
  for (std::size_t i = 0; i < left.size(); ++i) {
    result.push_back(integer_of(left[i], bits));
    result.push_back(integer_of(right[i], bits));
  }
  return result;
}

}  // namespace auspool::testing
