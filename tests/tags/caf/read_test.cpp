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

class CafRead : public ::testing::TestWithParam<Case> {};

TEST_P(CafRead, Gives) {
  const ReadResult result = read_tag(caf_file(GetParam().chunks));
  EXPECT_EQ(printed(result), GetParam().dictionary);
  EXPECT_EQ(result.error, GetParam().error);
}

const std::string kTitle = caf_info({{"title", "Night Train"}});
const std::string kId3 = caf_chunk("id3 ", id3_with("TIT2", "\0from ID3"s));
const std::string kBadInfo = caf_chunk("info", "\0\0\0\1"s);  // a count and nothing to count

std::string info_of(std::size_t chunk_bytes) {
  const std::string title = "\0\0\0\1title\0x\0"s;
  return caf_chunk("info", title + std::string(chunk_bytes - title.size(), '\0'));
}

const Case kCases[] = {
    {"AllKeys",
     caf_info({{"title", "Night Train"},
               {"artist", "Lanterns"},
               {"album", "Barn"},
               {"composer", "Forrest"},
               {"genre", "Jazz"},
               {"track number", "3"},
               {"year", "1952"},
               {"comments", "live"},
               {"encoding application", "auspool"},
               {"tempo", "120"}}),
     R"({"Title": "Night Train", "Artist": "Lanterns", "Album": "Barn", "Composer": "Forrest", "Genre": "Jazz", )"
     R"("TrackNum": 3, "Year": 1952, "Comment": "live", "Encoder": "auspool", "BPM": 120})"},
    {"UnknownKeysAreSteppedOver", caf_info({{"colour", "red"}, {"Title", "x"}, {"title", "y"}}), R"({"Title": "y"})"},
    {"TheFirstOfAKindWins", caf_info({{"title", "first"}, {"title", "second"}}), R"({"Title": "first"})"},
    {"ANumberOfOtherCharactersIsDropped", caf_info({{"track number", "12a"}, {"tempo", "-3"}, {"year", "1952"}}),
     R"({"Year": 1952})"},
    {"ANumberOfZeroIsDropped", caf_info({{"track number", "0"}, {"tempo", ""}}), "{}"},
    {"ANumberBeyond32BitsIsDropped", caf_info({{"track number", "4294967297"}}), "{}"},
    {"TextThatIsNotUtf8IsDropped", caf_info({{"title", "\xFF"}, {"artist", "é"}}), R"({"Artist": "é"})"},
    {"AnEmptyTextIsAdded", caf_info({{"title", ""}, {"artist", "x"}}), R"({"Title": "", "Artist": "x"})"},
    {"ALastTextWithoutNulCounts", caf_chunk("info", "\0\0\0\1title\0x"s), R"({"Title": "x"})"},
    {"AKeyWithoutValueIsMalformed", caf_chunk("info", "\0\0\0\2title\0x\0artist\0"s), R"({"Title": "x"})", AUTAG2_EPRS},
    {"ACountThatIsTooLargeIsMalformed", caf_info({{"title", "x"}}, 2), R"({"Title": "x"})", AUTAG2_EPRS},
    {"ACountThatIsTooSmallLeavesTheRest", caf_info({{"title", "x"}, {"artist", "y"}}, 1), R"({"Title": "x"})"},
    {"ACountOfZeroClearsTheError", kBadInfo + caf_chunk("info", std::string(4, '\0')), "{}"},
    {"AGoodChunkLeavesTheErrorBefore", kBadInfo + kTitle, R"({"Title": "Night Train"})", AUTAG2_EPRS},
    {"AChunkOf4BytesIsMalformed", kBadInfo, "{}", AUTAG2_EPRS},
    {"AChunkOfLessIsMalformed", caf_chunk("info", "\1\1"s) + kTitle, R"({"Title": "Night Train"})", AUTAG2_EPRS},
    {"AChunkOf131076BytesIsRead", info_of(131076), R"({"Title": "x"})"},
    {"AChunkOf131077BytesIsMalformed", info_of(131077) + kTitle, R"({"Title": "Night Train"})", AUTAG2_EPRS},
    {"AValueOf1024BytesIsRead", caf_info({{"title", std::string(1024, 'x')}}),
     R"({"Title": ")" + std::string(1024, 'x') + R"("})"},
    {"AValueOf1025BytesEndsTheChunk", caf_info({{"album", "a"}, {"title", std::string(1025, 'x')}, {"artist", "y"}}),
     R"({"Album": "a"})", AUTAG2_EPRS},
    {"AnUnknownKeyMayHaveALongValue", caf_info({{"colour", std::string(2000, 'x')}, {"title", "y"}}),
     R"({"Title": "y"})"},
    {"Id3ReplacesBeforeAndBehind", kTitle + kId3 + caf_info({{"title", "late"}, {"album", "a"}}),
     R"({"Title": "from ID3", "Album": "a"})"},
    {"Id3ClearsTheErrorBefore", kBadInfo + kId3, R"({"Title": "from ID3"})"},
    {"AnErrorBehindId3Stays", kId3 + kBadInfo, R"({"Title": "from ID3"})", AUTAG2_EPRS},
    {"ABadId3TagIsNoError", caf_chunk("id3 ", id3_tag(3, "", 0x80)) + kTitle, R"({"Title": "Night Train"})"},
    {"DataOfUnknownSizeEndsTheWalk", kTitle + caf_chunk("data", "...", -1) + kId3, R"({"Title": "Night Train"})"},
    {"DataOfUnknownSizeClearsTheError", kBadInfo + caf_chunk("data", "...", -1) + kId3, "{}"},
    {"AnotherNegativeSizeIsMalformed", kTitle + caf_chunk("free", "...", -1) + kId3, R"({"Title": "Night Train"})",
     AUTAG2_EPRS},
    {"OddChunksHaveNoPad", caf_chunk("free", "odd") + kTitle, R"({"Title": "Night Train"})"},
    {"AChunkThatTheFileCutsOffIsAnError", "info\0\0\0\0\0\0\0\x50\0\0\0\1title\0x\0"s, "{}", EIO},
    {"ASizeBeyondTheFileEndsTheWalk", kTitle + caf_chunk("free", "...", INT64_MAX), R"({"Title": "Night Train"})"},
};

