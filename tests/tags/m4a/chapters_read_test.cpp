#include <gtest/gtest.h>

#include "auspool/autag2.h"
#include "support/m4a_tags.h"
#include "support/other_programs.h"
#include "support/tag_file.h"
#include "support/watch.h"

using namespace auspool::testing;

namespace {

// The elements of a track, each as "start+duration title url image".
std::string shown(const ReadResult &result, const char *track) {
  std::string all;
  const audict *const elements = audict_get(result.dict.get(), track);
  for (std::size_t i = 0; i < audict_count(elements); ++i) {
    const audict *const element = audict_at(elements, i);
    double start = -1, duration = -1;
    audict_get_float(element, "Autag2ChapterElementStartTime", &start);
    audict_get_float(element, "Autag2ChapterElementDuration", &duration);
    char times[64];
    snprintf(times, sizeof times, "%g+%g", start, duration);
    all += times;
    for (const char *key : {"Autag2ChapterElementTitle", "Autag2ChapterElementURL"}) {
      const char *const text = audict_get_string(element, key);
      if (text != nullptr) all += std::string(" ") + text;
    }
    const audict *const image = audict_get(element, "Autag2ChapterElementImage");
    if (image != nullptr) all += " " + bytes_of(image);
    all += ";";
  }
  return all;
}

constexpr char kContents[] = "Autag2ChapterTOCTrack", kImages[] = "Autag2ChapterImageTrack",
               kLinks[] = "Autag2ChapterHRefTrack";

// One text track, of these samples, that the audio refers to.
ReadResult read_text_track(const std::string &format, std::initializer_list<ChapterSample> samples) {
  std::string all;
  for (const ChapterSample &sample : samples) all += sample.bytes;
  return read_chapters(
      chaptered_m4a(all, audio_track({2}) + chapter_track(2, "text", format, samples, kChapterOffset), 3));
}

TEST(M4aChapters, TitlesComeWithTheirTimes) {
  const ReadResult result =
      read_text_track("tx3g", {{text_sample("One"), 1500}, {text_sample("Two"), 2000}, {text_sample(""), 500}});
  EXPECT_EQ(result.error, 0);
  EXPECT_EQ(shown(result, kContents), "0+1.5 One;1.5+2 Two;3.5+0.5 ;");
}

TEST(M4aChapters, SamplesOfNoTimeAreNone) {
  EXPECT_EQ(
      shown(read_text_track("tx3g", {{text_sample("a"), 0}, {text_sample("b"), 1}, {text_sample("c"), 2}}), kContents),
      "0.001+0.002 c;");
}

TEST(M4aChapters, LinksMakeATrackOfLinks) {
  const ReadResult result = read_chapters(chaptered_m4a(
      text_sample("t") + text_sample("n", link_atom("http://a")),
      audio_track({2, 3}) + chapter_track(2, "text", "tx3g", {{text_sample("t"), 9}}, kChapterOffset) +
          chapter_track(3, "text", "tx3g", {{text_sample("n", link_atom("http://a")), 9}}, kChapterOffset + 3),
      4));
  EXPECT_EQ(shown(result, kContents), "0+0.009 t;");
  EXPECT_EQ(shown(result, kLinks), "0+0.009 n http://a;");
}

TEST(M4aChapters, LinkOfNoCharacterIsNone) {
  const ReadResult result = read_text_track("tx3g", {{text_sample("t", link_atom("http://a", 0)), 9}});
  EXPECT_EQ(shown(result, kContents), "0+0.009 t;");
}

TEST(M4aChapters, LinkBeyondItsAtomIsAnError) {
  std::string lying = link_atom("http://a");
  lying[12] = 50;
  EXPECT_EQ(read_text_track("tx3g", {{text_sample("t", lying), 9}}).error, AUTAG2_EPRS);
}

TEST(M4aChapters, TextBeyondItsSampleIsAnError) {
  EXPECT_EQ(read_text_track("tx3g", {{be16(9) + "short", 9}}).error, AUTAG2_EPRS);
  EXPECT_EQ(read_text_track("tx3g", {{"x", 9}}).error, AUTAG2_EPRS);
}

TEST(M4aChapters, TextIsUtf16BehindAMark) {
  EXPECT_EQ(shown(read_text_track("text", {{text_sample(std::string("\xFE\xFF\0A", 4)), 9}}), kContents), "0+0.009 A;");
  EXPECT_EQ(shown(read_text_track("tx3g", {{text_sample(std::string("\xFF\xFE"
                                                                    "A\0",
                                                                    4)),
                                            9}}),
                  kContents),
            "0+0.009 A;");
}

TEST(M4aChapters, TextThatIsNoUtf8IsEmptyOrLatin1FromTheStart) {
  EXPECT_EQ(shown(read_text_track("tx3g", {{text_sample("\xE9"), 9}}), kContents), "0+0.009 ;");
  const ReadResult latin = read_text_track("text", {{text_sample("\xE9t\xE9"), 9}});
  EXPECT_EQ(latin.error, 0);
  const audict *const title =
      audict_get(audict_at(audict_get(latin.dict.get(), kContents), 0), "Autag2ChapterElementTitle");
  ASSERT_NE(title, nullptr);
  EXPECT_EQ(std::get<std::string>(title->content), std::string("\0\3\xC3\xA9t\xC3\xA9", 7));
}

TEST(M4aChapters, PicturesComeAsTheyAre) {
  const ReadResult result = read_chapters(chaptered_m4a(
      "onetwo", audio_track({2}) + chapter_track(2, "vide", "jpeg", {{"one", 10}, {"two", 20}}, kChapterOffset), 3));
  EXPECT_EQ(result.error, 0);
  EXPECT_EQ(result.dict, nullptr) << "the first track holds titles or nothing";
  const ReadResult second = read_chapters(
      chaptered_m4a(text_sample("t") + "two",
                    audio_track({2, 3}) + chapter_track(2, "text", "tx3g", {{text_sample("t"), 9}}, kChapterOffset) +
                        chapter_track(3, "vide", "png ", {{"two", 20}}, kChapterOffset + 3),
                    4));
  EXPECT_EQ(shown(second, kImages), "0+0.02 two;");
}

TEST(M4aChapters, OtherFormatsEndTheWalk) {
  const ReadResult result = read_text_track("c608", {{text_sample("t"), 9}});
  EXPECT_EQ(result.error, 0);
  EXPECT_EQ(shown(result, kContents), "");
}

TEST(M4aChapters, TrackThatRefersToItselfIsAnError) {
  EXPECT_EQ(read_chapters(chaptered_m4a("", audio_track({1, 2}), 3)).error, AUTAG2_EPRS);
}

TEST(M4aChapters, ReferenceToNoTrackIsAnError) {
  EXPECT_EQ(read_chapters(chaptered_m4a("", audio_track({7}), 9)).error, AUTAG2_EPRS);
}

TEST(M4aChapters, FurtherReferencesOutOfRangeAreSkipped) {
  const ReadResult result = read_chapters(chaptered_m4a(
      text_sample("t"),
      audio_track({2, 0, 1, 9}) + chapter_track(2, "text", "tx3g", {{text_sample("t"), 9}}, kChapterOffset), 3));
  EXPECT_EQ(result.error, 0);
  EXPECT_EQ(shown(result, kContents), "0+0.009 t;");
}

TEST(M4aChapters, FileWithoutTracksIsAnErrorAndWithoutChaptersNone) {
  EXPECT_EQ(read_chapters(chaptered_m4a("", "", 2)).error, AUTAG2_ESND);
  const ReadResult none = read_chapters(chaptered_m4a("", audio_track({}), 2));
  EXPECT_EQ(none.error, 0);
  EXPECT_EQ(none.dict, nullptr);
}

TEST(M4aChapters, SamplesBeyondTheFileAreAnError) {
  const std::string track = chapter_track(2, "text", "tx3g", {{text_sample("t"), 9}}, 0x7FFFFFFF);
  EXPECT_EQ(read_chapters(chaptered_m4a("", audio_track({2}) + track, 3)).error, AUTAG2_EPRS);
}

TEST(M4aChapters, SampleThatEndsBeyondTheFileIsAnErrorOfTheFile) {
  const auto with_offset = [](std::uint32_t offset) {
    return chaptered_m4a("", audio_track({2}) + chapter_track(2, "text", "tx3g", {{text_sample("t"), 9}}, offset), 3);
  };
  const auto last = static_cast<std::uint32_t>(with_offset(0).size() - 1);
  EXPECT_EQ(read_chapters(with_offset(last)).error, AUTAG2_EPRS);
}

// A track of text whose samples are all the same bytes of the file, over and over.
std::string repeating_track(std::uint32_t count, std::uint32_t size, bool chunk_each) {
  std::string offsets = words({0, chunk_each ? count : 1});
  for (std::uint32_t i = 0; i < (chunk_each ? count : 1); ++i) offsets += be32(kChapterOffset);
  const std::string tables = atom("stsd", words({0, 1}) + atom("jpeg", std::string(8, '\0'))) +
                             atom("stts", words({0, 1, count, 10})) + atom("stsz", words({0, size, count})) +
                             atom("stsc", words({0, 1, 1, chunk_each ? 1 : count, 1})) + atom("stco", offsets);
  const std::string media = atom("mdhd", words({0, 0, 0, 1000, 0, 0})) +
                            atom("hdlr", words({0, 0}) + "vide" + std::string(12, '\0')) +
                            atom("minf", atom("stbl", tables));
  return atom("trak", atom("tkhd", words({0, 0, 0, 2}) + std::string(64, '\0')) + atom("mdia", media));
}

TEST(M4aChapters, SamplesUponOneAnotherTakeNoMoreThanTheFile) {
  const std::string picture(50000, 'p');
  const TagFile file(chaptered_m4a(picture, audio_track({2}) + repeating_track(1000, 50000, true), 3));
  EXPECT_EQ(file.chapters().error, AUTAG2_EPRS);
  long before = bytes_of_new();
  (void)file.chapters();
  EXPECT_LT(bytes_of_new() - before, 4 * 60000);
}

TEST(M4aChapters, ElementsOfAByteEachEndWithTheFile) {
  constexpr std::uint32_t kBytes = 100000;
  const std::string samples(kBytes, 'p');
  const TagFile file(chaptered_m4a(samples, audio_track({2}) + repeating_track(kBytes, 1, false), 3));
  EXPECT_EQ(file.chapters().error, AUTAG2_EPRS);
  const long before = bytes_of_new();
  (void)file.chapters();
  EXPECT_LT(bytes_of_new() - before, 100l * kBytes);
}

TEST(M4aChapters, OneSampleMayServeSeveralTimes) {
  const std::string samples = "picture" + std::string(200, 'f');
  const ReadResult result = read_chapters(chaptered_m4a(samples, audio_track({2}) + repeating_track(3, 7, true), 3));
  EXPECT_EQ(result.error, 0);
}

TEST(M4aChapters, OfManyTracksAreFoundWithoutLookingAtAllOfThemOverAndOver) {
  std::string tracks;
  for (int i = 0; i < 100000; ++i) tracks += atom("trak", "");
  EXPECT_EQ(read_chapters(chaptered_m4a("", tracks, 3)).error, AUTAG2_ESND);
  EXPECT_EQ(read_chapters(chaptered_m4a("", audio_track({2}) + tracks, 3)).error, AUTAG2_EPRS);
}

TEST(M4aChapters, ComeFromTheFirst255Tracks) {
  const std::string track = chapter_track(2, "text", "tx3g", {{text_sample("t"), 9}}, kChapterOffset);
  for (const int others : {253, 254}) {
    std::string tracks = audio_track({2});
    for (int i = 0; i < others; ++i) tracks += atom("trak", "");
    EXPECT_EQ(read_chapters(chaptered_m4a(text_sample("t"), tracks + track, 3)).error, others == 253 ? 0 : AUTAG2_EPRS);
  }
}

TEST(M4aChapters, AreReadFromFilesOfFfmpeg) {
  NEED_PROGRAM("ffmpeg");
  const TempDir folder;
  write_file(folder.file("meta"),
             ";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=700\ntitle=One\n"
             "[CHAPTER]\nTIMEBASE=1/1000\nSTART=700\nEND=2000\ntitle=Two\n");
  output_of("ffmpeg -v error -f lavfi -i sine=duration=2 -i " + folder.file("meta") + " -map 0 -map_chapters 1 " +
            folder.file("a.m4a"));
  EXPECT_EQ(shown(read_chapters(read_file(folder.file("a.m4a"))), kContents), "0+0.7 One;0.7+1.3 Two;");
}

TEST(M4aChapters, CannotBeWrittenToAFile) {
  const TagFile file(tagged_m4a(""));
  const Ref chapters(audict_create());
  EXPECT_EQ(autag2_chapter_write(file.path(), chapters.get()), -1);
}

}  // namespace
