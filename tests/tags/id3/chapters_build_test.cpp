#include <gtest/gtest.h>

#include <limits>

#include "auspool/autag2.h"
#include "platform/image.h"
#include "support/id3.h"
#include "support/pictures.h"
#include "support/tag_file.h"
#include "support/watch.h"

namespace auspool::tags {
namespace {

using namespace auspool::testing;

template <typename... Elements>
Ref array_of(Elements... elements) {
  Ref array = make_array();
  (append(*array, std::move(elements)), ...);
  return array;
}

Ref start_of(double start) {
  Ref element = make_dictionary();
  set(*element, "Autag2ChapterElementStartTime", make_float(start));
  return element;
}

Ref element(double start, double duration) {
  Ref it = start_of(start);
  set(*it, "Autag2ChapterElementDuration", make_float(duration));
  return it;
}

Ref chapter(double start, double duration, const std::string &title) {
  Ref it = element(start, duration);
  set(*it, "Autag2ChapterElementTitle", make_string(title));
  return it;
}

Ref image(double start, const std::string &bytes) {
  Ref it = element(start, 1);
  set(*it, "Autag2ChapterElementImage", make_data(tags::Bytes(bytes.begin(), bytes.end())));
  return it;
}

Ref link(double start, const std::string &url) {
  Ref it = element(start, 1);
  set(*it, "Autag2ChapterElementURL", make_string(url));
  return it;
}

Ref titled_link(double start, const std::string &url, const std::string &title) {
  Ref it = link(start, url);
  set(*it, "Autag2ChapterElementTitle", make_string(title));
  return it;
}

Ref with_track(const char *key, Ref array, Ref chapters = make_dictionary()) {
  set(*chapters, key, std::move(array));
  return chapters;
}

Ref contents(Ref array) {
  return with_track("Autag2ChapterTOCTrack", std::move(array));
}

std::string built(const audict *chapters) {
  const Ref data(autag2_chapter_create(chapters, AUTAG2_MP3));
  return bytes_of(data.get());
}

std::string built(Ref chapters) {
  return built(chapters.get());
}

// A chapter as it is built: with zeros for its offsets.
std::string chap(const std::string &name, std::uint32_t start, std::uint32_t end, const std::string &frames = "") {
  return id3_frame(3, "CHAP", name + '\0' + be32(start) + be32(end) + std::string(8, '\0') + frames);
}

std::string title(const std::string &latin1) {
  return id3_frame(3, "TIT2", '\0' + latin1);
}

constexpr std::uint8_t kTopAndOrdered = 3;

TEST(ChapterBuild, WritesATableOfContentsAndAFrameAChapter) {
  EXPECT_EQ(built(contents(array_of(chapter(0, 1.5, "One"), chapter(1.5, 2, "Two")))),
            ctoc_frame(3, kTopAndOrdered, {"ch0", "ch1"}) + chap("ch0", 0, 1500, title("One")) +
                chap("ch1", 1500, 3500, title("Two")));
}

TEST(ChapterBuild, OfNoTableIsNull) {
  EXPECT_EQ(autag2_chapter_create(nullptr, AUTAG2_MP3), nullptr);
  EXPECT_EQ(autag2_chapter_create(make_dictionary().get(), AUTAG2_MP3), nullptr);
  EXPECT_EQ(autag2_chapter_create(with_track("Autag2ChapterImageTrack", array_of(image(0, "1234"))).get(), AUTAG2_MP3),
            nullptr);
}

TEST(ChapterBuild, WithoutAUsableChapterCounts0WhichAReaderRefuses) {
  const std::string none = ctoc_frame(3, kTopAndOrdered, {});
  EXPECT_EQ(built(contents(make_array())), none);
  EXPECT_EQ(built(contents(array_of(make_dictionary()))), none);
  EXPECT_EQ(read_chapters(id3_tag(3, none)).error, AUTAG2_EPRS);
}

TEST(ChapterBuild, EndsAtAnElementWithoutAStart) {
  EXPECT_EQ(built(contents(array_of(chapter(0, 1, "One"), make_dictionary(), chapter(1, 1, "Two")))),
            ctoc_frame(3, kTopAndOrdered, {"ch0"}) + chap("ch0", 0, 1000, title("One")));
  EXPECT_EQ(built(contents(array_of(chapter(0, 1, "One"), make_string("x"), chapter(1, 1, "Two")))),
            ctoc_frame(3, kTopAndOrdered, {"ch0"}) + chap("ch0", 0, 1000, title("One")));
}

TEST(ChapterBuild, ListsAChapterWithoutADurationAndWritesNoFrameForIt) {
  EXPECT_EQ(built(contents(array_of(chapter(0, 1, "One"), start_of(1), chapter(2, 1, "Three")))),
            ctoc_frame(3, kTopAndOrdered, {"ch0", "ch1", "ch2"}) + chap("ch0", 0, 1000, title("One")) +
                chap("ch2", 2000, 3000, title("Three")));
}

TEST(ChapterBuild, CutsTheFractionOfTheSumOnce) {
  // 1.0009 and 0.0009 cut each give 1000 and 0.
  EXPECT_EQ(built(contents(array_of(element(1.0009, 0.0009)))),
            ctoc_frame(3, kTopAndOrdered, {"ch0"}) + chap("ch0", 1000, 1001));
}

TEST(ChapterBuild, KeepsTimesWithinWhatTheFrameHolds) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const std::string table = ctoc_frame(3, kTopAndOrdered, {"ch0"});
  EXPECT_EQ(built(contents(array_of(element(-2, 1)))), table + chap("ch0", 0, 0));
  EXPECT_EQ(built(contents(array_of(element(5e6, 1e300)))), table + chap("ch0", 0xFFFFFFFF, 0xFFFFFFFF));
  EXPECT_EQ(built(contents(array_of(element(nan, 1)))), table + chap("ch0", 0, 0));
}

TEST(ChapterBuild, Of300ChaptersWrites255) {
  Ref all = make_array();
  for (int i = 0; i < 300; ++i) append(*all, chapter(i, 1, "title"));
  const std::string bytes = built(contents(std::move(all)));
  EXPECT_EQ(bytes.substr(10, 6), "TOC\0\3\xFF"s);
  const auto chapters = read_chapters(id3_tag(3, bytes));
  EXPECT_EQ(chapters.error, 0);
  EXPECT_EQ(audict_count(audict_get(chapters.dict.get(), "Autag2ChapterTOCTrack")), 255u);
  EXPECT_EQ(bytes.find("ch255"), std::string::npos);
}

TEST(ChapterBuild, PairsPicturesAndLinksByTheirPlace) {
  const Ref chapters = contents(array_of(element(0, 1), element(1, 1), element(2, 1)));
  set(*chapters, "Autag2ChapterImageTrack", array_of(image(2, "GIF8 picture")));
  set(*chapters, "Autag2ChapterHRefTrack", array_of(link(7, "u:0"), link(9, "u:1")));
  const std::string picture = id3_frame(3, "APIC", "\0image/gif\0\0\0GIF8 picture"s);
  EXPECT_EQ(built(chapters.get()), ctoc_frame(3, kTopAndOrdered, {"ch0", "ch1", "ch2"}) +
                                       chap("ch0", 0, 1000, id3_frame(3, "WXXX", "\0\0u:0"s) + picture) +
                                       chap("ch1", 1000, 2000, id3_frame(3, "WXXX", "\0\0u:1"s)) +
                                       chap("ch2", 2000, 3000));
}

TEST(ChapterBuild, WritesALinkWithItsTitle) {
  const auto wxxx = [](Ref linked) {
    const Ref chapters = contents(array_of(element(0, 1)));
    set(*chapters, "Autag2ChapterHRefTrack", array_of(std::move(linked)));
    const std::string bytes = built(chapters.get());
    return bytes.substr(bytes.find("CHAP") + 10 + 4 + 16);
  };
  EXPECT_EQ(wxxx(titled_link(0, "u:x", "Caf\u00E9")), id3_frame(3, "WXXX", "\0Caf\xE9\0u:x"s));
  EXPECT_EQ(wxxx(titled_link(0, "u:x", "Ž")), id3_frame(3, "WXXX", "\3\xC5\xBD\0u:x"s)) << "UTF-8, also in version 2.3";
  EXPECT_EQ(wxxx(titled_link(0, "u:x", "")), id3_frame(3, "WXXX", "\0\0u:x"s));
  EXPECT_EQ(wxxx(link(0, "u:\u00E9Ž")), id3_frame(3, "WXXX", "\0\0u:\xE9?"s)) << "an address beyond Latin-1";
  EXPECT_EQ(wxxx(titled_link(0, "", "title")), "") << "no address, no link";
  EXPECT_EQ(wxxx(element(0, 1)), "");
}

TEST(ChapterBuild, CutsLongTexts) {
  const std::string table = ctoc_frame(3, kTopAndOrdered, {"ch0"});
  const std::string most(4096, 't');
  const std::string more = most + "more";
  EXPECT_EQ(built(contents(array_of(chapter(0, 1, more)))), table + chap("ch0", 0, 1000, title(most)));
  const Ref chapters = contents(array_of(element(0, 1)));
  set(*chapters, "Autag2ChapterHRefTrack", array_of(titled_link(0, more, more)));
  EXPECT_EQ(built(chapters.get()), table + chap("ch0", 0, 1000, id3_frame(3, "WXXX", '\0' + most + '\0' + most)));
}

std::string picture_of(const std::string &file) {
  const Ref chapters = contents(array_of(element(0, 1)));
  set(*chapters, "Autag2ChapterImageTrack", array_of(image(0, file)));
  const auto read = read_chapters(id3_tag(3, built(chapters.get())));
  EXPECT_EQ(read.error, 0);
  const audict *images = audict_get(read.dict.get(), "Autag2ChapterImageTrack");
  return shown(audict_get(audict_at(images, 0), "Autag2ChapterElementImage"));
}

std::string as_string(const std::vector<std::uint8_t> &bytes) {
  return {bytes.begin(), bytes.end()};
}

TEST(ChapterPicture, BecomesAJpegWhenItIsAPng) {
  const std::string made = picture_of(as_string(png_file(40, 30)));
  const std::vector<std::uint8_t> bytes(made.begin(), made.end());
  EXPECT_EQ(platform::image_format(bytes), platform::ImageFormat::jpeg);
  const auto bitmap = platform::decode_image(bytes);
  ASSERT_TRUE(bitmap);
  EXPECT_EQ(bitmap->width, 40u);
  EXPECT_EQ(bitmap->height, 30u);
  EXPECT_NEAR(bitmap->rgb[3 * 20], 127, 20) << "red in the middle of the top row";
}

TEST(ChapterPicture, StaysAsItIsWhenItIsNoPngThatDecodes) {
  const std::string jpeg = as_string(jpeg_file(40, 30));
  const std::string broken = as_string(png_file(40, 30)).substr(0, 60);
  EXPECT_EQ(picture_of(jpeg), jpeg);
  EXPECT_EQ(picture_of(broken), broken);
  EXPECT_EQ(picture_of("GIF89a and so on and on"), "GIF89a and so on and on");
}

TEST(ChapterPicture, OfATagStaysAPng) {
  const std::string png = as_string(png_file(40, 30));
  const Ref tag = make_dictionary();
  set(*tag, "AlbumCover", make_data(tags::Bytes(png.begin(), png.end())));
  const TagFile file(silent_mp3(5));
  EXPECT_EQ(file.write(tag.get()), 0);
  EXPECT_EQ(file.read()["AlbumCover"], png);
}

TEST(ChapterBuild, LeavesNothingBehindWhenMemoryRunsOut) {
  const Ref chapters = contents(array_of(chapter(0, 1, "Ž"), chapter(1, 1, "Two")));
  set(*chapters, "Autag2ChapterHRefTrack", array_of(titled_link(0, "http://a.b", "Ž")));
  set(*chapters, "Autag2ChapterImageTrack", array_of(image(0, "GIF89a and so on")));
  EXPECT_GT(fail_each_allocation([&] { return Ref(autag2_chapter_create(chapters.get(), AUTAG2_MP3)) != nullptr; }), 5);
}

TEST(Chapters, ReadBackAsTheyWereBuilt) {
  const Ref chapters = contents(array_of(chapter(0, 1.25, "One"), chapter(1.25, 2, "Žlutý"), chapter(3.25, 0.5, "")));
  set(*chapters, "Autag2ChapterImageTrack",
      array_of(image(0, "GIF89a, twenty bytes."), image(1.25, ""), image(3.25, "")));
  set(*chapters, "Autag2ChapterHRefTrack",
      array_of(titled_link(0, "http://a.b/c", "Link"), link(1.25, ""), link(3.25, "http://d.e")));
  const auto read = read_chapters(id3_tag(3, built(chapters.get())));
  EXPECT_EQ(read.error, 0);
  const audict *table = audict_get(read.dict.get(), "Autag2ChapterTOCTrack");
  EXPECT_TRUE(audict_equal(table, audict_get(chapters.get(), "Autag2ChapterTOCTrack")));
  const auto value = [&](const char *track, std::size_t index, const char *key) {
    return shown(audict_get(audict_at(audict_get(read.dict.get(), track), index), key));
  };
  EXPECT_EQ(value("Autag2ChapterImageTrack", 0, "Autag2ChapterElementImage"), "GIF89a, twenty bytes.");
  EXPECT_EQ(value("Autag2ChapterImageTrack", 1, "Autag2ChapterElementImage"), "");
  EXPECT_EQ(value("Autag2ChapterHRefTrack", 0, "Autag2ChapterElementURL"), "http://a.b/c");
  EXPECT_EQ(value("Autag2ChapterHRefTrack", 0, "Autag2ChapterElementTitle"), "Link");
  EXPECT_EQ(value("Autag2ChapterHRefTrack", 1, "Autag2ChapterElementURL"), "");
  EXPECT_EQ(value("Autag2ChapterHRefTrack", 2, "Autag2ChapterElementURL"), "http://d.e");
}

}  // namespace
}  // namespace auspool::tags
