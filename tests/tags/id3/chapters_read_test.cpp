#include <gtest/gtest.h>

#include "auspool/autag2.h"
#include "support/id3.h"
#include "support/tag_file.h"
#include "support/watch.h"

namespace auspool::tags {
namespace {

using namespace auspool::testing;

constexpr std::uint8_t kTop = 2;

// One value of one chapter: element(result, "TOC", 1, "Title").
const audict *element(const ReadResult &chapters, const std::string &track, std::size_t index, const std::string &key) {
  const audict *array = audict_get(chapters.dict.get(), ("Autag2Chapter" + track + "Track").c_str());
  return audict_get(audict_at(array, index), ("Autag2ChapterElement" + key).c_str());
}

std::string text(const ReadResult &chapters, const std::string &track, std::size_t index, const std::string &key) {
  return shown(element(chapters, track, index, key));
}

double seconds(const ReadResult &chapters, const std::string &track, std::size_t index, const std::string &key) {
  double value = -1;
  EXPECT_EQ(audict_number_type_of(element(chapters, track, index, key)), AUDICT_FLOAT64);
  audict_float(element(chapters, track, index, key), &value);
  return value;
}

std::size_t count(const ReadResult &chapters, const std::string &track) {
  return audict_count(audict_get(chapters.dict.get(), ("Autag2Chapter" + track + "Track").c_str()));
}

std::string title(int major, const std::string &latin1) {
  return id3_frame(major, "TIT2", '\0' + latin1);
}

// The chapters of a tag with one chapter "ch0" around these frames.
ReadResult around(const std::string &frames) {
  return read_chapters(id3_tag(3, ctoc_frame(3, kTop, {"ch0"}) + chap_frame(3, "ch0", 0, 1000, frames)));
}

void expect_parse_error(const std::string &bytes, const char *why) {
  const auto chapters = read_chapters(bytes);
  EXPECT_EQ(chapters.error, AUTAG2_EPRS) << why;
  EXPECT_EQ(chapters.dict, nullptr) << why;
}

TEST(ChapterRead, GivesTimesAndTitlesInVersions3And4) {
  for (const int major : {3, 4}) {
    const auto chapters = read_chapters(
        id3_tag(major, ctoc_frame(major, kTop, {"a", "b"}) + chap_frame(major, "a", 0, 1500, title(major, "One")) +
                           chap_frame(major, "b", 1500, 4000, title(major, std::string(200, 'x')))));
    EXPECT_EQ(chapters.error, 0);
    EXPECT_EQ(audict_count(chapters.dict.get()), 1u) << "no pictures, no links";
    ASSERT_EQ(count(chapters, "TOC"), 2u) << major;
    EXPECT_EQ(text(chapters, "TOC", 0, "Title"), "One");
    EXPECT_EQ(text(chapters, "TOC", 1, "Title"), std::string(200, 'x'));
    EXPECT_EQ(seconds(chapters, "TOC", 0, "StartTime"), 0.0);
    EXPECT_EQ(seconds(chapters, "TOC", 0, "Duration"), 1.5);
    EXPECT_EQ(seconds(chapters, "TOC", 1, "StartTime"), 1.5);
    EXPECT_EQ(seconds(chapters, "TOC", 1, "Duration"), 2.5);
  }
}

TEST(ChapterRead, IsNullWithoutATagOfVersion3) {
  const std::string frames = ctoc_frame(3, kTop, {"a"}) + chap_frame(3, "a", 0, 1);
  for (const std::string &bytes : {id3_tag(2, frames), id3_tag(200, frames), silent_mp3(2), "ID3"s}) {
    const auto chapters = read_chapters(bytes);
    EXPECT_EQ(chapters.dict, nullptr);
    EXPECT_EQ(chapters.error, 0);
  }
}

TEST(ChapterRead, RefusesFlags) {
  const auto chapters = read_chapters(id3_tag(3, ctoc_frame(3, kTop, {"a"}), 0x80));
  EXPECT_EQ(chapters.error, AUTAG2_ETAG);
  EXPECT_EQ(chapters.dict, nullptr);
}

TEST(ChapterRead, SkipsAnExtendedHeader) {
  const std::string extended = syncsafe(6) + "123456";
  const std::string frames = ctoc_frame(3, kTop, {"a"}) + chap_frame(3, "a", 0, 1000);
  EXPECT_EQ(read_chapters(id3_tag(3, extended + frames, 0x40)).error, 0);
}

TEST(ChapterRead, TakesAFileThatEndsEarlyAsAParseError) {
  expect_parse_error("ID3\3\0\0\0\0\0"s, "in the header");
  expect_parse_error(id3_tag(3, ctoc_frame(3, kTop, {"a"}), 0, 1000), "in the tag");
  expect_parse_error(id3_tag(3, ""), "no tag at all");
}

TEST(ChapterRead, NeedsATableOfContentsAtTopLevel) {
  const std::string chapter = chap_frame(3, "a", 0, 1);
  expect_parse_error(id3_tag(3, title(3, "no chapters")), "no table");
  expect_parse_error(id3_tag(3, chapter), "chapters alone");
  expect_parse_error(id3_tag(3, ctoc_frame(3, 1, {"a"}) + chapter), "ordered, but below the top");
  expect_parse_error(id3_tag(3, id3_frame(3, "CTOC", "TOC\0"s) + chapter), "without flags");
  EXPECT_EQ(
      count(read_chapters(id3_tag(3, ctoc_frame(3, 1, {"x", "y"}) + ctoc_frame(3, kTop, {"a"}) + chapter)), "TOC"), 1u)
      << "a later table";
}

TEST(ChapterRead, NeedsAsManyNamesAsTheTableCounts) {
  const std::string chapter = chap_frame(3, "a", 0, 1);
  expect_parse_error(id3_tag(3, ctoc_frame(3, kTop, {}) + chapter), "none");
  expect_parse_error(id3_tag(3, id3_frame(3, "CTOC", "TOC\0\2"s) + chapter), "no count");
  expect_parse_error(id3_tag(3, id3_frame(3, "CTOC", "TOC\0\2\2a\0"s) + chapter), "one of two");
  expect_parse_error(id3_tag(3, id3_frame(3, "CTOC", "TOC\0\2\1a"s) + chapter), "without its NUL");
}

TEST(ChapterRead, TakesACountOfUpToHalfTheBytesOfTheTableLess2) {
  const auto four_without_names = [](std::size_t bytes) {
    std::string frames = id3_frame(3, "CTOC", "\0\2\4"s + std::string(bytes - 3, '\0'));
    for (int i = 0; i < 4; ++i) frames += chap_frame(3, "", 0, 1);
    return id3_tag(3, frames);
  };
  expect_parse_error(four_without_names(9), "8 is more than 7");
  EXPECT_EQ(count(read_chapters(four_without_names(10)), "TOC"), 4u);
}

TEST(ChapterRead, NeedsAFrameForEveryName) {
  const std::string table = ctoc_frame(3, kTop, {"a", "b"});
  expect_parse_error(id3_tag(3, table + chap_frame(3, "a", 0, 1)), "one is missing");
  expect_parse_error(id3_tag(3, table + chap_frame(3, "a", 0, 1) + chap_frame(3, "A", 0, 1)), "another name");
  expect_parse_error(id3_tag(3, table + chap_frame(3, "a", 0, 1) + id3_frame(3, "CHAP", "b\0"s + std::string(15, 'x'))),
                     "no room for the times");
}

TEST(ChapterRead, FindsFramesInAnyOrderAndSkipsThoseThatNobodyNames) {
  const auto chapters =
      read_chapters(id3_tag(3, chap_frame(3, "b", 1000, 2000, title(3, "B")) + chap_frame(3, "x", 0, 1, title(3, "X")) +
                                   ctoc_frame(3, kTop, {"a", "b"}) + chap_frame(3, "a", 0, 1000, title(3, "A"))));
  ASSERT_EQ(count(chapters, "TOC"), 2u);
  EXPECT_EQ(text(chapters, "TOC", 0, "Title"), "A");
  EXPECT_EQ(text(chapters, "TOC", 1, "Title"), "B");
}

TEST(ChapterRead, GivesTheFirstFrameOfANameToTheFirstChapterOfThatName) {
  const auto chapters = read_chapters(
      id3_tag(3, ctoc_frame(3, kTop, {"a", "a"}) + chap_frame(3, "a", 0, 5, title(3, "first")) +
                     chap_frame(3, "a", 0, 5, title(3, "second")) + chap_frame(3, "a", 0, 5, title(3, "third"))));
  EXPECT_EQ(text(chapters, "TOC", 0, "Title"), "first");
  EXPECT_EQ(text(chapters, "TOC", 1, "Title"), "second");
}

TEST(ChapterRead, SortsByStart) {
  const auto chapters = read_chapters(
      id3_tag(3, ctoc_frame(3, kTop, {"c", "a", "b"}) + chap_frame(3, "c", 3000, 4000, title(3, "C")) +
                     chap_frame(3, "a", 1000, 2000, title(3, "A")) + chap_frame(3, "b", 1000, 3000, title(3, "B"))));
  EXPECT_EQ(text(chapters, "TOC", 0, "Title"), "A");
  EXPECT_EQ(text(chapters, "TOC", 1, "Title"), "B") << "equal times keep their order";
  EXPECT_EQ(text(chapters, "TOC", 2, "Title"), "C");
}

TEST(ChapterRead, TakesTheDurationAsASignedNumber) {
  const auto chapters =
      read_chapters(id3_tag(3, ctoc_frame(3, kTop, {"a"}) + chap_frame(3, "a", 4000000000u, 3999999000u)));
  EXPECT_EQ(seconds(chapters, "TOC", 0, "StartTime"), 4000000.0);
  EXPECT_EQ(seconds(chapters, "TOC", 0, "Duration"), -1.0);
}

TEST(ChapterTitle, IsTheFirstOfTheChapterOrEmpty) {
  EXPECT_EQ(text(around(title(3, "one") + title(3, "two")), "TOC", 0, "Title"), "one");
  EXPECT_EQ(text(around(""), "TOC", 0, "Title"), "");
  EXPECT_EQ(text(around(title(3, "") + title(3, "two")), "TOC", 0, "Title"), "") << "the first one, empty";
  EXPECT_EQ(text(around(id3_frame(3, "TIT2", "\1\xFF\xFE\x7D\x01")), "TOC", 0, "Title"), "Ž");
}

TEST(ChapterImage, IsReadLikeThatOfATag) {
  const std::string image(20, 'i');
  const auto chapters = around(id3_frame(3, "APIC", apic_data(0, image)) + id3_frame(3, "APIC", apic_data(3, "other")));
  EXPECT_EQ(text(chapters, "Image", 0, "Image"), image);
  EXPECT_EQ(seconds(chapters, "Image", 0, "Duration"), 1.0);
}

TEST(ChapterImage, OfABrokenFrameIsEmptyData) {
  for (const std::string &data :
       {apic_data(0, std::string(16, 'x')), "\0i\0\0\0"s + std::string(14, 'x'), std::string(40, 'x')}) {
    const auto chapters = around(id3_frame(3, "APIC", data));
    EXPECT_EQ(audict_kind_of(element(chapters, "Image", 0, "Image")), AUDICT_DATA);
    EXPECT_EQ(text(chapters, "Image", 0, "Image"), "");
  }
}

TEST(ChapterImage, OfAFrameUnder20BytesIsEmptyData) {
  // Encoding, an empty MIME type, a type and an empty description leave 15 bytes at most of 19.
  const auto image = [](std::size_t bytes) { return "\0\0\3\0"s + std::string(bytes, 'x'); };
  EXPECT_EQ(text(around(id3_frame(3, "APIC", image(15))), "Image", 0, "Image"), "");
  EXPECT_EQ(text(around(id3_frame(3, "APIC", image(16))), "Image", 0, "Image"), "");
  EXPECT_EQ(text(around(id3_frame(3, "APIC", image(17))), "Image", 0, "Image"), std::string(17, 'x'));
}

TEST(ChapterLink, IsTheAddressBehindTheDescription) {
  const struct {
    const char *name;
    std::string data, url, title;
  } rows[] = {
      {"with a description", "\0Home\0http://a.b"s, "http://a.b", "Home"},
      {"with an empty one", "\0\0http://a.b"s, "http://a.b", "none"},
      {"with one of a byte", "\0H\0http://a.b"s, "http://a.b", "none"},
      {"with one in UTF-8", "\3\xC5\xBD\0http://a.b"s, "http://a.b", "Ž"},
      {"with one in UTF-16", "\1\xFF\xFE\x7D\x01\0\0http://a.b"s, "http://a.b", "Ž"},
      {"with a mark alone", "\1\xFF\xFE\0\0http://a.b"s, "http://a.b", ""},
      {"up to a NUL", "\0\0http://a.b\0junk"s, "http://a.b", "none"},
      {"in Latin-1", "\0\0http://\xE9"s, "http://é", "none"},
      {"that is missing", "\0Home\0"s, "", "Home"},
      {"without the NUL", "\0Home"s, "", "none"},
      {"of a frame of one byte", "\0"s, "", "none"},
  };
  for (const auto &row : rows) {
    const auto chapters = around(id3_frame(3, "WXXX", row.data));
    EXPECT_EQ(text(chapters, "HRef", 0, "URL"), row.url) << row.name;
    EXPECT_EQ(text(chapters, "HRef", 0, "Title"), row.title) << row.name;
  }
}

TEST(ChapterTracks, HaveAnElementForEveryChapterWhenOneHasIt) {
  const auto chapters =
      read_chapters(id3_tag(3, ctoc_frame(3, kTop, {"a", "b"}) + chap_frame(3, "a", 0, 1000) +
                                   chap_frame(3, "b", 1000, 3000,
                                              id3_frame(3, "WXXX", "\0\0http://a.b"s) +
                                                  id3_frame(3, "APIC", apic_data(0, std::string(20, 'i'))))));
  ASSERT_EQ(count(chapters, "HRef"), 2u);
  ASSERT_EQ(count(chapters, "Image"), 2u);
  EXPECT_EQ(text(chapters, "HRef", 0, "URL"), "");
  EXPECT_EQ(text(chapters, "HRef", 1, "URL"), "http://a.b");
  EXPECT_EQ(text(chapters, "Image", 0, "Image"), "");
  EXPECT_EQ(seconds(chapters, "Image", 1, "StartTime"), 1.0);
}

TEST(ChapterRead, AllocatesAFewTimesTheTag) {
  std::string frames = ctoc_frame(3, kTop, {"wanted"});
  for (int i = 0; i < 10000; ++i) frames += chap_frame(3, "x", 0, 1, title(3, "text"));
  const TagFile file(id3_tag(3, frames + chap_frame(3, "wanted", 0, 1)));
  (void)file.chapters();
  const long before = bytes_of_new();
  EXPECT_EQ(file.chapters().error, 0);
  EXPECT_LT(bytes_of_new() - before, static_cast<long>(2 * frames.size()));
}

}  // namespace
}  // namespace auspool::tags