INSTANTIATE_TEST_SUITE_P(Files, CafRead, ::testing::ValuesIn(kCases), [](const auto &it) { return it.param.name; });

TEST(CafReadForm, OnlyVersion1IsKnown) {
  for (const int version : {0, 2, 256}) {
    const ReadResult result = read_tag(caf_file(kTitle, version));
    EXPECT_EQ(result.dict, nullptr);
    EXPECT_EQ(result.error, AUTAG2_ETAG);
  }
}

TEST(CafReadForm, AFileOfItsFirstBytesAloneIsAnError) {
  const ReadResult result = read_tag("caff\0"s);
  EXPECT_EQ(result.dict, nullptr);
  EXPECT_EQ(result.error, EIO);
}

TEST(CafReadForm, NumbersHave32Bits) {
  const ReadResult result = read_tag(caf_file(caf_info({{"track number", "3"}, {"tempo", "120"}})));
  EXPECT_EQ(audict_number_type_of(audict_get(result.dict.get(), "TrackNum")), AUDICT_INT32);
  EXPECT_EQ(audict_number_type_of(audict_get(result.dict.get(), "BPM")), AUDICT_INT32);
}

TEST(CafReadForm, AFailedReadGivesWhatWasThere) {
  const TagFile file(caf_file(kTitle + caf_chunk("free", std::string(10000, 'f')) + kId3 +
                              caf_chunk("free", std::string(10000, 'f'))));
  EXPECT_TRUE(some_failed_read_gives(file, R"({"Title": "Night Train"})"));
}

TEST(CafReadForm, NoMemoryGivesWhatWasThere) {
  const TagFile file(caf_file(kTitle));
  for (int nth = 1;; ++nth) {
    const AllocationFailer failer(nth);
    const ReadResult result = file.read();
    if (!failer.failed()) break;
    EXPECT_EQ(result.error, AUTAG2_EUNK) << nth;
  }
}

TEST(CafReadForm, SizesThatTheFileHasNotAllocateNothing) {
  const TagFile file(caf_file(caf_chunk("id3 ", "ID3\3\0\0\x7F\x7F\x7F\x7F"s, 1LL << 60)));
  ASSERT_LE(file.bytes().size(), 40u);
  EXPECT_LT(bytes_of_reading(file), 4096);
  const TagFile info(caf_file(caf_chunk("info", "\0\0\0\1title"s, 131000)));
  EXPECT_LT(bytes_of_reading(info), 4096);
}

}  // namespace
}  // namespace auspool::testing
