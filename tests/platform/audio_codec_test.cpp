#include "platform/audio_codec.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "support/watch.h"

using namespace auspool;
using namespace auspool::platform;

namespace {

using Bytes = std::vector<std::uint8_t>;

StreamDescription plain(std::uint32_t flags, std::uint32_t bytes, std::uint32_t channels, double rate) {
  StreamDescription format;
  format.sample_rate = rate;
  format.format_id = four_cc("lpcm");
  format.format_flags = flags | StreamDescription::kPacked;
  format.channels_per_frame = channels;
  format.bytes_per_frame = format.bytes_per_packet = bytes * channels;
  format.frames_per_packet = 1;
  format.bits_per_channel = 8 * bytes;
  return format;
}

struct Opened {
  std::unique_ptr<AudioCodec> codec;
  std::int32_t error;
};

Opened open(std::uint32_t subtype, std::uint32_t channels = 2, double rate = 44100) {
  Opened opened{AudioCodec::open(subtype), -1};
  if (!opened.codec) return opened;
  const bool lossless = subtype == four_cc("alac");
  const StreamDescription input = lossless ? plain(StreamDescription::kSignedInteger, 2, channels, rate)
                                           : plain(StreamDescription::kFloat, 4, channels, rate);
  StreamDescription output = opened.codec->output_format();
  output.channels_per_frame = channels;
  output.sample_rate = rate;
  opened.codec->set_property(AudioCodec::kBitRate, 128000);
  opened.error = opened.codec->initialize(input, output);
  return opened;
}

// One packet's worth of a tone, from frame `start` on.
Bytes tone_packet(const AudioCodec &codec, bool floats, std::uint32_t channels, std::size_t start) {
  const std::size_t frames = codec.property(AudioCodec::kPacketFrames);
  Bytes bytes;
  for (std::size_t i = 0; i < frames * channels; ++i) {
    const double value = 0.5 * std::sin(0.05 * static_cast<double>(start + i / channels));
    const auto single = static_cast<float>(value);
    const auto integer = static_cast<std::int16_t>(std::lrint(value * 32767));
    const auto *from =
        floats ? reinterpret_cast<const std::uint8_t *>(&single) : reinterpret_cast<const std::uint8_t *>(&integer);
    bytes.insert(bytes.end(), from, from + (floats ? 4 : 2));
  }
  return bytes;
}

// The packets of so many packets of audio, and of the drain behind them.
std::vector<Bytes> encode(AudioCodec &codec, bool floats, int packets) {
  std::vector<Bytes> encoded;
  const auto take = [&] {
    Bytes to(codec.property(AudioCodec::kPacketBytes));
    const AudioCodec::Produced produced = codec.produce_output_packet(to);
    to.resize(produced.bytes);
    if (!to.empty()) encoded.push_back(to);
    return produced.status;
  };
  for (int i = 0; i < packets; ++i) {
    const auto start = static_cast<std::size_t>(i) * codec.property(AudioCodec::kPacketFrames);
    EXPECT_TRUE(codec.append_input_data(tone_packet(codec, floats, 2, start)));
    take();
  }
  codec.end_of_stream();
  while (take() == AudioCodec::Produced::kHasMore) {
  }
  return encoded;
}

#define NEED_ENCODER(subtype) \
  if (!AudioCodec::is_available(four_cc(subtype))) GTEST_SKIP() << "no encoder for " << subtype

TEST(AudioCodec, KnowsNoOtherFormats) {
  EXPECT_FALSE(AudioCodec::is_available(four_cc("opus")));
  EXPECT_EQ(AudioCodec::open(four_cc("opus")), nullptr);
}

TEST(AudioCodec, TellsItsPackets) {
  NEED_ENCODER("alac");
  const Opened aac = open(four_cc("aac ")), alac = open(four_cc("alac"));
  ASSERT_EQ(aac.error, 0);
  ASSERT_EQ(alac.error, 0);
  EXPECT_EQ(aac.codec->property(AudioCodec::kPacketFrames), 1024u);
  EXPECT_EQ(alac.codec->property(AudioCodec::kPacketFrames), 4096u);
  EXPECT_GE(alac.codec->property(AudioCodec::kPacketBytes), 4096u * 4);
  EXPECT_EQ(aac.codec->output_format().sample_rate, 44100.0);
  EXPECT_EQ(aac.codec->output_format().format_id, four_cc("aac "));
}

TEST(AudioCodec, DrainGivesAllAudioAndTheDelay) {
  NEED_ENCODER("alac");
  for (const int packets : {1, 2, 5}) {
    EXPECT_EQ(encode(*open(four_cc("alac")).codec, false, packets).size(), static_cast<std::size_t>(packets));
    EXPECT_EQ(encode(*open(four_cc("aac ")).codec, true, packets).size(), static_cast<std::size_t>(packets) + 1);
  }
}

TEST(AudioCodec, DrainWithoutAudioGivesNothing) {
  NEED_ENCODER("alac");
  EXPECT_TRUE(encode(*open(four_cc("alac")).codec, false, 0).empty());
}

TEST(AudioCodec, RequestWithoutAudioIsNotTheEnd) {
  NEED_ENCODER("alac");
  for (const bool floats : {false, true}) {
    const Opened opened = open(floats ? four_cc("aac ") : four_cc("alac"));
    Bytes to(opened.codec->property(AudioCodec::kPacketBytes));
    EXPECT_EQ(opened.codec->produce_output_packet(to).status, AudioCodec::Produced::kNeedsMoreInput);
    EXPECT_EQ(encode(*opened.codec, floats, 3).size(), floats ? 4u : 3u);
  }
}

TEST(AudioCodec, LosesNoMoreThanThePacketsThatItRefuses) {
  NEED_ENCODER("alac");
  for (const bool floats : {false, true}) {
    const Opened opened = open(floats ? four_cc("aac ") : four_cc("alac"));
    Bytes to(opened.codec->property(AudioCodec::kPacketBytes));
    {
      const auspool::testing::CallFailer failer("avcodec_send_frame", 1);
      EXPECT_FALSE(opened.codec->append_input_data(tone_packet(*opened.codec, floats, 2, 0)));
    }
    opened.codec->produce_output_packet(to);
    const std::size_t frames = opened.codec->property(AudioCodec::kPacketFrames);
    EXPECT_FALSE(opened.codec->append_input_data(Bytes((frames + 1) * 2 * (floats ? 4 : 2)))) << "more than a packet";
    opened.codec->produce_output_packet(to);
    EXPECT_EQ(encode(*opened.codec, floats, 3).size(), floats ? 4u : 3u);
  }
}

// Such samples would be refused, or keep the encoder busy for ever.
TEST(AudioCodec, EncodesWhateverTheSamplesAre) {
  NEED_ENCODER("aac ");
  for (const float scale : {3e38f, 1e20f, 1e9f, 1e6f, INFINITY, -INFINITY, NAN}) {
    const Opened opened = open(four_cc("aac "));
    Bytes to(opened.codec->property(AudioCodec::kPacketBytes)), block(8192);
    std::uint32_t noise = 1;
    for (int packet = 0; packet < 30; ++packet) {
      for (std::size_t i = 0; i < block.size(); i += 4) {
        noise = noise * 1664525 + 1013904223;
        const float sample = scale * (static_cast<float>(noise >> 8) / 8388608.0f - 1.0f);
        std::memcpy(&block[i], &sample, 4);
      }
      ASSERT_TRUE(opened.codec->append_input_data(block)) << scale;
      EXPECT_EQ(opened.codec->produce_output_packet(to).bytes > 0, packet > 0) << scale;
    }
  }
}

TEST(AudioCodec, TellsThatItCouldNotBeMadeAnew) {
  NEED_ENCODER("aac ");
  const Opened opened = open(four_cc("aac "));
  {
    const auspool::testing::CallFailer failer("avcodec_open2", 1);
    EXPECT_NE(opened.codec->reset(), 0);
  }
  EXPECT_FALSE(opened.codec->append_input_data(Bytes(8192)));
}

TEST(AudioCodec, TakesNothingBehindTheDrainUntilItIsReset) {
  NEED_ENCODER("alac");
  for (const bool floats : {false, true}) {
    const Opened opened = open(floats ? four_cc("aac ") : four_cc("alac"));
    const std::vector<Bytes> first = encode(*opened.codec, floats, 3);
    EXPECT_FALSE(opened.codec->append_input_data(tone_packet(*opened.codec, floats, 2, 0)));
    opened.codec->reset();
    EXPECT_EQ(encode(*opened.codec, floats, 3), first) << floats << ": nothing of the first stream shows";
  }
}

TEST(AudioCodec, CookieOfAlacIsWrappedIn24Bytes) {
  NEED_ENCODER("alac");
  const Bytes cookie = open(four_cc("alac")).codec->magic_cookie();
  ASSERT_EQ(cookie.size(), 48u);
  EXPECT_EQ(std::string(cookie.begin() + 4, cookie.begin() + 12), "frmaalac");
  EXPECT_EQ(std::string(cookie.begin() + 16, cookie.begin() + 20), "alac");
  EXPECT_EQ(Bytes(cookie.begin() + 24, cookie.begin() + 28), (Bytes{0, 0, 0x10, 0})) << "frames of a packet";
  EXPECT_EQ(Bytes(cookie.end() - 4, cookie.end()), (Bytes{0, 0, 0xAC, 0x44})) << "rate";
}

TEST(AudioCodec, RefusesFormatsThatItCannotEncode) {
  NEED_ENCODER("aac ");
  EXPECT_EQ(open(four_cc("aac "), 2, 44000).error, AudioCodec::kUnsupportedFormat);
  EXPECT_EQ(open(four_cc("aac "), 3).error, AudioCodec::kUnsupportedFormat);
  EXPECT_EQ(open(four_cc("alac"), 2, 0).error, AudioCodec::kUnsupportedFormat);
  EXPECT_EQ(AudioCodec::kUnsupportedFormat, 560226676);
}

TEST(AudioCodec, PacketThatDoesNotFitIsAFailure) {
  NEED_ENCODER("alac");
  const Opened opened = open(four_cc("alac"));
  opened.codec->append_input_data(tone_packet(*opened.codec, false, 2, 0));
  std::uint8_t small[4];
  const AudioCodec::Produced produced = opened.codec->produce_output_packet(small);
  EXPECT_EQ(produced.status, AudioCodec::Produced::kFailure);
  EXPECT_EQ(produced.bytes, 0u);
}

TEST(AudioCodec, KnowsTwoSettings) {
  NEED_ENCODER("aac ");
  const auto codec = AudioCodec::open(four_cc("aac "));
  EXPECT_TRUE(codec->set_property(AudioCodec::kQuality, 96));
  EXPECT_EQ(codec->property(AudioCodec::kQuality), 96u);
  EXPECT_FALSE(codec->set_property(four_cc("what"), 1));
  EXPECT_EQ(codec->property(four_cc("what")), 0u);
}

}  // namespace
