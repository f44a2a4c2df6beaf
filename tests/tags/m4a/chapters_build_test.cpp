// Tracks of chapters, byte by byte.
#include <gtest/gtest.h>

#include <ctime>
#include <limits>

#include "auspool/autag2.h"
#include "support/atoms.h"
#include "support/m4a_tags.h"
#include "support/pictures.h"
#include "support/tag_file.h"
#include "support/watch.h"
#include "tags/m4a/chapters.h"

namespace auspool::tags {
namespace {

using namespace auspool::testing;
using testing::Atom;

Ref element(double start, double duration) {
  Ref it = make_dictionary();
  set(*it, "Autag2ChapterElementStartTime", make_float(start));
  set(*it, "Autag2ChapterElementDuration", make_float(duration));
  return it;
}
Ref chapter(double start, double duration, const char *title) {
  Ref it = element(start, duration);
  set(*it, "Autag2ChapterElementTitle", make_string(title));
  return it;
}
Ref link(double start, double duration, const char *url) {
  Ref it = element(start, duration);
  set(*it, "Autag2ChapterElementURL", make_string(url));
  return it;
}
Ref image(double start, double duration, const testing::Bytes &picture) {
  Ref it = element(start, duration);
  set(*it, "Autag2ChapterElementImage", make_data(picture));
  return it;
}

template <typename... Elements>
Ref array_of(Elements... elements) {
  Ref array = make_array();
  (append(*array, std::move(elements)), ...);
  return array;
}

std::string built(const Ref &chapters) {
  const Ref data(autag2_chapter_create(chapters.get(), AUTAG2_M4A));
  return data ? bytes_of(data.get()) : "null";
}

class BuiltTracks : public ::testing::Test {
protected:
  void contents(Ref array) { set(*chapters, "Autag2ChapterTOCTrack", std::move(array)); }
  void images(Ref array) { set(*chapters, "Autag2ChapterImageTrack", std::move(array)); }
  void links(Ref array) { set(*chapters, "Autag2ChapterHRefTrack", std::move(array)); }

  std::vector<Atom> atoms() const { return atoms_in(built(chapters)); }
  std::string types() const { return types_in(built(chapters)); }

  // The n-th atom with the words of its times taken out, which are those of the clock.
  std::string without_times(std::size_t n) const {
    std::string bytes = atoms().at(n).bytes;
    for (const std::size_t at : {20u, 24u, 144u, 148u}) bytes.replace(at, 4, "time");
    return bytes;
  }

