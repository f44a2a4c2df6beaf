// auspool-tags as a person runs it.
#include <gtest/gtest.h>

#include <cerrno>
#include <nlohmann/json.hpp>

#include "support/chunk_file.h"
#include "support/id3.h"
#include "support/other_programs.h"
#include "support/pictures.h"
#include "support/temp_dir.h"
#include "tags/m4a/attached_chapters.h"

namespace auspool::testing {
namespace {

using nlohmann::json;

std::string bytes_in(const std::vector<std::uint8_t> &bytes) {
  return {bytes.begin(), bytes.end()};
}

class TagsProgram : public ::testing::Test {
protected:
  ProgramResult tags(const std::string &arguments) const { return run(AUSPOOL_TAGS " " + arguments); }

  // The object that is printed for one file.
  json read(const std::string &path) const {
    const ProgramResult result = tags("read --json " + path);
    EXPECT_EQ(result.status, 0) << result.errors;
    return json::parse(result.output);
  }
  std::string make(const std::string &name, const std::string &bytes) const {
    write_file(folder.file(name), bytes);
    return folder.file(name);
  }

  TempDir folder;
  const std::string wave = make("a.wav", wave_file(info_list(wave_chunk("INAM", "Night Train")) + wave_sound(100)));
};

TEST_F(TagsProgram, ReadsAnObjectAFile) {
  const std::string aiff = make("b.aiff", aiff_file(aiff_chunk("(c) ", "1952")));
  const ProgramResult result = tags("read " + wave + " " + aiff + " --json");
  EXPECT_EQ(result.status, 0);
  const std::size_t end_of_first = result.output.find('\n');
  EXPECT_EQ(json::parse(result.output.substr(0, end_of_first)), json({{"path", wave},
                                                                      {"format", 3},
                                                                      {"error", 0},
                                                                      {"tags", {{"Title", "Night Train"}}},
                                                                      {"chapter_error", 0},
                                                                      {"chapters", nullptr}}));
  EXPECT_EQ(json::parse(result.output.substr(end_of_first))["tags"], json({{"Year", 1952}}));
}

TEST_F(TagsProgram, ReadsKindsOfValues) {
  const std::string image(20, 'i');
  const std::string path =
      make("a.mp3", id3_tag(3, id3_frame(3, "TCMP", "\0001"s) + id3_frame(3, "APIC", apic_data(3, image))));
  const json tag = read(path)["tags"];
  EXPECT_EQ(tag["Compilation"], true);
  EXPECT_EQ(tag["AlbumCover"]["length"], 20);
  // printf iiiiiiiiiiiiiiiiiiii | sha256sum
  EXPECT_EQ(tag["AlbumCover"]["sha256"], "7139a6d08969db22f713eefc80dcf9811d075e50093b049f993de20656d3df6b");
}

TEST_F(TagsProgram, ShowsErrorsAsNumbersOrLetters) {
  const json missing = read(folder.file("none"));
  EXPECT_EQ(missing["error"], ENOENT);
  EXPECT_EQ(missing["chapter_error"], ENOENT);
  EXPECT_EQ(missing["format"], nullptr);
  EXPECT_EQ(missing["tags"], nullptr);
  EXPECT_EQ(read(make("a.aiff", aiff_file("", 0)))["error"], "Eprs");
}

TEST_F(TagsProgram, PrintsForPeopleToo) {
  const ProgramResult result = tags("read " + wave);
  EXPECT_NE(result.output.find("Title            Night Train"), std::string::npos) << result.output;
}

TEST_F(TagsProgram, WritesRemovesAndClears) {
  const std::string image = make("cover.jpg", bytes_in(jpeg_file(8, 8)));
  ProgramResult result = tags("write " + wave + " Artist=Lanterns Year=1952 Compilation=true --cover " + image);
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(result.output, wave + ": 0\n");
  json tag = read(wave)["tags"];
  EXPECT_EQ(tag["Title"], "Night Train");
  EXPECT_EQ(tag["Artist"], "Lanterns");
  EXPECT_EQ(tag["Year"], 1952);
  EXPECT_EQ(tag["Compilation"], true);
  EXPECT_EQ(tag["AlbumCover"]["length"], read_file(image).size());
  EXPECT_EQ(tags("write " + wave + " --remove Artist --remove AlbumCover").status, 0);
  EXPECT_EQ(read(wave)["tags"].size(), 3u);
  EXPECT_EQ(tags("write " + wave + " --clear Album='Live at the Barn'").status, 0);
  EXPECT_EQ(read(wave)["tags"], json({{"Album", "Live at the Barn"}}));
}

TEST_F(TagsProgram, TellsTheCodeOfAFailedWrite) {
  const std::string text = make("notes.txt", "no audio");
  ProgramResult result = tags("write " + text + " Title=x");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, text + ": Etag\n");
  result = tags("write " + folder.file("none") + " Title=x");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, folder.file("none") + ": 2 (No such file or directory)\n");
}

TEST_F(TagsProgram, LeavesAFileWhoseTagItCannotReadInFull) {
  const std::string path = make("a.aiff", aiff_file(aiff_chunk("NAME", "x") + aiff_chunk("APPL", "", -2)));
  const std::string before = read_file(path);
  EXPECT_EQ(tags("write " + path + " Title=y").output, path + ": Eprs\n");
  EXPECT_EQ(read_file(path), before);
}

