// auspool-record to MPEG-4 files: AAC and ALAC, plain and fragmented.
#include <auspool/aurec.h>
#include <auspool/autag2.h>
#include <gtest/gtest.h>

#include "host/recordings.h"
#include "support/atoms.h"
#include "support/other_programs.h"
#include "support/tag_file.h"

namespace auspool::testing {
namespace {

class Mpeg4 : public ::testing::Test {
protected:
  void SetUp() override {
    if (!aurec_can_output_type(AuRecOutputTypeAAC)) GTEST_SKIP() << "this build has no libavcodec";
    NEED_PROGRAM("ffmpeg");
    write_source(dir.file("in.wav"), 44100, 2, samples);
  }
  Recording record_to(const std::string &options) const {
    return record(dir.file("in.wav") + " --out " + dir.file("out") + " " + options);
  }

  const TempDir dir;
  const Samples samples = noise(2 * 600000, 1);
};

TEST_F(Mpeg4, AlacComesBackBitForBit) {
  for (const char *form : {"", " --fragmented"}) {
    const Recording recording = record_to(std::string("--type alac") + form);
    ASSERT_EQ(recording.status, 0) << recording.errors;
    EXPECT_TRUE(recording.path(0).ends_with(".m4a"));
    const Audio audio = read_by_ffmpeg(recording.path(0));
    EXPECT_EQ(audio.frames(), recording.files[0]["frames"]) << form;
    ASSERT_GE(audio.samples.size(), samples.size());
    const std::vector<std::int32_t> expected = stored(samples, 16);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), audio.samples.begin())) << form;
  }
}

TEST_F(Mpeg4, FormIsAsTheOptionSays) {
  EXPECT_EQ(types_in(read_file(record_to("--type aac").path(0))), "ftyp moov mdat") << "fast-starting";
  const std::string fragmented = types_in(read_file(record_to("--type aac --fragmented").path(0)));
  EXPECT_EQ(fragmented.substr(0, 24), "ftyp moov moof mdat moof");
}

TEST_F(Mpeg4, BitrateAndTagsAreAsTheOptionsSay) {
  const Recording small = record_to("--type aac --bitrate 64 --audiobook --tag Title='Night Train'"),
                  large = record_to("--type aac --bitrate 256 --quality 2"), mono = record_to("--type aac --mono mix");
  ASSERT_EQ(small.status, 0) << small.errors;
  ASSERT_EQ(large.status, 0) << large.errors;
  ASSERT_EQ(mono.status, 0) << mono.errors;
  EXPECT_LT(2 * small.files[0]["bytes"].get<int>(), large.files[0]["bytes"].get<int>());
  ReadResult tag;
  tag.dict = Ref(autag2_read(small.path(0).c_str(), &tag.error, nullptr));
  EXPECT_EQ(tag["Title"], "Night Train");
  EXPECT_EQ(read_by_ffmpeg(mono.path(0)).channels, 1);
}

// The source waits for the recorder, which takes the ring's audio a packet at a time: at a file's low rate a long one.
TEST_F(Mpeg4, RecordsSourcesThatAreLongerThanTheRing) {
  constexpr std::size_t kFrames = 1800000;
  constexpr int kRate = 96000;
  write_source(dir.file("long.wav"), kRate, 2, Samples(2 * kFrames, 0.25f));
  for (const char *options : {"--type alac", "--type alac --fragmented", "--type aac --bitrate 16",
                              "--type aac --bitrate 16 --silence skip", "--type alac --silence split"}) {
    const Recording recording = record(dir.file("long.wav") + " --out " + dir.file("out") + " " + options);
    ASSERT_EQ(recording.status, 0) << options << ": " << recording.errors;
    EXPECT_EQ(recording.summary["frames_pushed"], kFrames) << options;
    ASSERT_EQ(recording.files.size(), 1u);
    EXPECT_GE(recording.files[0]["seconds"].get<double>(), static_cast<double>(kFrames) / kRate) << options;
  }
}

// A plain file that turns out empty is finished and deleted at the same time.
TEST_F(Mpeg4, SaysThatNothingWasRecorded) {
  write_source(dir.file("empty.wav"), 44100, 2, {});
  for (const char *form : {"", " --fragmented"}) {
    const Recording recording = record(dir.file("empty.wav") + " --type alac --out " + dir.file("out") + form);
    EXPECT_EQ(recording.status, 1);
    EXPECT_NE(recording.errors.find("nothing was recorded"), std::string::npos) << recording.errors;
    EXPECT_EQ(recording.errors.find("libavformat"), std::string::npos) << recording.errors;
    EXPECT_EQ(recording.summary["errors"], 1);
  }
}

TEST_F(Mpeg4, RefusesWhatOtherFormatsHave) {
  for (const char *wrong : {"--type aac --rate 22050", "--type alac --bits 24", "--type alac --mono left",
                            "--type aac --bitrate 100", "--type wave --fragmented", "--type mp3 --audiobook"}) {
    EXPECT_EQ(record_to(wrong).status, 2) << wrong;
  }
}

}  // namespace
}  // namespace auspool::testing
