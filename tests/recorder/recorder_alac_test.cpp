#include "recorder/recorder_alac.h"

#include "m4a/m4a_file.h"
#include "recorder/m4a_classes.h"

using namespace auspool;
using namespace auspool::testing;
using platform::StreamDescription;

namespace {

using AlacRecorder = M4aClasses<RecorderALAC, AuRecOptionsALAC>;

TEST_F(AlacRecorder, DescribesItself) {
  const auto type_of = [&](std::uint32_t fast_start, std::uint32_t audiobook) {
    return with({0, audiobook, fast_start})->os_type();
  };
  EXPECT_EQ(with({})->type(), 3);
  EXPECT_EQ(with({})->creator(), four_cc("tnch"));
  EXPECT_EQ(type_of(1, 0), four_cc("M4A "));
  EXPECT_EQ(type_of(1, 1), four_cc("M4B "));
  EXPECT_EQ(type_of(0, 0), four_cc("MP4 "));
  EXPECT_EQ(type_of(0, 1), four_cc("MP4 ")) << "a fragmented book is no book";
}

TEST_F(AlacRecorder, EncodesAtAnyRate) {
  for (const float rate : {1.0f, 8000.0f, 44100.0f, 96000.0f, 192000.0f}) EXPECT_EQ(with({})->enc_rate(rate), rate);
}

TEST_F(AlacRecorder, GivesTheEncoderIntegersAndNoSettings) {
  for (const std::uint32_t channels : {1u, 2u}) {
    NotingCodec codec(four_cc("alac"));
    StreamDescription input, output;
    const auto recorder = with({channels == 1 ? 1u : 0u, 0, 1});
    set_rate(*recorder, 96000);
    recorder->prepare_codec(codec, input, output);
    EXPECT_EQ(input.sample_rate, 96000.0);
    EXPECT_EQ(input.format_id, four_cc("lpcm"));
    EXPECT_EQ(input.format_flags, 12u);
    EXPECT_EQ(input.channels_per_frame, channels);
    EXPECT_EQ(input.bytes_per_packet, 2 * channels);
    EXPECT_EQ(input.bytes_per_frame, 2 * channels);
    EXPECT_EQ(input.frames_per_packet, 1u);
    EXPECT_EQ(input.bits_per_channel, 16u);
    EXPECT_EQ(output.format_id, four_cc("alac"));
    EXPECT_EQ(output.sample_rate, 96000.0);
    EXPECT_EQ(output.channels_per_frame, channels);
    EXPECT_TRUE(codec.settings.empty());
  }
}

TEST_F(AlacRecorder, EncodersCookieReachesTheFile) {
  constexpr char kEntry[] = "moov.trak.mdia.minf.stbl.stsd.alac";
  for (const bool has_one : {true, false}) {
    M4aFile file;
    NotingCodec codec(four_cc("alac"));
    if (has_one) codec.cookie.assign(48, 'x');
    m4a_t *const m4a = m4a_begin(file.stream, nullptr, 2, 44100, 4096, 0, 0);
    with({})->post_encode_hack(codec, m4a);
    EXPECT_EQ(m4a_finish(m4a, nullptr, M4A_KIND_ALAC, nullptr), 0);
    EXPECT_EQ(file.atom(kEntry).text(48, 24) == std::string(24, 'x'), has_one);
  }
}

}  // namespace