TEST_F(TagsProgram, RefusesAWrongCommandLine) {
  const std::string write = "write " + wave;
  for (const std::string &wrong :
       {""s, "read"s, "play " + wave, write + " Title", write + " Colour=red", write + " Year=soon",
        write + " Compilation=yes", "create ogg Title=x"s, "read --loud " + wave, "chapters-create mp3"s}) {
    const ProgramResult result = tags(wrong);
    EXPECT_EQ(result.status, 2) << wrong;
    EXPECT_FALSE(result.errors.empty()) << wrong;
  }
  EXPECT_EQ(tags(write + " --cover /no/such/file").status, 1);
  EXPECT_EQ(read(wave)["tags"].size(), 1u) << "nothing was written";
  EXPECT_NE(tags("--help").output.find("usage: auspool-tags"), std::string::npos);
}

TEST_F(TagsProgram, CreatesTheBytesOfATag) {
  const std::string made = folder.file("tag");
  ASSERT_EQ(tags("create wave Title='Night Train' > " + made).status, 0);
  EXPECT_EQ(read(make("c.wav", wave_file(read_file(made) + wave_sound(10))))["tags"], json({{"Title", "Night Train"}}));
  EXPECT_EQ(tags("create aiff Encoder=x").output, "") << "AIFF has no place for it alone";
}

TEST_F(TagsProgram, CreatesAndShowsChapters) {
  make("one.png", bytes_in(png_file(8, 8)));
  const std::string list = make("chapters.json", R"({
    "Autag2ChapterTOCTrack": [
      {"Autag2ChapterElementStartTime": 0, "Autag2ChapterElementDuration": 61.5, "Autag2ChapterElementTitle": "Intro"},
      {"Autag2ChapterElementStartTime": 61.5, "Autag2ChapterElementDuration": 5, "Autag2ChapterElementTitle": "End"}],
    "Autag2ChapterImageTrack": [{"Autag2ChapterElementImage": "one.png"}],
    "Autag2ChapterHRefTrack": [{"Autag2ChapterElementURL": "https://example.com", "Autag2ChapterElementTitle": "home"}]
  })");
  const std::string frames = folder.file("frames");
  ASSERT_EQ(tags("chapters-create mp3 " + list + " > " + frames).status, 0);
  const std::string path = make("a.mp3", id3_tag(3, read_file(frames)) + silent_mp3(3));
  const ProgramResult result = tags("chapters " + path + " --save-images " + folder.file("images"));
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_NE(result.output.find(": 2 chapters\n  0:00:00.000  Intro  <https://example.com> home  [picture, "),
            std::string::npos)
      << result.output;
  EXPECT_NE(result.output.find("\n  0:01:01.500  End\n"), std::string::npos) << result.output;
  EXPECT_EQ(read_file(folder.file("images/a-1.jpg")).substr(0, 2), "\xFF\xD8");
}

TEST_F(TagsProgram, ReadsAndWritesMpeg4) {
  const std::string path = make("a.m4a", m4a_file(atom("trak", "x") + udta(text_item("\xA9nam", "Night Train"))));
  EXPECT_EQ(read(path)["format"], 2);
  EXPECT_EQ(tags("write " + path + " Artist=Lanterns TrackNum=3 iTunesStik=2").status, 0);
  EXPECT_EQ(read(path)["tags"],
            json({{"Title", "Night Train"}, {"Artist", "Lanterns"}, {"TrackNum", 3}, {"iTunesStik", 2}}));
}

TEST_F(TagsProgram, ShowsChaptersOfMpeg4ByTheirTimes) {
  NEED_PROGRAM("ffmpeg");
  make("one.jpg", bytes_in(jpeg_file(40, 40)));
  const std::string list = make("chapters.json", R"({
    "Autag2ChapterTOCTrack": [
      {"Autag2ChapterElementStartTime": 0, "Autag2ChapterElementDuration": 1, "Autag2ChapterElementTitle": "One"},
      {"Autag2ChapterElementStartTime": 1, "Autag2ChapterElementDuration": 1, "Autag2ChapterElementTitle": "Two"},
      {"Autag2ChapterElementStartTime": 2, "Autag2ChapterElementDuration": 1, "Autag2ChapterElementTitle": "Three"}],
    "Autag2ChapterImageTrack": [
      {"Autag2ChapterElementStartTime": 0, "Autag2ChapterElementDuration": 2, "Autag2ChapterElementImage": "one.jpg"}],
    "Autag2ChapterHRefTrack": [
      {"Autag2ChapterElementStartTime": 0, "Autag2ChapterElementDuration": 3, "Autag2ChapterElementURL": "u:0"}]
  })");
  const std::string atoms = folder.file("atoms"), audio = folder.file("audio.m4a");
  ASSERT_EQ(tags("chapters-create m4a " + list + " > " + atoms).status, 0);
  output_of("ffmpeg -v error -f lavfi -i sine=duration=3 -c:a aac " + audio);
  const std::string path = make("a.m4a", with_chapters(read_file(audio), read_file(atoms)));
  const std::string picture = "  [picture, " + std::to_string(jpeg_file(40, 40).size()) + " bytes]\n";
  EXPECT_EQ(tags("chapters " + path + " --save-images " + folder.file("images")).output,
            path + ": 3 chapters\n  0:00:00.000  One  <u:0> u:0" + picture + "  0:00:01.000  Two  <u:0> u:0" + picture +
                "  0:00:02.000  Three  <u:0> u:0\n");
  EXPECT_EQ(read_file(folder.file("images/a-1.jpg")), read_file(folder.file("one.jpg")));
}

TEST_F(TagsProgram, TellsWhenChaptersCannotBeRead) {
  EXPECT_EQ(tags("chapters " + folder.file("none")).status, 1);
  EXPECT_EQ(tags("chapters " + wave).output, wave + ": 0 chapters\n");
}

}  // namespace
}  // namespace auspool::testing