  Ref chapters = make_dictionary();
};

const std::string kTimes = "timetime";

std::string tables(std::initializer_list<std::uint32_t> durations, std::initializer_list<std::uint32_t> sizes,
                   std::uint32_t offset) {
  const auto count = static_cast<std::uint32_t>(sizes.size());
  std::string times;
  for (const std::uint32_t duration : durations) times += words({1, duration});
  return atom("stts", words({0, count}) + times) + atom("stsz", words({0, 0, count}) + words(sizes)) +
         atom("stsc", words({0, 1, 1, count, 1})) + atom("stco", words({0, 1, offset}));
}

std::string media_header(std::uint32_t duration) {
  return atom("mdhd", be32(0) + kTimes + words({1000, duration, 0}));
}

std::string data_reference() {
  return atom("dinf", atom("dref", words({0, 1}) + atom("url ", be32(1))));
}

std::string text_media(std::uint32_t duration, const std::string &tables) {
  const std::string description = atom("tx3g",
                                       words({0, 1, 0, 0x01FF0000, 0, 0, 0, 1, 0, 0x00FF0000}) +
                                           atom("ftab", be16(1) + be16(1) + "\x05" + "Serif").substr(2),
                                       64);
  const std::string media =
      atom("gmhd", atom("gmin", words({0, 0x00408000, 0x80008000, 0})) +
                       atom("text", words({0x00010000, 0, 0, 0, 0x00010000, 0, 0, 0, 0x40000000})));
  return atom(
      "mdia",
      media_header(duration) + atom("hdlr", be32(0) + "mhlr" + "text" + "app2" + words({1, 0x0001011D, 0})) +
          atom("minf", media + data_reference() + atom("stbl", atom("stsd", words({0, 1}) + description) + tables)));
}

std::string load() {
  return atom("load", words({0, 0xFFFFFFFF, 1, 0}));
}

TEST_F(BuiltTracks, TableOfContentsIsAHiddenTextTrack) {
  contents(array_of(chapter(0, 1.5, "One"), chapter(1.5, 2, "Three")));
  const std::string header =
      atom("tkhd", be32(0) + kTimes + words({2, 0, 3500, 0, 0, 0, 0}) + std::string(36, '\0') + words({0, 0}));
  ASSERT_EQ(types(), "trak mdat");
  EXPECT_EQ(without_times(0), atom("trak", header + load() + text_media(3500, tables({1500, 2000}, {5, 7}, 0))));
  EXPECT_EQ(atoms()[1].bytes, atom("mdat", text_sample("One") + text_sample("Three")));
}

const std::string kShownMatrix = words({0x00010000, 0, 0, 0, 0x00010000, 0, 0, 0, 0x40000000});
constexpr std::uint32_t kSide = 160 << 16;

TEST_F(BuiltTracks, LinksAreAShownTextTrack) {
  links(array_of(link(0, 2, "u")));
  const std::string header =
      atom("tkhd", be32(1) + kTimes + words({2, 0, 2000, 0, 0, 0, 0}) + kShownMatrix + words({kSide, kSide}));
  EXPECT_EQ(without_times(0), atom("trak", header + load() + text_media(2000, tables({2000}, {18}, 0))));
  EXPECT_EQ(atoms()[1].bytes, atom("mdat", text_sample("u", link_atom("u"))));
}

TEST_F(BuiltTracks, PicturesAreAVideoTrack) {
  const testing::Bytes jpeg = jpeg_file(140, 90);
  images(array_of(image(0, 2, jpeg)));
  const std::string header =
      atom("tkhd", be32(1) + kTimes + words({2, 0, 2000, 0, 0, 0x00010000, 0}) + kShownMatrix + words({kSide, kSide}));
  const std::string description =
      atom("jpeg", words({0, 1, 0}) + "appl" + words({0, 0x200}) + be16(140) + be16(90) +
                       words({0x00480000, 0x00480000, 0}) + be16(1) + "\x0CPhoto - JPEG" + std::string(19, '\0') +
                       be16(0x18) + be16(0xFFFF) + atom("fiel", std::string("\1\0", 2)));
  const std::string table = atom(
      "stbl", atom("stsd", words({0, 1}) + description) + tables({2000}, {static_cast<std::uint32_t>(jpeg.size())}, 0));
  const std::string media =
      atom("mdia", media_header(2000) +
                       atom("hdlr", be32(0) + "mhlr" + "vide" + "appl" + words({0x10000000, 0x0001011B, 0})) +
                       atom("minf", atom("vmhd", words({0, 0x00408000, 0x80008000})) + data_reference() + table));
  EXPECT_EQ(without_times(0), atom("trak", header + load() + media));
  EXPECT_EQ(atoms()[1].bytes.substr(8), std::string(jpeg.begin(), jpeg.end()));
}

TEST_F(BuiltTracks, RecordsHaveTheirBaseSizes) {
  contents(array_of(chapter(0, 1, "One")));
  images(array_of(image(0, 1, {})));
  EXPECT_EQ(atoms()[0].size(), 408u + 84 + 12);
  EXPECT_EQ(atoms()[1].size(), 384u + 84 + 12);
}

TEST_F(BuiltTracks, TimesCountFromTheirOwnEpoch) {
  contents(array_of(chapter(0, 1, "One")));
  const auto before = static_cast<std::uint32_t>(std::time(nullptr) + 2082859200);
  const Atom track = atoms()[0];
  for (const std::size_t at : {20u, 24u, 144u, 148u}) EXPECT_LE(track.word(at) - before, 10u);
}

TEST_F(BuiltTracks, ComeInTheirOrderWithTheirIdsAndOffsets) {
  links(array_of(link(0, 1, "u")));
  images(array_of(image(0, 1, jpeg_file(40, 40))));
  contents(array_of(chapter(0, 1, "One")));
  const auto all = atoms();
  ASSERT_EQ(types(), "trak trak trak mdat");
  const auto picture = static_cast<std::uint32_t>(jpeg_file(40, 40).size());
  const std::uint32_t offsets[] = {0, 5, 5 + picture};
  const char *const handlers[] = {"text", "vide", "text"};
  for (std::uint32_t i = 0; i < 3; ++i) {
    EXPECT_EQ(all[i].word(28), i + 2);
    EXPECT_EQ(all[i].text(180, 4), handlers[i]);
    EXPECT_EQ(all[i].word(all[i].size() - 4), offsets[i]);
  }
}

TEST_F(BuiltTracks, SamplesLastWhatTheyAreAloneAndGapsLengthenTheNext) {
  contents(array_of(chapter(0, 1, "a"), chapter(3, 2, "b"), chapter(4, 2, "c")));
  // The second begins two seconds late; the third overlaps it by one.
  const Atom track = atoms()[0];
  EXPECT_EQ(atom_at(track.bytes, "trak.mdia.minf.stbl.stts").bytes,
            atom("stts", words({0, 3, 1, 1000, 1, 4000, 1, 1000})));
  EXPECT_EQ(track.word(36), 6000u) << "the end of the last chapter";
  EXPECT_EQ(track.word(156), 6000u);
}

TEST_F(BuiltTracks, FractionsOfMillisecondsAreCutFromStartAndDurationEach) {
  contents(array_of(chapter(0, 1.001, "a"), chapter(1.0009, 0.0009, "b")));
  // In double precision 1.001 * 1000 is 1000.9999999999999.
  EXPECT_EQ(atom_at(atoms()[0].bytes, "trak.mdia.minf.stbl.stts").bytes, atom("stts", words({0, 2, 1, 1000, 1, 0})));
}

TEST_F(BuiltTracks, OverlapLongerThanAChapterDropsTheTrackAndKeepsItsSamples) {
  contents(array_of(chapter(0, 10, "One"), chapter(1, 2, "Two"), chapter(20, 1, "Three")));
  links(array_of(link(0, 1, "u")));
  const auto all = atoms();
  ASSERT_EQ(types(), "trak mdat");
  EXPECT_EQ(all[0].word(28), 2u) << "a dropped track takes no id";
  EXPECT_EQ(all[0].word(all[0].size() - 4), 5u) << "the sample in front counts";
  EXPECT_EQ(all[1].bytes, atom("mdat", text_sample("One") + text_sample("u", link_atom("u"))));
}

TEST_F(BuiltTracks, OnlySamplesOfADroppedTrackAreAnMdatAlone) {
  contents(array_of(chapter(0, 10, "One"), make_dictionary()));
  EXPECT_EQ(built(chapters), atom("mdat", text_sample("One")));
}

TEST_F(BuiltTracks, ElementWithoutItsTimesDropsTheTrack) {
  const auto without = [](const char *key) {
    Ref it = chapter(0, 1, "t");
    audict_remove(it.get(), key);
    return it;
  };
  for (const char *key : {"Autag2ChapterElementStartTime", "Autag2ChapterElementDuration"}) {
    contents(array_of(without(key)));
    EXPECT_EQ(built(chapters), "null") << key;
  }
  contents(array_of(make_string("no dictionary")));
  EXPECT_EQ(built(chapters), "null");
  images(array_of(make_string("no"), make_string("dictionaries")));
  EXPECT_EQ(built(chapters), "null");
  contents(array_of(chapter(0, 1, "One")));
  EXPECT_EQ(types(), "trak mdat") << "the other track is there";
}

TEST_F(BuiltTracks, TimesThatHaveNoPlaceInTheFileDropTheTrack) {
  for (const double bad : {1e300, std::numeric_limits<double>::quiet_NaN(), -5.0}) {
    contents(array_of(chapter(bad, 1, "t")));
    EXPECT_EQ(built(chapters), "null") << bad;
  }
}

TEST_F(BuiltTracks, NeighboursWithOnePictureAreOneSample) {
  const testing::Bytes jpeg = jpeg_file(140, 90);
  contents(array_of(chapter(0, 1, "a"), chapter(1, 2, "b")));
  images(array_of(image(0, 1, jpeg), image(1, 2, jpeg)));
  const auto all = atoms();
  EXPECT_EQ(atom_at(all[0].bytes, "trak.mdia.minf.stbl.stts").word(12), 2u);
  EXPECT_EQ(atom_at(all[1].bytes, "trak.mdia.minf.stbl.stts").bytes, atom("stts", words({0, 1, 1, 3000})));
}

TEST_F(BuiltTracks, OfNothingAreNull) {
  EXPECT_EQ(autag2_chapter_create(nullptr, AUTAG2_M4A), nullptr);
  EXPECT_EQ(built(chapters), "null");
  contents(make_array());
  EXPECT_EQ(built(chapters), "null");
}

TEST_F(BuiltTracks, LeaveNothingBehindWhenMemoryRunsOut) {
  contents(array_of(chapter(0, 1, "One"), chapter(1, 1, "Two")));
  images(array_of(image(0, 1, png_file(60, 40)), image(1, 1, jpeg_file(60, 40))));
  links(array_of(link(0, 2, "u")));
  const long before = live_allocations();
  EXPECT_GT(fail_each_allocation([&] { return Ref(autag2_chapter_create(chapters.get(), AUTAG2_M4A)) != nullptr; }),
            10);
  EXPECT_EQ(live_allocations(), before);
}

}  // namespace
}  // namespace auspool::tags
