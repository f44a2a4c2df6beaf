#include <gtest/gtest.h>

#include <cerrno>

#include "support/chunk_file.h"
#include "support/id3.h"
#include "support/tag_file.h"
#include "support/watch.h"

namespace auspool::testing {
namespace {

struct Case {
  const char *name;
  std::string chunks;
  std::string dictionary;
  std::int32_t error = 0;
};

class AiffRead : public ::testing::TestWithParam<Case> {};

TEST_P(AiffRead, Gives) {
  const ReadResult result = read_tag(aiff_file(GetParam().chunks));
  EXPECT_EQ(printed(result), GetParam().dictionary);
  EXPECT_EQ(result.error, GetParam().error);
}

const Case kCases[] = {
    {"AllTextChunks",
     aiff_chunk("NAME", "Night Train") + aiff_chunk("AUTH", "Lanterns") + aiff_chunk("ANNO", "live") +
         aiff_chunk("(c) ", "1952"),
     R"({"Title": "Night Train", "Artist": "Lanterns", "Comment": "live", "Year": 1952})"},
    {"NoChunks", "", "{}"},
    {"TheFirstOfAKindWins", aiff_chunk("NAME", "first") + aiff_chunk("NAME", "second"), R"({"Title": "first"})"},
    {"Id3ReplacesWhatTextChunksGave",
     aiff_chunk("NAME", "first") + aiff_chunk("NAME", "second") + aiff_chunk("ID3 ", id3_with("TIT2", "\0third"s)),
     R"({"Title": "third"})"},
    {"TextChunksDoNotReplaceWhatId3Gave",
     aiff_chunk("ID3 ", id3_with("TIT2", "\0third"s)) + aiff_chunk("NAME", "first"), R"({"Title": "third"})"},
    {"ABadId3TagIsNoError", aiff_chunk("ID3 ", id3_tag(3, "", 0x80)) + aiff_chunk("NAME", "x"), R"({"Title": "x"})"},
    {"AnEmptyTextHoldsItsPlace", aiff_chunk("NAME", "") + aiff_chunk("NAME", "late"), R"({"Title": ""})"},
    {"TextEndsAtANul", aiff_chunk("NAME", "one\0two"s), R"({"Title": "one"})"},
    {"TextIsMacRoman", aiff_chunk("NAME", "na\x95ve \xB9 \xDE"), R"({"Title": "naïve π ﬁ"})"},
    {"TextIsCutAt1024Bytes", aiff_chunk("NAME", std::string(1500, 'x')) + aiff_chunk("AUTH", "y"),
     R"({"Title": ")" + std::string(1024, 'x') + R"(", "Artist": "y"})"},
    {"OddChunksArePadded", aiff_chunk("NAME", "odd") + aiff_chunk("AUTH", "odder"),
     R"({"Title": "odd", "Artist": "odder"})"},
    {"TheYearIsDigitsAlone", aiff_chunk("(c) ", "1952 Lanterns"), "{}"},
    {"TheYearHasNoSign", aiff_chunk("(c) ", "-1952"), "{}"},
    {"TheYearHasNoPlus", aiff_chunk("(c) ", "+1952"), "{}"},
    {"TheYearHasNoSpaceBefore", aiff_chunk("(c) ", " 1952"), "{}"},
    {"TheYearEndsAtANul", aiff_chunk("(c) ", "1952\0xyz"s), R"({"Year": 1952})"},
    {"EightDigitsAreAYear", aiff_chunk("(c) ", "20210401"), R"({"Year": 20210401})"},
    {"OfMoreThanEightBytesTheFirstEightCount", aiff_chunk("(c) ", "20210401x"), R"({"Year": 20210401})"},
    {"ADashIsNoEndOfTheYear", aiff_chunk("(c) ", "2021-04"), "{}"},
    {"AYearOfZeroIsNone", aiff_chunk("(c) ", "0000"), "{}"},
    {"AnEmptyYearIsNone", aiff_chunk("(c) ", "") + aiff_chunk("(c) ", "1952"), R"({"Year": 1952})"},
    {"ANegativeChunkSizeEndsTheWalk", aiff_chunk("NAME", "x") + aiff_chunk("JUNK", "", -2) + aiff_chunk("AUTH", "y"),
     R"({"Title": "x"})", AUTAG2_EPRS},
    {"AChunkOfSize0IsValid", aiff_chunk("JUNK", "") + aiff_chunk("NAME", "x"), R"({"Title": "x"})"},
    {"AChunkBeyondTheFormEndsTheWalk", aiff_chunk("NAME", "x") + aiff_chunk("JUNK", "", 1 << 30), R"({"Title": "x"})"},
};

INSTANTIATE_TEST_SUITE_P(Files, AiffRead, ::testing::ValuesIn(kCases), [](const auto &it) { return it.param.name; });

TEST(AiffReadForm, TheYearIsA32BitNumber) {
  const ReadResult result = read_tag(aiff_file(aiff_chunk("(c) ", "1952")));
  EXPECT_EQ(audict_number_type_of(audict_get(result.dict.get(), "Year")), AUDICT_INT32);
}

TEST(AiffReadForm, TheFormTypeIsNotLookedAt) {
  std::string file = aiff_file(aiff_chunk("NAME", "x"));
  file.replace(8, 4, "ILBM");
  EXPECT_EQ(read_tag(file)["Title"], "x");
}

TEST(AiffReadForm, AFormSizeOfZeroOrLessIsMalformed) {
  for (const std::int64_t size : {0, -1, INT32_MIN}) {
    const ReadResult result = read_tag(aiff_file(aiff_chunk("NAME", "x"), size));
    EXPECT_EQ(result.dict, nullptr) << size;
    EXPECT_EQ(result.error, AUTAG2_EPRS) << size;
  }
}

TEST(AiffReadForm, ChunksBehindTheFormAreNotRead) {
  const ReadResult result = read_tag(aiff_file(aiff_chunk("NAME", "x")) + aiff_chunk("AUTH", "y"));
  EXPECT_EQ(printed(result), R"({"Title": "x"})");
}

TEST(AiffReadForm, AFileThatEndsBeforeItsFormGivesWhatWasThere) {
  const ReadResult result = read_tag(aiff_file(aiff_chunk("NAME", "x"), 1000));
  EXPECT_EQ(printed(result), R"({"Title": "x"})");
  EXPECT_EQ(result.error, EIO);
  const ReadResult cut = read_tag(aiff_file("NAME\0\0\0\x0Bnight"s, 100));
  EXPECT_EQ(printed(cut), R"({"Title": "night"})");
  EXPECT_EQ(cut.error, EIO);
}

TEST(AiffReadForm, AFileOfItsFirstBytesAloneIsAnError) {
  const ReadResult result = read_tag("FORM\0\0"s);
  EXPECT_EQ(result.dict, nullptr);
  EXPECT_EQ(result.error, EIO);
}

TEST(AiffReadForm, AFailedReadGivesWhatWasThere) {
  const std::string file =
      aiff_file(aiff_chunk("NAME", "x") + aiff_chunk("JUNK", std::string(10000, 'j')) + aiff_chunk("AUTH", "y"));
  EXPECT_TRUE(some_failed_read_gives(TagFile(file), R"({"Title": "x"})"));
}

TEST(AiffReadForm, NoMemoryGivesWhatWasThere) {
  const TagFile on_disk(aiff_file(aiff_chunk("NAME", "x") + aiff_chunk("AUTH", "y")));
  int partial = 0;
  for (int nth = 1;; ++nth) {
    const AllocationFailer failer(nth);
    const ReadResult result = on_disk.read();
    if (!failer.failed()) break;
    EXPECT_EQ(result.error, AUTAG2_EUNK) << nth;
    if (result["Title"] == "x") ++partial;
  }
  EXPECT_GT(partial, 0);
}

TEST(AiffReadForm, SizesThatTheFileHasNotAllocateNothing) {
  const TagFile on_disk(aiff_file(aiff_chunk("ID3 ", "ID3\3\0\0\x7F\x7F\x7F\x7F"s, 0x10000000), 0x7FFFFFFF));
  ASSERT_LE(on_disk.bytes().size(), 40u);
  EXPECT_LT(bytes_of_reading(on_disk), 4096);
}

}  // namespace
}  // namespace auspool::testing
