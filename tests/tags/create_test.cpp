// The bytes that the builders of AIFF, WAVE and CAF make.
#include <gtest/gtest.h>

#include <functional>

#include "support/chunk_file.h"
#include "support/id3.h"
#include "support/tag_file.h"
#include "support/watch.h"

namespace auspool::testing {
namespace {

using Fill = std::function<void(audict *)>;

std::string built(std::uint32_t format, const Fill &fill) {
  const Ref tag(audict_create());
  fill(tag.get());
  const Ref data(autag2_create(tag.get(), format));
  return data ? bytes_of(data.get()) : "null";
}

// What autag2_create gives for ID3 alone, which the chunks hold.
std::string id3_of(const Fill &fill) {
  return built(AUTAG2_MP3, fill);
}

std::string padded(const std::string &bytes) {
  return bytes.size() % 2 != 0 ? bytes + '\0' : bytes;
}

Fill text(const char *key, const std::string &value) {
  return [=](audict *tag) { audict_set_string(tag, key, value.c_str()); };
}

Fill number(const char *key, std::int64_t value) {
  return [=](audict *tag) { audict_set_integer(tag, key, value, AUDICT_INT64); };
}

Fill boolean(const char *key, bool value) {
  return [=](audict *tag) { audict_set_boolean(tag, key, value); };
}

Fill all_of(std::initializer_list<Fill> fills) {
  return [all = std::vector<Fill>(fills)](audict *tag) {
    for (const Fill &fill : all) fill(tag);
  };
}

const Fill kFull = all_of({text("Title", "Night Train"), text("Artist", "Lanterns"), text("Comment", "live"),
                           number("Year", 1952), text("Encoder", "auspool")});

std::string aiff(const Fill &fill) {
  return built(AUTAG2_AIFF, fill);
}
std::string wave(const Fill &fill) {
  return built(AUTAG2_WAVE, fill);
}
std::string caf(const Fill &fill) {
  return built(AUTAG2_CAF, fill);
}

std::vector<FoundChunk> aiff_found(const Fill &fill) {
  return aiff_chunks(aiff_file(aiff(fill)));
}

TEST(AiffCreate, TextChunksStandInTheirOrderBeforeId3) {
  const auto chunks = aiff_found(kFull);
  EXPECT_EQ(ids_of(chunks), "NAMEAUTHANNO(c) ID3 ");
  EXPECT_EQ(data_of(chunks, "(c) "), "1952");
  EXPECT_EQ(data_of(chunks, "ID3 "), padded(id3_of(kFull)));
}

TEST(AiffCreate, AnOddTextHasItsNulAsPadAndAnEvenOneHasNone) {
  EXPECT_EQ(aiff(text("Title", "odd")).substr(0, 12), "NAME\0\0\0\4odd\0"s);
  EXPECT_EQ(aiff(text("Title", "even")).substr(0, 16), "NAME\0\0\0\4evenID3 "s);
}

TEST(AiffCreate, TextIsMacRomanWithMarksForTheRest) {
  EXPECT_EQ(data_of(aiff_found(text("Title", "naïve 日本 π")), "NAME"), "na\x95ve ?? \xB9");
}

TEST(AiffCreate, TextIsCutAt1023Bytes) {
  EXPECT_EQ(data_of(aiff_found(text("Title", std::string(2000, 'x'))), "NAME"), std::string(1023, 'x') + '\0');
}

TEST(AiffCreate, EmptyTextsAndYearsOfZeroOrLessMakeNoChunk) {
  EXPECT_EQ(ids_of(aiff_found(text("Title", ""))), "ID3 ");
  EXPECT_EQ(ids_of(aiff_found(number("Year", 0))), "ID3 ");
  EXPECT_EQ(ids_of(aiff_found(number("Year", -1952))), "ID3 ");
  EXPECT_EQ(ids_of(aiff_found(number("Year", 1LL << 32))), "ID3 ") << "no year of 32 bits";
}

TEST(AiffCreate, ThePadOfAnOddId3TagBelongsToItsChunk) {
  for (const char *title : {"odd", "even"}) {
    const std::string id3 = id3_of(text("Title", title));
    const std::string size = be32(static_cast<std::uint32_t>(padded(id3).size()));
    EXPECT_EQ(aiff(text("Title", title)).substr(12), "ID3 " + size + padded(id3)) << title;
  }
}

TEST(AiffCreate, Id3IsLeftOutWhenItWouldSayNothingMore) {
  EXPECT_EQ(aiff([](audict *) {}), "");
  EXPECT_EQ(aiff(text("Encoder", "x")), "");
  EXPECT_EQ(aiff(boolean("Compilation", false)), "");
  EXPECT_EQ(aiff(all_of({text("Encoder", "x"), boolean("Compilation", false)})), "");
}

TEST(AiffCreate, Id3IsThereForAnyOtherKey) {
  const Fill with[] = {
      boolean("Compilation", true),
      all_of({text("Encoder", "x"), boolean("Compilation", true)}),
      number("Compilation", 0),  // no boolean, so not a false one
      all_of({text("Encoder", "x"), number("iTunesStik", 1)}),
      text("a key of the host's own", "x"),
      all_of({boolean("Compilation", false), text("Album", "x")}),
  };
  for (const Fill &fill : with) EXPECT_EQ(ids_of(aiff_found(fill)), "ID3 ");
}

TEST(WaveCreate, TheListStandsBeforeId3) {
  const auto chunks = wave_chunks(wave_file(wave(kFull)));
  EXPECT_EQ(ids_of(chunks), "LISTid3 ");
  const std::string list = data_of(chunks, "LIST");
  EXPECT_EQ(list.substr(0, 4), "INFO");
  const auto texts = wave_chunks(wave_file(list.substr(4)));
  EXPECT_EQ(ids_of(texts), "INAMIARTICMTISFTICRD");
  EXPECT_EQ(data_of(texts, "ISFT"), "auspool\0"s);
  EXPECT_EQ(data_of(chunks, "id3 "), padded(id3_of(kFull)));
}

TEST(WaveCreate, ATextAlwaysEndsInNul) {
  EXPECT_EQ(wave(text("Title", "odd")).substr(12, 12), "INAM\4\0\0\0odd\0"s);
  EXPECT_EQ(wave(text("Title", "even")).substr(12, 14), "INAM\6\0\0\0even\0\0"s);
}

TEST(WaveCreate, ADateHasAMonthAndDayOfZero) {
  const std::string list = wave(number("Year", 1952));
  EXPECT_EQ(list.substr(0, 32),
            "LIST\x18\0\0\0INFOICRD\x0C\0\0\0"
            "1952-00-00\0\0"s);
}

TEST(WaveCreate, AnEmptyTagIsAnEmptyListAndAnEmptyId3Tag) {
  EXPECT_EQ(wave([](audict *) {}), "LIST\4\0\0\0INFOid3 \x0A\0\0\0ID3\3\0\0\0\0\0\0"s);
}

TEST(WaveCreate, TheEncoderAloneStandsInBoth) {
  const auto chunks = wave_chunks(wave_file(wave(text("Encoder", "auspool"))));
  EXPECT_NE(data_of(chunks, "LIST").find("ISFT"), std::string::npos);
  EXPECT_NE(data_of(chunks, "id3 ").find("TENC"), std::string::npos);
}

TEST(WaveCreate, TextIsWindowsLatin1WithMarksForTheRest) {
  const std::string bytes = wave(text("Title", "€ “x” 日本"));
  EXPECT_EQ(bytes.substr(20, 8), "\x80 \x93x\x94 ??");
}

TEST(WaveCreate, TextIsCutAt1023Bytes) {
  const std::string bytes = wave(text("Title", std::string(2000, 'x')));
  EXPECT_EQ(bytes.substr(12, 8), "INAM\0\4\0\0"s);
  EXPECT_EQ(bytes.substr(20, 1025), std::string(1023, 'x') + "\0i"s);
}

TEST(CafCreate, EntriesStandInTheOrderOfTheirTable) {
  const Fill fill = all_of({kFull, text("Album", "Barn"), text("Composer", "Forrest"), text("Genre", "Jazz"),
                            number("TrackNum", 3), number("BPM", 120), text("Lyrics", "only in ID3")});
  const std::string info = caf_info({{"title", "Night Train"},
                                     {"artist", "Lanterns"},
                                     {"album", "Barn"},
                                     {"composer", "Forrest"},
                                     {"genre", "Jazz"},
                                     {"track number", "3"},
                                     {"year", "1952"},
                                     {"comments", "live"},
                                     {"encoding application", "auspool"},
                                     {"tempo", "120"}});
  EXPECT_EQ(caf(fill), info + caf_chunk("id3 ", id3_of(fill)));
}

TEST(CafCreate, WithoutEntriesThereIsNoInfoChunk) {
  const Fill fill = all_of({number("TrackNum", 0), number("Year", -1), text("Title", ""), number("Artist", 3)});
  EXPECT_EQ(caf(fill), caf_chunk("id3 ", id3_of(fill)));
}

TEST(CafCreate, TheId3ChunkHasNoPad) {
  const std::string odd = id3_of(text("Title", "even"));
  ASSERT_EQ(odd.size() % 2, 1u);
  EXPECT_EQ(caf(text("Title", "even")), caf_info({{"title", "even"}}) + caf_chunk("id3 ", odd));
}

TEST(CafCreate, ALongTextIsCutBehindAWholeCharacter) {
  std::string text_of_many;
  for (int i = 0; i < 1000; ++i) text_of_many += "é";
  const std::string bytes = caf(text("Title", text_of_many));
  EXPECT_EQ(bytes.substr(0, bytes.find("id3 ")), caf_info({{"title", text_of_many.substr(0, 1022)}}));
}

TEST(CreateOfChunks, ANullTagGivesNothing) {
  for (const std::uint32_t format : {AUTAG2_AIFF, AUTAG2_WAVE, AUTAG2_CAF}) {
    EXPECT_EQ(autag2_create(nullptr, format), nullptr) << format;
  }
}

TEST(CreateOfChunks, ValuesOfAnotherKindAreLeftOut) {
  const Fill fill = all_of({number("Title", 3), text("Year", "1952"), boolean("Artist", true)});
  EXPECT_EQ(ids_of(aiff_found(fill)), "ID3 ");
  EXPECT_EQ(wave(fill).substr(0, 16), "LIST\4\0\0\0INFOid3 "s);
}

TEST(CreateOfChunks, FailedAllocationsGiveNullAndLeaveNothing) {
  const Ref tag(audict_create());
  kFull(tag.get());
  audict_set_string(tag.get(), "Composer", "Željko π 日本");
  for (const std::uint32_t format : {AUTAG2_AIFF, AUTAG2_WAVE, AUTAG2_CAF}) {
    const int failed = fail_each_allocation([&] { return Ref(autag2_create(tag.get(), format)) != nullptr; });
    EXPECT_GT(failed, 3) << format;
  }
}

}  // namespace
}  // namespace auspool::testing
