// What a record starts with, what its setters correct, and the tables.
#include <limits>

#include "auspool/aurec.h"
#include "recorder/default_options.h"
#include "support/recording_host.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

struct AurecSettings : ::testing::Test {
  Host host;
};

constexpr float kInfinity = std::numeric_limits<float>::infinity();

TEST_F(AurecSettings, StartAtTheirDefaults) {
  EXPECT_EQ(aurec_output_type(host), AuRecOutputTypeAIFF);
  EXPECT_EQ(aurec_buffer_size(host), 10485760);
  std::int32_t is_time = 7;
  EXPECT_EQ(aurec_limit(host, &is_time), 0);
  EXPECT_EQ(is_time, 0);
  float rms = 0, seconds = 7;
  EXPECT_EQ(aurec_silence_killer(host, &rms, &seconds), 0);
  EXPECT_EQ(rms, -120.0f);
  EXPECT_EQ(seconds, 0.0f);
  EXPECT_EQ(aurec_skip_handler_action(host), 0u);
  EXPECT_EQ(aurec_buffer_available_space(host), 0);
}

TEST_F(AurecSettings, OptionsStartAtTheirDefaults) {
  const AuRecOptionsPCM pcm = aurec_pcm_options(host);
  EXPECT_EQ(std::tuple(pcm.mono, pcm.bit_depth, pcm.mono_source, pcm.sample_rate), std::tuple(0u, 0u, 0u, 0.0f));
  const AuRecOptionsMP3 mp3 = aurec_mp3_options(host);
  EXPECT_EQ(std::tuple(mp3.channel_mode, mp3.quality, mp3.bitrate_mode, mp3.vbr_quality, mp3.bitrate, mp3.podcast,
                       mp3.sample_rate),
            std::tuple(0u, 5, 0u, 5u, 128u, 0u, 0.0f));
  const AuRecOptionsAAC aac = aurec_aac_options(host);
  EXPECT_EQ(std::tuple(aac.mono, aac.bitrate, aac.audiobook, aac.quality, aac.fast_start, aac.profile),
            std::tuple(0u, 128u, 0u, 5u, 1u, 0u));
  const AuRecOptionsALAC alac = aurec_alac_options(host);
  EXPECT_EQ(std::tuple(alac.mono, alac.audiobook, alac.fast_start), std::tuple(0u, 0u, 1u));
  EXPECT_EQ(aurec_flac_options(host).mono, 0u);
}

TEST_F(AurecSettings, OnlyTypesThatCanBeWrittenAreTaken) {
  for (const AuRecOutputType type : {0, 4}) {
    EXPECT_EQ(aurec_can_output_type(type), 1) << type;
    aurec_set_output_type(host, type);
    EXPECT_EQ(aurec_output_type(host), type);
  }
  for (const AuRecOutputType type : {6, -1, 77, std::numeric_limits<std::int32_t>::min()}) {
    EXPECT_EQ(aurec_can_output_type(type), 0) << type;
    aurec_set_output_type(host, type);
    EXPECT_EQ(aurec_output_type(host), AuRecOutputTypeWAVE);
  }
  for (AuRecOutputType type = 0; type < 6; ++type) {
    aurec_set_output_type(host, AuRecOutputTypeAIFF);
    aurec_set_output_type(host, type);
    EXPECT_EQ(aurec_output_type(host), aurec_can_output_type(type) ? type : AuRecOutputTypeAIFF);
  }
}

TEST_F(AurecSettings, TheBufferSizeIsHeldToItsBounds) {
  const std::int64_t cases[][2] = {{1, 32768},
                                   {32767, 32768},
                                   {32769, 32769},
                                   {52428800, 52428800},
                                   {52428801, 52428800},
                                   {0, 10485760},
                                   {-1, 32768},
                                   {std::numeric_limits<std::int64_t>::max(), 52428800},
                                   {std::numeric_limits<std::int64_t>::min(), 32768}};
  for (const auto &[set, expected] : cases) {
    aurec_set_buffer_size(host, set);
    EXPECT_EQ(aurec_buffer_size(host), expected) << set;
  }
}

