#include <gtest/gtest.h>

#include "support/m4a_tags.h"
#include "support/tag_file.h"

using namespace auspool::testing;

namespace {

ReadResult read_items(const std::string &items) {
  return read_tag(tagged_m4a(items));
}

TEST(M4aRead, FindsTheTextsOfEveryKey) {
  const ReadResult tag = read_items(text_item("\xA9nam", "Night Train") +
                                    text_item("\xA9"
                                              "ART",
                                              "Oscar") +
                                    text_item("aART", "Trio") +
                                    text_item("\xA9"
                                              "alb",
                                              "An Album") +
                                    text_item("\xA9gen", "Jazz") + text_item("\xA9too", "coder") +
                                    text_item("\xA9grp", "set") + text_item("\xA9wrt", "Duke") +
                                    text_item("\xA9"
                                              "cmt",
                                              "note") +
                                    text_item("\xA9lyr", "la") + text_item("tsse", "-q 5"));
  EXPECT_EQ(tag.error, 0);
  EXPECT_EQ(tag["Title"], "Night Train");
  EXPECT_EQ(tag["Artist"], "Oscar");
  EXPECT_EQ(tag["Sidekick"], "Trio");
  EXPECT_EQ(tag["Album"], "An Album");
  EXPECT_EQ(tag["Genre"], "Jazz");
  EXPECT_EQ(tag["Encoder"], "coder");
  EXPECT_EQ(tag["Grouping"], "set");
  EXPECT_EQ(tag["Composer"], "Duke");
  EXPECT_EQ(tag["Comment"], "note");
  EXPECT_EQ(tag["Lyrics"], "la");
  EXPECT_EQ(tag["EncoderSettings"], "-q 5");
}

TEST(M4aRead, FirstItemOfAKindWins) {
  EXPECT_EQ(read_items(text_item("\xA9nam", "one") + text_item("\xA9nam", "two"))["Title"], "one");
}

TEST(M4aRead, TextsHaveTheirTypeAndEndWithANul) {
  EXPECT_EQ(read_items(item("\xA9nam", 2, "utf-16"))["Title"], "none");
  EXPECT_EQ(read_items(text_item("\xA9nam", std::string("a\0b", 3)))["Title"], "a");
  EXPECT_EQ(read_items(text_item("\xA9nam", "\xFF"))["Title"], "none");
}

TEST(M4aRead, YearStandsAtEitherEndOfADate) {
  const auto year = [](const std::string &text) {
    return read_items(
        text_item("\xA9"
                  "day",
                  text))["Year"];
  };
  EXPECT_EQ(year("2005-08-12T07:00:00Z"), "2005");
  EXPECT_EQ(year("12/08/2005"), "2005");
  EXPECT_EQ(year("2020"), "2020");
  EXPECT_EQ(year("1"), "1");
  EXPECT_EQ(year("year"), "none");
  EXPECT_EQ(year("0"), "none");
}

TEST(M4aRead, GenreNumbersCountFromOne) {
  EXPECT_EQ(read_items(item("gnre", 0, be16(18)))["Genre"], "Rock");
  EXPECT_EQ(read_items(item("gnre", 0, be16(0)))["Genre"], "none");
  EXPECT_EQ(read_items(item("gnre", 0, be16(60000)))["Genre"], "none");
  EXPECT_EQ(read_items(item("gnre", 0, "\1"))["Genre"], "none");
}

TEST(M4aRead, CoverIsThePayloadOfTheFirstData) {
  const std::string two = atom("covr", data_atom(13, "first") + data_atom(13, "second"));
  EXPECT_EQ(read_items(two)["AlbumCover"], "first");
  EXPECT_EQ(read_items(item("covr", 13, ""))["AlbumCover"], "none");
}

TEST(M4aRead, CompilationIsAnyByteButZeroAndItsDigit) {
  EXPECT_EQ(read_items(item("cpil", 21, "\1"))["Compilation"], "true");
  EXPECT_EQ(read_items(item("cpil", 21, "1"))["Compilation"], "true");
  EXPECT_EQ(read_items(item("cpil", 21, std::string(1, '\0')))["Compilation"], "none");
  EXPECT_EQ(read_items(item("cpil", 21, "0"))["Compilation"], "none");
}

TEST(M4aRead, TempoAndMediaKindAreAboveZero) {
  EXPECT_EQ(read_items(item("tmpo", 21, be16(120)))["BPM"], "120");
  EXPECT_EQ(read_items(item("tmpo", 21, be16(0xFFFF)))["BPM"], "none");
  EXPECT_EQ(read_items(item("stik", 21, "\2"))["iTunesStik"], "2");
  EXPECT_EQ(read_items(item("stik", 21, "\xFF"))["iTunesStik"], "none");
}

TEST(M4aRead, TotalIsTakenUnlessItIsBelowTheNumber) {
  const auto track = [](std::uint32_t number, std::uint32_t total) {
    const ReadResult tag = read_items(item("trkn", 0, be16(0) + be16(number) + be16(total) + be16(0)));
    return tag["TrackNum"] + "/" + tag["TrackTotal"];
  };
  EXPECT_EQ(track(3, 12), "3/12");
  EXPECT_EQ(track(3, 2), "3/none");
  EXPECT_EQ(track(3, 0), "3/none");
  EXPECT_EQ(track(0, 5), "none/5");
  EXPECT_EQ(read_items(item("trkn", 0, be16(0) + be16(7)))["TrackNum"], "7") << "no total at all";
  const ReadResult disc = read_items(item("disk", 0, be16(0) + be16(1) + be16(2)));
  EXPECT_EQ(disc["DiscNum"] + "/" + disc["DiscTotal"], "1/2");
}

TEST(M4aRead, GaplessNumbersAreHexadecimal) {
  const ReadResult tag =
      read_items(freeform("iTunSMPB", " 00000000 00000840 000001CA 00000000003F31F6 00000000 00000000"));
  const audict *const info = audict_get(tag.dict.get(), "Autag2GaplessInfo");
  std::int64_t delay = 0, padding = 0, samples = 0;
  EXPECT_TRUE(audict_get_integer(info, "Autag2GaplessEncoderDelay", &delay));
  EXPECT_TRUE(audict_get_integer(info, "Autag2GaplessPadding", &padding));
  EXPECT_TRUE(audict_get_integer(info, "Autag2GaplessTrueSampleCount", &samples));
  EXPECT_EQ(delay, 0x840);
  EXPECT_EQ(padding, 0x1CA);
  EXPECT_EQ(samples, 0x3F31F6);
  EXPECT_EQ(audict_number_type_of(audict_get(info, "Autag2GaplessTrueSampleCount")), AUDICT_INT64);
}

TEST(M4aRead, OtherFreeformItemsSayNothing) {
  EXPECT_EQ(printed(read_items(freeform("iTunNORM", " 00000000 00000840 000001CA 00000000003F31F6"))),
            printed(read_items("")));
  EXPECT_EQ(read_items(freeform("iTunSMPB", " 0 1 2 3"))["Autag2GaplessInfo"], "none") << "too short to be one";
  EXPECT_EQ(read_items(freeform("iTunSMPB", " 00000000 0000 nothing hexadecimal at all"))["Autag2GaplessInfo"], "none");
}

TEST(M4aRead, ItemsThatAreTooSmallEndTheWalk) {
  const ReadResult tag = read_items(text_item("\xA9nam", "one") + atom("free", "", 4) +
                                    text_item("\xA9"
                                              "ART",
                                              "two"));
  EXPECT_EQ(tag.error, 0);
  EXPECT_EQ(tag["Title"], "one");
  EXPECT_EQ(tag["Artist"], "none");
}

TEST(M4aRead, FileWithoutTagsIsNoError) {
  const ReadResult tag = read_tag(m4a_file(atom("trak", "x")));
  EXPECT_EQ(tag.error, 0);
  EXPECT_EQ(audict_count(tag.dict.get()), 0u);
}

TEST(M4aRead, MovieTakesItsTitleFromItsName) {
  const std::string track = atom("trak", atom("mdia", atom("minf", atom("vmhd", "x"))));
  EXPECT_EQ(read_tag(m4a_file(track))["Title"], "file");
  EXPECT_EQ(read_tag(m4a_file(atom("trak", "x") + track))["Title"], "file") << "the second track";
  EXPECT_EQ(read_tag(m4a_file(track + udta(text_item("\xA9nam", "own"))))["Title"], "own");
}

TEST(M4aRead, SizesBeyondTheFileAllocateNothing) {
  const TagFile file(tagged_m4a(atom("covr", atom("data", words({13, 0}) + "x", 0x7FFFFFF0), 0x7FFFFFFF)));
  EXPECT_EQ(file.read()["AlbumCover"], "none");
  EXPECT_LT(bytes_of_reading(file), 100000);
}

}  // namespace
