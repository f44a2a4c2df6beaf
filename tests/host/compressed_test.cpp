// auspool-record to MP3 and FLAC: options, tags, splits.
#include <auspool/aurec.h>
#include <auspool/autag2.h>
#include <gtest/gtest.h>

#include "host/recordings.h"
#include "support/mp3_file.h"
#include "support/other_programs.h"
#include "support/pictures.h"
#include "support/tag_file.h"

namespace auspool::testing {
namespace {

class Compressed : public ::testing::Test {
protected:
  void SetUp() override {
    if (!aurec_can_output_type(AuRecOutputTypeMP3) || !aurec_can_output_type(AuRecOutputTypeFLAC)) {
      GTEST_SKIP() << "this build lacks an encoder";
    }
    write_source(source(), 44100, 2, samples);
  }
  std::string source() const { return dir.file("in.wav"); }
  std::string source_of_rate(int rate) const {
    write_source(dir.file("other.wav"), rate, 2, samples);
    return dir.file("other.wav");
  }
  Recording record_to(const std::string &options) const {
    return record(source() + " --out " + dir.file("out") + " " + options);
  }
  Mp3File first_mp3(const Recording &recording) const { return mp3_file(read_file(recording.path(0))); }

  const TempDir dir;
  const Samples samples = noise(2 * 600000, 1);
};

// 16 bits and no threshold.
std::vector<std::int32_t> coded(const Samples &source) {
  std::vector<std::int32_t> all;
  for (const float sample : source) {
    all.push_back(static_cast<std::int32_t>(std::clamp(sample * 32768.0f, -32768.0f, 32767.0f)) * 65536);
  }
  return all;
}

TEST_F(Compressed, FlacFilesJoinToTheSource) {
  const Recording recording = record_to("--type flac --limit 1MiB");
  ASSERT_EQ(recording.status, 0) << recording.errors;
  EXPECT_EQ(recording.files.size(), 3u);
  EXPECT_TRUE(recording.path(0).ends_with("recording-001.flac"));
  EXPECT_TRUE(recording.joined() == coded(samples));
}

TEST_F(Compressed, FlacFilesMayBeMono) {
  const Recording recording = record_to("--type flac --mono mix");
  ASSERT_EQ(recording.status, 0) << recording.errors;
  const Audio audio = read_by_libsndfile(recording.path(0));
  EXPECT_EQ(audio.channels, 1);
  ASSERT_EQ(audio.frames(), samples.size() / 2);
  for (std::size_t i = 0; i < audio.frames(); ++i) {
    const float sum = (samples[2 * i] + samples[2 * i + 1]) * 16384.0f;
    ASSERT_EQ(audio.samples[i] >> 16, static_cast<std::int32_t>(std::clamp(sum, -32768.0f, 32767.0f)));
  }
}

TEST_F(Compressed, Mp3FilesAreAsTheOptionsSay) {
  Recording recording = record_to("--type mp3 --bitrate 96 --rate 22050 --mono mix");
  ASSERT_EQ(recording.status, 0) << recording.errors;
  EXPECT_TRUE(recording.path(0).ends_with("recording-001.mp3"));
  const Mp3File constant = first_mp3(recording);
  EXPECT_EQ(constant.frames.at(3).bitrate, 96);
  EXPECT_EQ(constant.frames.at(3).rate, 22050);
  EXPECT_EQ(constant.frames.at(3).channel_mode, 3);
  recording = record_to("--type mp3 --bitrate-mode variable --bitrate 192 --vbr-quality 9 --quality 7 --podcast");
  ASSERT_EQ(recording.status, 0) << recording.errors;
  EXPECT_EQ(first_mp3(recording).low_pass(), 10000);
  const Ref tag(autag2_read(recording.path(0).c_str(), nullptr, nullptr));
  EXPECT_STREQ(audict_get_string(tag.get(), "EncoderSettings"),
               "lame_params: mInRate:44100, enc_rate:0, q:7, ch_mode:0, vbr_q:9, br_mode:2, bitrate:192\n");
  EXPECT_NE(audict_get(tag.get(), "ID3Podcast"), nullptr);
  recording = record_to("--type mp3 --bitrate-mode average --bitrate 64");
  EXPECT_EQ(recording.status, 0) << recording.errors;
}

TEST_F(Compressed, Mp3FilesOfASplitRecordingHoldAllOfIt) {
  const Recording recording = record_to("--type mp3 --bitrate 320 --limit 1MiB --bitrate-mode average");
  ASSERT_EQ(recording.status, 0) << recording.errors;
  ASSERT_GE(recording.files.size(), 1u);
  std::size_t frames = 0;
  for (std::size_t i = 0; i < recording.files.size(); ++i) {
    frames += mp3_file(read_file(recording.path(i))).frames.size();
  }
  EXPECT_GE(frames * 1152, samples.size() / 2);
  EXPECT_LE(frames * 1152, samples.size() / 2 + 4 * 1152);
}

TEST_F(Compressed, EveryFormatCarriesTagsAndACover) {
  const Bytes cover = jpeg_file(20, 10);
  write_file(dir.file("cover.jpg"), {cover.begin(), cover.end()});
  const std::string options =
      "--tag 'Title=Night Train' --tag Artist=Lanterns --tag Year=1952 --cover " + dir.file("cover.jpg") + " --type ";
  for (const char *type : {"aiff", "wave", "mp3", "flac"}) {
    SCOPED_TRACE(type);
    const Recording recording = record_to(options + type);
    ASSERT_EQ(recording.status, 0) << recording.errors;
    const ReadResult tag = {Ref(autag2_read(recording.path(0).c_str(), nullptr, nullptr)), 0};
    EXPECT_EQ(tag["Title"], "Night Train");
    EXPECT_EQ(tag["Artist"], "Lanterns");
    EXPECT_EQ(tag["Year"], "1952");
    EXPECT_EQ(tag["AlbumCover"], std::string(cover.begin(), cover.end()));
  }
}

TEST_F(Compressed, OptionsThatAFormatHasNotAreRefused) {
  for (const char *wrong : {"--type flac --rate 44100", "--type flac --bits 24", "--type mp3 --bits 24",
                            "--type flac --mono left", "--type mp3 --mono right", "--type mp3 --bitrate 100",
                            "--type mp3 --bitrate-mode fast", "--type ogg", "--tag Colour=red", "--tag Year=soon"}) {
    EXPECT_EQ(record_to(wrong).status, 2) << wrong;
  }
  EXPECT_EQ(record_to("--cover /no/such/file").status, 1);
  EXPECT_FALSE(std::filesystem::exists(dir.file("out")));
}

TEST_F(Compressed, RatesThatAFormatHasNotEndTheProgramWithItsMessage) {
  Recording recording = record(source_of_rate(700001) + " --type flac --out " + dir.file("out"));
  EXPECT_EQ(recording.status, 1);
  EXPECT_NE(recording.errors.find("FLAC__stream_encoder_init_FILE() failed"), std::string::npos) << recording.errors;
  recording = record(source_of_rate(4000) + " --type mp3 --out " + dir.file("out"));
  EXPECT_EQ(recording.status, 1);
  EXPECT_NE(recording.errors.find("input sample rate is too low"), std::string::npos) << recording.errors;
  recording = record_to("--type mp3 --rate 12345");
  EXPECT_EQ(recording.status, 1);
  EXPECT_NE(recording.errors.find("lame_init_params() failed"), std::string::npos) << recording.errors;
}

}  // namespace
}  // namespace auspool::testing
