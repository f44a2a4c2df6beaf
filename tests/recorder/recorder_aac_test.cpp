#include "recorder/recorder_aac.h"

#include "recorder/m4a_classes.h"

using namespace auspool;
using namespace auspool::testing;
using platform::AudioCodec;
using platform::StreamDescription;

namespace {

class AacRecorder : public M4aClasses<RecorderAAC, AuRecOptionsAAC> {
protected:
  float enc_rate(float rate, std::uint32_t bitrate, std::uint32_t mono = 0, std::uint32_t profile = 0) {
    return with({mono, bitrate, 0, 5, 1, profile})->enc_rate(rate);
  }
};

TEST_F(AacRecorder, DescribesItself) {
  const auto type_of = [&](std::uint32_t fast_start, std::uint32_t audiobook) {
    return with({0, 128, audiobook, 5, fast_start, 0})->os_type();
  };
  EXPECT_EQ(with({})->type(), 2);
  EXPECT_EQ(with({})->creator(), four_cc("tnch"));
  EXPECT_EQ(type_of(1, 0), four_cc("M4A "));
  EXPECT_EQ(type_of(1, 1), four_cc("M4B "));
  EXPECT_EQ(type_of(0, 0), four_cc("MP4 "));
  EXPECT_EQ(type_of(0, 1), four_cc("MP4 ")) << "a fragmented book is no book";
}

TEST_F(AacRecorder, EncodesAtTheInputsRateWhereItsBitrateDoesThatWell) {
  EXPECT_EQ(enc_rate(44100, 128), 44100.0f);
  EXPECT_EQ(enc_rate(48000, 128), 48000.0f);
}

TEST_F(AacRecorder, BringsHighRatesDownToWhatTheBitrateDoesWell) {
  EXPECT_EQ(enc_rate(96000, 128), 48000.0f);
  EXPECT_EQ(enc_rate(64000, 128), 48000.0f);
  EXPECT_EQ(enc_rate(44100, 32), 22050.0f);
  EXPECT_EQ(enc_rate(48000, 16, 1), 22050.0f);
}

TEST_F(AacRecorder, HighEfficiencyKeepsHighRates) {
  EXPECT_EQ(enc_rate(44100, 32, 0, 1), 44100.0f);
  EXPECT_EQ(enc_rate(44100, 32, 0, 2), 44100.0f);
}

TEST_F(AacRecorder, HighestRateFollowsTheBitrate) {
  struct Row {
    std::uint32_t bitrate;
    float mono, stereo;
  };
  for (const Row &row : {Row{20, 22050, 11025}, Row{24, 32000, 16000}, Row{28, 32000, 16000}, Row{32, 32000, 22050},
                         Row{40, 32000, 22050}, Row{48, 44100, 32000}, Row{56, 44100, 32000}, Row{64, 44100, 44100},
                         Row{80, 44100, 44100}, Row{96, 48000, 48000}, Row{320, 48000, 48000}}) {
    EXPECT_EQ(enc_rate(192000, row.bitrate, 1), row.mono) << row.bitrate;
    EXPECT_EQ(enc_rate(192000, row.bitrate, 0), row.stereo) << row.bitrate;
  }
}

TEST_F(AacRecorder, LowestRateFollowsTheBitrate) {
  EXPECT_EQ(enc_rate(4000, 24, 1), 8000.0f);
  EXPECT_EQ(enc_rate(4000, 28, 1), 16000.0f);
  EXPECT_EQ(enc_rate(4000, 48, 1), 16000.0f);
  EXPECT_EQ(enc_rate(4000, 56, 1), 32000.0f);
  EXPECT_EQ(enc_rate(4000, 96, 1), 32000.0f);
  EXPECT_EQ(enc_rate(4000, 112, 1), 44100.0f);
}

TEST_F(AacRecorder, SnapsToTheFrequenciesOfAac) {
  EXPECT_EQ(enc_rate(10000, 24, 1), 11025.0f);
  EXPECT_EQ(enc_rate(9390.9f, 24, 1), 8000.0f);
  EXPECT_EQ(enc_rate(9391.0f, 24, 1), 11025.0f);
  EXPECT_EQ(enc_rate(12000, 24, 1), 12000.0f);
  EXPECT_EQ(enc_rate(37566, 64), 44100.0f);
  EXPECT_EQ(enc_rate(37565, 64), 32000.0f);
}

TEST_F(AacRecorder, TellsTheEncoderQualityAndBitrate) {
  constexpr std::uint32_t kExpected[] = {127, 127, 96, 96, 64, 64, 32, 32, 0, 0};
  for (std::uint32_t quality = 0; quality < 10; ++quality) {
    NotingCodec codec(four_cc("aac "));
    StreamDescription input, output;
    with({0, 96, 0, quality, 1, 0})->prepare_codec(codec, input, output);
    EXPECT_EQ(codec.settings[AudioCodec::kQuality], kExpected[quality]) << quality;
    EXPECT_EQ(codec.settings[AudioCodec::kBitRate], 96000u);
  }
}

TEST_F(AacRecorder, GivesTheEncoderFloats) {
  for (const std::uint32_t channels : {1u, 2u}) {
    NotingCodec codec(four_cc("aac "));
    StreamDescription input, output;
    const auto recorder = with({channels == 1 ? 1u : 0u, 96, 0, 5, 1, 0});
    set_rate(*recorder, 32000);
    recorder->prepare_codec(codec, input, output);
    EXPECT_EQ(input.sample_rate, 32000.0);
    EXPECT_EQ(output.sample_rate, 32000.0);
    EXPECT_EQ(input.format_id, four_cc("lpcm"));
    EXPECT_EQ(input.format_flags, 9u);
    EXPECT_EQ(input.channels_per_frame, channels);
    EXPECT_EQ(input.bytes_per_packet, 4 * channels);
    EXPECT_EQ(input.bytes_per_frame, 4 * channels);
    EXPECT_EQ(input.frames_per_packet, 1u);
    EXPECT_EQ(input.bits_per_channel, 32u);
    EXPECT_EQ(output.format_id, four_cc("aac "));
    EXPECT_EQ(output.channels_per_frame, channels);
  }
}

}  // namespace