TEST_F(AurecSettings, TheLimitIsHeldToItsBounds) {
  struct {
    std::int64_t set;
    std::int32_t is_time;
    std::int64_t expected;
  } const cases[] = {{30, 1, 60},
                     {61, 1, 61},
                     {100000, 1, 86400},
                     {-5, 1, 0},
                     {0, 1, 0},
                     {1, 1, 60},
                     {1000, 0, 1048576},
                     {1048577, 0, 1048577},
                     {1LL << 40, 0, 2147483647},
                     {-5, 0, 0},
                     {std::numeric_limits<std::int64_t>::min(), 0, 0}};
  for (const auto &[set, is_time, expected] : cases) {
    std::int32_t was_time = 7;
    aurec_set_limit(host, set, is_time ? 99 : 0);
    EXPECT_EQ(aurec_limit(host, &was_time), expected) << set;
    EXPECT_EQ(was_time, is_time) << "any value but 0 is 1";
    EXPECT_EQ(aurec_limit(host, nullptr), expected);
  }
}

TEST_F(AurecSettings, SilenceSettingsAreKeptAsTheyAre) {
  aurec_set_silence_killer(host, 2, -55.5f, 1.25f);
  float rms = 0, seconds = 0;
  EXPECT_EQ(aurec_silence_killer(host, &rms, &seconds), 2);
  EXPECT_EQ(rms, -55.5f);
  EXPECT_EQ(seconds, 1.25f);
  EXPECT_EQ(aurec_silence_killer(host, nullptr, nullptr), 2);
  aurec_set_skip_handler_action(host, 42);
  EXPECT_EQ(aurec_skip_handler_action(host), 42u);
}

TEST_F(AurecSettings, PCMOptionsAreCorrected) {
  struct {
    AuRecOptionsPCM set, expected;
  } const cases[] = {
      {{5, 1, 2, 8000}, {5, 1, 2, 8000}},
      {{0, 7, 0, 0}, {0, 0, 0, 0}},
      {{0, 2, 3, 0}, {0, 0, 0, 0}},
      {{0, 0, 1, 3000}, {0, 0, 1, 0}},
      {{0, 0, 0, 3999.9f}, {0, 0, 0, 0}},
      {{0, 0, 0, 4000}, {0, 0, 0, 4000}},
      {{0, 0, 0, 192000}, {0, 0, 0, 192000}},
      {{0, 0, 0, 192001}, {0, 0, 0, 0}},
      {{0, 0, 0, -44100}, {0, 0, 0, 0}},
      {{0, 0, 0, kInfinity}, {0, 0, 0, 0}},
      {{0, 0, 0, std::nanf("")}, {0, 0, 0, 0}},
  };
  for (const auto &[set, expected] : cases) {
    aurec_set_pcm_options(host, set);
    const AuRecOptionsPCM got = aurec_pcm_options(host);
    EXPECT_EQ(std::tuple(got.mono, got.bit_depth, got.mono_source, got.sample_rate),
              std::tuple(expected.mono, expected.bit_depth, expected.mono_source, expected.sample_rate));
  }
}

