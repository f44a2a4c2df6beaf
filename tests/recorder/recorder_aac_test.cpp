#include "recorder/recorder_aac.h"

#include "recorder/aurec_record.h"
#include "support/recording_host.h"

using namespace auspool;
using namespace auspool::testing;
using platform::AudioCodec;
using platform::StreamDescription;

namespace {

struct Delete {
  void operator()(Recorder *recorder) const { recorder->SafeDelete(); }
};
template <typename T>
using Ptr = std::unique_ptr<T, Delete>;

class AacRecorder : public ::testing::Test {
protected:
  Ptr<RecorderAAC> with(const AuRecOptionsAAC &options) {
    return Ptr<RecorderAAC>(new RecorderAAC(host_.rec(), &host_.rec()->ext_vars, options));
  }
  float enc_rate(float rate, std::uint32_t bitrate, std::uint32_t mono = 0, std::uint32_t profile = 0) {
    return with({mono, bitrate, 0, 5, 1, profile})->enc_rate(rate);
  }

private:
  Host host_;
};

// Notes what it is told.
class NotingCodec final : public AudioCodec {
public:
  bool set_property(std::uint32_t selector, std::uint32_t value) override {
    (selector == kQuality ? quality : bit_rate) = value;
    return true;
  }
  std::uint32_t property(std::uint32_t) const override { return 0; }
  StreamDescription output_format() const override {
    StreamDescription format;
    format.format_id = four_cc("aac ");
    return format;
  }
  std::vector<std::uint8_t> magic_cookie() const override { return {}; }
  std::int32_t initialize(const StreamDescription &, const StreamDescription &) override { return 0; }
  void uninitialize() override {}
  std::int32_t reset() override { return 0; }
  bool append_input_data(std::span<const std::uint8_t>) override { return false; }
  void end_of_stream() override {}
  Produced produce_output_packet(std::span<std::uint8_t>) override { return {Produced::kDone, 0}; }

  std::uint32_t quality = 1, bit_rate = 1;
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
    NotingCodec codec;
    StreamDescription input, output;
    with({0, 96, 0, quality, 1, 0})->prepare_codec(codec, input, output);
    EXPECT_EQ(codec.quality, kExpected[quality]) << quality;
    EXPECT_EQ(codec.bit_rate, 96000u);
  }
}

TEST_F(AacRecorder, GivesTheEncoderFloats) {
  for (const std::uint32_t channels : {1u, 2u}) {
    NotingCodec codec;
    StreamDescription input, output;
    with({channels == 1 ? 1u : 0u, 96, 0, 5, 1, 0})->prepare_codec(codec, input, output);
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
