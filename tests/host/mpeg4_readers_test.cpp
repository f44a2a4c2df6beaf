// What independent readers say of MPEG-4 recordings: plain ones with their index in front, fragmented ones, and both
// after their tags were replaced.
#include <auspool/aurec.h>
#include <auspool/autag2.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "host/recordings.h"
#include "support/other_programs.h"
#include "support/tag_file.h"

namespace auspool::testing {
namespace {

struct Form {
  const char *codec, *options;
  int packet_frames;
};
constexpr Form kForms[] = {
    {"aac", "", 1024}, {"aac", " --fragmented", 1024}, {"alac", "", 4096}, {"alac", " --fragmented", 4096}};

std::ostream &operator<<(std::ostream &to, const Form &form) {
  return to << form.codec << form.options;
}

bool is_fragmented(const Form &form) {
  return *form.options != '\0';
}

// What a reader finds.
struct Seen {
  std::string codec, title, track;
  double seconds = 0;
  int rate = 0, channels = 0;
};

class Mpeg4Readers : public ::testing::TestWithParam<Form> {
protected:
  static constexpr int kRate = 44100;

  void SetUp() override {
    if (!aurec_can_output_type(AuRecOutputTypeAAC)) GTEST_SKIP() << "this build has no libavcodec";
    write_source(dir.file("in.wav"), kRate, 2, noise(2 * 12 * kRate, 1));
    const Recording made =
        record(dir.file("in.wav") + " --out " + dir.file("out") + " --type " + GetParam().codec + GetParam().options +
               " --tag Title='Night Train' --tag TrackNum=3 --tag TrackTotal=12");
    ASSERT_EQ(made.status, 0) << made.errors;
    path = made.path(0);
    seconds = static_cast<double>(made.files[0]["frames"].get<int>()) / kRate;
  }

  // The look of a reader at the recording, and at the same with tags of several sizes in their place.
  template <typename Look>
  void expect_read_by(const Look &look, bool knows_fragments = true) {
    expect("Night Train", look(path), knows_fragments);
    for (const std::size_t length : {5u, 9000u, 200u}) {
      const std::string title(length, 'x');
      const Ref tag(audict_create());
      audict_set_string(tag.get(), "Title", title.c_str());
      audict_set_integer(tag.get(), "TrackNum", 3, AUDICT_INT32);
      audict_set_integer(tag.get(), "TrackTotal", 12, AUDICT_INT32);
      ASSERT_EQ(autag2_write(path.c_str(), tag.get()), 0);
      expect(title.substr(0, 4096), look(path), knows_fragments);
    }
  }

  const TempDir dir;
  std::string path;
  double seconds = 0;

private:
  void expect(const std::string &title, const Seen &seen, bool knows_fragments) const {
    EXPECT_EQ(seen.title, title);
    EXPECT_EQ(seen.track, "3/12");
    EXPECT_EQ(seen.rate, kRate);
    EXPECT_EQ(seen.channels, 2);
    EXPECT_NE(seen.codec.find(GetParam().codec), std::string::npos) << seen.codec;
    EXPECT_NEAR(seen.seconds, knows_fragments || !is_fragmented(GetParam()) ? seconds : 0.0, 0.001);
  }
};

std::string lower(std::string text) {
  for (char &c : text) c = static_cast<char>(std::tolower(c));
  return text;
}

TEST_P(Mpeg4Readers, FfprobeReadsThem) {
  NEED_PROGRAM("ffprobe");
  expect_read_by([](const std::string &file) {
    const auto all = nlohmann::json::parse(
        output_of("ffprobe -v error -of json -show_streams -show_format " + testing::quoted(file)));
    const auto stream = all["streams"][0];
    const auto tags = all["format"]["tags"];
    return Seen{stream["codec_name"],
                tags["title"],
                tags["track"],
                std::stod(all["format"]["duration"].get<std::string>()),
                std::stoi(stream["sample_rate"].get<std::string>()),
                stream["channels"]};
  });
  EXPECT_EQ(run("ffmpeg -v error -i " + testing::quoted(path) + " -f null -").errors, "");
}

TEST_P(Mpeg4Readers, MediainfoReadsThem) {
  NEED_PROGRAM("mediainfo");
  expect_read_by([](const std::string &file) {
    const auto tracks =
        nlohmann::json::parse(output_of("mediainfo --Output=JSON " + testing::quoted(file)))["media"]["track"];
    const auto general = tracks[0], audio = tracks[1];
    return Seen{lower(audio["Format"]),
                general["Title"],
                general["Track_Position"].get<std::string>() + "/" + general["Track_Position_Total"].get<std::string>(),
                std::stod(general["Duration"].get<std::string>()),
                std::stoi(audio["SamplingRate"].get<std::string>()),
                std::stoi(audio["Channels"].get<std::string>())};
  });
}

TEST_P(Mpeg4Readers, MutagenReadsThem) {
  NEED_MUTAGEN();
  constexpr bool kKnowsFragments = false;
  const auto look = [](const std::string &file) {
    const auto seen = nlohmann::json::parse(
        python("import sys, json, mutagen.mp4\n"
               "f = mutagen.mp4.MP4(sys.argv[1])\n"
               "codec = 'aac' if f.info.codec == 'mp4a.40.2' else f.info.codec\n"
               "track = '/'.join(map(str, f.tags['trkn'][0]))\n"
               "print(json.dumps([codec, f.tags['\\xa9nam'][0], track, f.info.length, f.info.sample_rate, "
               "f.info.channels]))",
               file));
    return Seen{seen[0], seen[1], seen[2], seen[3], seen[4], seen[5]};
  };
  expect_read_by(look, kKnowsFragments);
}

// It prints atoms and tags, and says nothing of rates.
TEST_P(Mpeg4Readers, AtomicParsleyReadsThem) {
  NEED_PROGRAM("AtomicParsley");
  const std::string tags = output_of("AtomicParsley " + testing::quoted(path) + " -t");
  EXPECT_NE(tags.find("Night Train"), std::string::npos) << tags;
  EXPECT_NE(tags.find("3 of 12"), std::string::npos) << tags;
  const std::string tree = output_of("AtomicParsley " + testing::quoted(path) + " -T");
  EXPECT_EQ(tree.find("~"), std::string::npos) << "nothing that it does not know: " << tree;
  EXPECT_EQ(tree.find("Atom moof") != std::string::npos, is_fragmented(GetParam())) << tree;
  EXPECT_NE(tree.find("Total size: " + std::to_string(read_file(path).size()) + " bytes"), std::string::npos) << tree;
}

INSTANTIATE_TEST_SUITE_P(Forms, Mpeg4Readers, ::testing::ValuesIn(kForms), [](const auto &form) {
  return std::string(form.param.codec) + (is_fragmented(form.param) ? "Fragmented" : "Plain");
});

}  // namespace
}  // namespace auspool::testing
