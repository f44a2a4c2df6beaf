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
  std::string file;
  std::string dictionary;
  std::int32_t error = 0;
};

class WaveRead : public ::testing::TestWithParam<Case> {};

TEST_P(WaveRead, Gives) {
  const ReadResult result = read_tag(GetParam().file);
  EXPECT_EQ(printed(result), GetParam().dictionary);
  EXPECT_EQ(result.error, GetParam().error);
}

const std::string kTitle = wave_chunk("INAM", "Night Train");
const std::string kId3 = wave_chunk("id3 ", id3_with("TIT2", "\0from ID3"s));
// The first pass does not look at the last 12 bytes of a file.
const std::string kEnd = wave_chunk("JUNK", "....");

std::string with_date(const std::string &date) {
  return wave_file(info_list(wave_chunk("ICRD", date)) + kEnd);
}

const Case kCases[] = {
    {"AllTextChunks",
     wave_file(info_list(kTitle + wave_chunk("IART", "Lanterns") + wave_chunk("ICMT", "live") +
                         wave_chunk("ISFT", "auspool") + wave_chunk("ICRD", "1952"))),
     R"({"Title": "Night Train", "Artist": "Lanterns", "Comment": "live", "Encoder": "auspool", "Year": 1952})"},
    {"NoChunks", wave_file(""), "{}"},
    {"WithoutAListId3IsFound", wave_file(kEnd + kId3), R"({"Title": "from ID3"})"},
    {"WithoutAListId3AtTheVeryEndIsFound", wave_file(kEnd + wave_chunk("id3 ", "ID3\3\0\0\0\0\0\2\0\0"s)), "{}"},
    {"Id3BeforeTheListReplacesToo", wave_file(kId3 + info_list(kTitle)), R"({"Title": "from ID3"})"},
    {"TheUpperCaseId3ChunkIsRead", wave_file(wave_chunk("ID3 ", id3_with("TIT2", "\0x"s))), R"({"Title": "x"})"},
    {"TheOldId3ChunkIsRead", wave_file(wave_chunk("ID32", id3_with("TIT2", "\0x"s))), R"({"Title": "x"})"},
    {"MixedCaseIsNoId3Chunk", wave_file(wave_chunk("Id3 ", id3_with("TIT2", "\0x"s))), "{}"},
    {"OnlyTheFirstId3ChunkIsRead", wave_file(kId3 + wave_chunk("id3 ", id3_with("TPE1", "\0x"s))),
     R"({"Title": "from ID3"})"},
    {"ABadId3TagIsNoError", wave_file(info_list(kTitle) + wave_chunk("id3 ", id3_tag(3, "", 0x80))),
     R"({"Title": "Night Train"})"},
    {"OtherListsAreSkipped", wave_file(wave_chunk("LIST", "adtl" + kTitle) + info_list(kTitle)),
     R"({"Title": "Night Train"})"},
    {"OnlyTheFirstListOfInfoIsRead", wave_file(info_list(kTitle) + info_list(wave_chunk("IART", "x"))),
     R"({"Title": "Night Train"})"},
    {"TheFirstOfAKindWins", wave_file(info_list(kTitle + wave_chunk("INAM", "second"))), R"({"Title": "Night Train"})"},
    {"AnEmptyTextHoldsItsPlace", wave_file(info_list(wave_chunk("INAM", "") + kTitle)), R"({"Title": ""})"},
    {"TextChunksOutsideTheListAreNotRead", wave_file(kTitle + kEnd), "{}"},
    {"TextIsWindowsLatin1", wave_file(info_list(wave_chunk("INAM", "na\xEFve \x80 \x93x\x94"))),
     R"({"Title": "naïve € “x”"})"},
    {"TextThatIsNotOfTheCodePageIsNone", wave_file(info_list(wave_chunk("INAM", "\x81") + kTitle)),
     R"({"Title": "Night Train"})"},
    {"TextIsCutAt1024Bytes", wave_file(info_list(wave_chunk("INAM", std::string(1500, 'x')))),
     R"({"Title": ")" + std::string(1024, 'x') + R"("})"},
    {"ADateGivesItsYear", with_date("2021-04-01"), R"({"Year": 2021})"},
    {"AYearAloneIsADate", with_date("2021"), R"({"Year": 2021})"},
    {"ADateOfLettersGivesNoYear", with_date("april"), "{}"},
    {"ADateWithSpacesGivesNoYear", with_date("2021 04"), "{}"},
    {"ADateThatBeginsWithADashGivesNoYear", with_date("-2021"), "{}"},
    {"EightDigitsAreAYear", with_date("20210401"), R"({"Year": 20210401})"},
    {"AnEmptyDateGivesNoYear", with_date(""), "{}"},
    {"TheRiffSizeDoesNotCount", wave_file(info_list(kTitle) + kId3, 0), R"({"Title": "from ID3"})"},
    {"ATooLargeRiffSizeDoesNotCount", wave_file(info_list(kTitle), 0xFFFFFFFF), R"({"Title": "Night Train"})"},
    {"SizesAreUnsigned", wave_file(wave_chunk("JUNK", "", 0xFFFFFFF0) + info_list(kTitle)), "{}"},
    {"AListThatClaimsMoreThanTheFileGivesWhatIsThere", wave_file(info_list(kTitle, 1000)),
     R"({"Title": "Night Train"})", EIO},
    {"AListThatClaimsLessEndsThere", wave_file(info_list(kTitle + wave_chunk("IART", "x"), 24) + kEnd),
     R"({"Title": "Night Train"})"},
};

INSTANTIATE_TEST_SUITE_P(Files, WaveRead, ::testing::ValuesIn(kCases), [](const auto &it) { return it.param.name; });

TEST(WaveReadForm, TheFirstPassEnds12BytesBeforeTheFile) {
  const std::string list = info_list("");
  ASSERT_EQ(list.size(), 12u);
  EXPECT_EQ(read_tag(wave_file(kEnd + list)).error, 0);
  // A list that begins there is not looked at, even when its type cannot be read.
  EXPECT_EQ(read_tag(wave_file(kEnd) + "LIST\4\0\0\0IN"s).error, 0);
  EXPECT_EQ(read_tag(wave_file(kEnd) + "LIST\x64\0\0\0INFOINAM"s).error, EIO) << "but inside a list";
}

TEST(WaveReadForm, AFailedFirstPassDoesNotKeepTheSecondFromId3) {
  const TagFile file(wave_file(wave_chunk("JUNK", std::string(10000, 'j')) + info_list(kTitle) +
                               wave_chunk("JUNK", std::string(10000, 'j')) + kId3));
  EXPECT_TRUE(some_failed_read_gives(file, R"({"Title": "from ID3"})"));
}

TEST(WaveReadForm, AFileOfItsFirstBytesAloneIsAnError) {
  const ReadResult result = read_tag("RIFF\0\0"s);
  EXPECT_EQ(result.dict, nullptr);
  EXPECT_EQ(result.error, EIO);
}

TEST(WaveReadForm, SizesThatTheFileHasNotAllocateNothing) {
  const TagFile file(wave_file(wave_chunk("id3 ", "ID3\3\0\0\x7F\x7F\x7F\x7F"s, 0x10000000)));
  ASSERT_LE(file.bytes().size(), 40u);
  EXPECT_LT(bytes_of_reading(file), 4096);
}

}  // namespace
}  // namespace auspool::testing