TEST_F(AurecSettings, MP3OptionsAreCorrected) {
  const auto corrected = [&](AuRecOptionsMP3 options) {
    aurec_set_mp3_options(host, options);
    return aurec_mp3_options(host);
  };
  const AuRecOptionsMP3 base = sAuRecOptionsDefault.mp3;
  for (const std::int32_t quality : {12, 10, -1}) {
    AuRecOptionsMP3 options = base;
    options.quality = quality;
    EXPECT_EQ(corrected(options).quality, 5) << quality;
  }
  AuRecOptionsMP3 options = {77, 9, 2, 9, 40, 3, 123.0f};
  AuRecOptionsMP3 got = corrected(options);
  EXPECT_EQ(std::tuple(got.channel_mode, got.quality, got.bitrate_mode, got.vbr_quality, got.bitrate, got.podcast,
                       got.sample_rate),
            std::tuple(77u, 9, 2u, 9u, 40u, 3u, 123.0f))
      << "nothing to correct";
  got = corrected({0, 0, 3, 10, 100, 0, 0});
  EXPECT_EQ(std::tuple(got.quality, got.bitrate_mode, got.vbr_quality, got.bitrate), std::tuple(0, 0u, 5u, 128u));
  EXPECT_EQ(corrected({0, 0, 0, 0, 0, 0, 0}).bitrate, 128u) << "the end of the table is no bitrate";
}

TEST_F(AurecSettings, AACOptionsAreCorrected) {
  const auto corrected = [&](AuRecOptionsAAC options) {
    aurec_set_aac_options(host, options);
    return aurec_aac_options(host);
  };
  EXPECT_EQ(corrected({1, 128, 0, 0, 0, 2}).mono, 0u) << "HE-AAC v2 is stereo";
  EXPECT_EQ(corrected({1, 128, 0, 0, 0, 1}).mono, 1u);
  EXPECT_EQ(corrected({1, 128, 0, 0, 0, 3}).mono, 1u) << "a profile that does not exist is AAC-LC";
  const AuRecOptionsAAC got = corrected({4, 100, 5, 10, 6, 3});
  EXPECT_EQ(std::tuple(got.mono, got.bitrate, got.audiobook, got.quality, got.fast_start, got.profile),
            std::tuple(4u, 128u, 5u, 5u, 6u, 0u));
  EXPECT_EQ(corrected({0, 20, 0, 9, 0, 0}).bitrate, 20u);
  EXPECT_EQ(corrected({0, 0, 0, 9, 0, 0}).bitrate, 128u);
}

TEST_F(AurecSettings, ALACOptionsStayAndFLACOptionsAreCorrected) {
  aurec_set_alac_options(host, {7, 8, 9});
  const AuRecOptionsALAC alac = aurec_alac_options(host);
  EXPECT_EQ(std::tuple(alac.mono, alac.audiobook, alac.fast_start), std::tuple(7u, 8u, 9u));
  for (const auto &[set, expected] : {std::pair(0u, 0u), {1u, 1u}, {2u, 0u}, {7u, 0u}}) {
    aurec_set_flac_options(host, {set});
    EXPECT_EQ(aurec_flac_options(host).mono, expected);
  }
}

TEST(BitrateTables, AscendEndInZeroAndAreWhatTheCorrectionTakes) {
  const std::uint32_t *const tables[] = {mp3_bitrate_table_legacy, mp3_bitrate_table_unified, aac_bitrate_table_legacy,
                                         aac_bitrate_table_unified};
  const std::size_t counts[] = {17, 15, 18, 14};
  Host host;
  for (int t = 0; t < 4; ++t) {
    std::uint32_t last = 0;
    std::size_t count = 0;
    for (const std::uint32_t *rate = tables[t]; *rate != 0; ++rate, ++count) {
      EXPECT_GT(*rate, last);
      last = *rate;
      AuRecOptionsMP3 mp3 = sAuRecOptionsDefault.mp3;
      AuRecOptionsAAC aac = sAuRecOptionsDefault.aac;
      (t < 2 ? mp3.bitrate : aac.bitrate) = *rate;
      aurec_set_mp3_options(host, mp3);
      aurec_set_aac_options(host, aac);
      EXPECT_EQ(t < 2 ? aurec_mp3_options(host).bitrate : aurec_aac_options(host).bitrate, *rate);
    }
    EXPECT_EQ(count, counts[t]);
    EXPECT_EQ(last, 320u);
  }
}

}  // namespace
