// What is stored, as libsndfile reads it, where its rules are the same: integers to floats, and byte orders. (From
// floats to integers it multiplies by one code less than full scale.)
#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <memory>

#include "bitbox/formats_model.h"
#include "support/signals.h"
#include "support/temp_dir.h"

namespace auspool {
namespace {

constexpr std::int32_t kSamples = 20000;

struct Stored {
  std::uint32_t word;
  int subtype;
};
constexpr Stored kStored[] = {{16, SF_FORMAT_PCM_16},
                              {24, SF_FORMAT_PCM_24},
                              {32, SF_FORMAT_PCM_32},
                              {0x4020, SF_FORMAT_FLOAT},
                              {0x4040, SF_FORMAT_DOUBLE}};

template <typename To, typename From>
std::vector<To> converted(const std::vector<From> &samples, std::uint32_t from, std::uint32_t to) {
  std::vector<To> result(kSamples * testing::Format{to}.bytes() / sizeof(To));
  void *source = const_cast<From *>(samples.data());
  void *target = result.data();
  EXPECT_EQ(bitbox_convert(&source, from, 1, &target, to, 1, 1, kSamples, nullptr), kSamples);
  return result;
}

template <typename To, typename Read>
std::vector<To> read_as(const std::string &path, int format, const Read &read) {
  SF_INFO info{};
  info.samplerate = 44100;
  info.channels = 1;
  info.format = SF_FORMAT_RAW | format;
  const std::unique_ptr<SNDFILE, int (*)(SNDFILE *)> file(sf_open(path.c_str(), SFM_READ, &info), sf_close);
  std::vector<To> samples(kSamples);
  EXPECT_EQ(read(file.get(), samples.data(), kSamples), kSamples);
  return samples;
}

TEST(Libsndfile, ReadsWhatIsStoredAsTheSameFloatsAndIntegers) {
  const testing::TempDir dir;
  const std::string path = dir.file("samples.raw");
  std::vector<double> input;
  for (const float x : testing::noise(kSamples, 1, 1.0)) input.push_back(static_cast<double>(x));
  for (const auto &[word, subtype] : kStored) {
    for (const bool big : {false, true}) {
      const testing::Format format{word | (big ? 0x1000u : 0x2000u)};
      SCOPED_TRACE(format.name());
      const auto bytes = converted<char>(input, 0x4040, format.word);
      testing::write_file(path, std::string(bytes.begin(), bytes.end()));
      const int raw = subtype | (big ? SF_ENDIAN_BIG : SF_ENDIAN_LITTLE);
      EXPECT_EQ(converted<double>(bytes, format.word, 0x4040), read_as<double>(path, raw, sf_read_double));
      EXPECT_EQ(converted<float>(bytes, format.word, 0x4020), read_as<float>(path, raw, sf_read_float));
      if (format.is_float()) continue;
      EXPECT_EQ(converted<int>(bytes, format.word, 32), read_as<int>(path, raw, sf_read_int));
    }
  }
}

}  // namespace
}  // namespace auspool
