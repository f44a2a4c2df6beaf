// What is read from FLAC files that are put together byte by byte.
#include <gtest/gtest.h>

#include <cerrno>

#include "support/flac_file.h"
#include "support/id3.h"
#include "support/tag_file.h"
#include "support/watch.h"
#include "tags/flac/flac.h"

namespace auspool::testing {
namespace {

using Comments = std::vector<std::string>;
using Blobs = std::vector<std::pair<std::string, std::string>>;

const std::string kInfo = flac_block(kStreamInfo, stream_info());

std::string with_comments(const Comments &comments, const std::string &vendor = "") {
  return flac_file({kInfo, flac_block(kVorbisComment, vorbis_comments(comments, vendor), true)});
}

ReadResult read_comments(const Comments &comments) {
  ReadResult result = read_tag(with_comments(comments));
  EXPECT_EQ(result.error, 0);
  return result;
}

Blobs blobs_of(const ReadResult &result) {
  Blobs blobs;
  const audict *array = audict_get(result.dict.get(), "BinaryBlobs");
  for (std::size_t i = 0; i < audict_count(array); ++i) {
    EXPECT_EQ(audict_count(audict_at(array, i)), 2u);
    blobs.emplace_back(bytes_of(audict_at(audict_at(array, i), 0)), bytes_of(audict_at(audict_at(array, i), 1)));
  }
  return blobs;
}

// The cover of a file with these pictures, each a block of its own.
std::string cover_of(const std::vector<std::string> &pictures, const Comments &comments = {}) {
  std::vector<std::string> blocks = {kInfo};
  for (const std::string &picture : pictures) blocks.push_back(flac_block(kPicture, picture));
  blocks.push_back(flac_block(kVorbisComment, vorbis_comments(comments), true));
  const ReadResult result = read_tag(flac_file(blocks));
  EXPECT_EQ(result.error, 0);
  return result["AlbumCover"];
}

TEST(Flac, IsKnownByItsFirstBytes) {
  const TagFile file(flac_file({}));
  std::uint32_t format = 77;
  const Ref tag(autag2_read(file.path(), nullptr, &format));
  EXPECT_EQ(format, static_cast<std::uint32_t>(AUTAG2_FLAC));
  EXPECT_EQ(read_tag("fLa").dict, nullptr);
  EXPECT_EQ(read_tag("flac" + kInfo).dict, nullptr);
}

TEST(Flac, FilesOfAnotherKindAreRefused) {
  const TagFile file("fLaX" + kInfo);
  platform::File open;
  ASSERT_EQ(open.open(file.path(), platform::File::Access::read), 0);
  std::int32_t error = 0;
  EXPECT_EQ(tags::autag2_flac_read(open, file.path(), error), nullptr);
  EXPECT_EQ(error, AUTAG2_EPRS);
}

TEST(Flac, WithoutCommentsHasAnEmptyArrayOfThemAlone) {
  const ReadResult result = read_tag(flac_file({flac_block(kStreamInfo, stream_info(), true)}));
  EXPECT_EQ(result.error, 0);
  EXPECT_EQ(printed(result), R"({"BinaryBlobs": []})");
}

TEST(FlacComments, GiveTheirKeys) {
  const struct {
    const char *field, *value, *key, *expected;
  } rows[] = {
      {"TITLE", "Night Train", "Title", "Night Train"},
      {"ALBUM", "Barn", "Album", "Barn"},
      {"TRACKNUMBER", "3", "TrackNum", "3"},
      {"ARTIST", "Lanterns", "Artist", "Lanterns"},
      {"COMMENT", "live", "Comment", "live"},
      {"GENRE", "Swing", "Genre", "Swing"},
      {"DATE", "1952", "Year", "1952"},
      {"ENCODEDBY", "me", "Encoder", "me"},
      {"TRACKTOTAL", "12", "TrackTotal", "12"},
      {"DISCNUMBER", "1", "DiscNum", "1"},
      {"DISCTOTAL", "2", "DiscTotal", "2"},
      {"BPM", "99", "BPM", "99"},
      {"ALBUMARTIST", "Various", "Sidekick", "Various"},
      {"ALBUM ARTIST", "Various", "Sidekick", "Various"},
      {"COMPILATION", "1", "Compilation", "1"},
      {"COMPOSER", "Forrest", "Composer", "Forrest"},
      {"GROUPING", "Set", "Grouping", "Set"},
  };
  for (const auto &row : rows) {
    const ReadResult result = read_comments({std::string(row.field) + "=" + row.value});
    EXPECT_EQ(result[row.key], row.expected) << row.field;
    EXPECT_EQ(blobs_of(result), Blobs{});
  }
  EXPECT_EQ(audict_number_type_of(audict_get(read_comments({"COMPILATION=1"}).dict.get(), "Compilation")),
            AUDICT_INT32);
}

TEST(FlacComments, MatchWithoutRegardToCase) {
  EXPECT_EQ(read_comments({"title=x"})["Title"], "x");
  EXPECT_EQ(read_comments({"Album artist=x"})["Sidekick"], "x");
  EXPECT_EQ(read_comments({"TITLES=x"})["Title"], "none");
  EXPECT_EQ(read_comments({"TITL=x"})["Title"], "none");
}

TEST(FlacComments, ReplaceThoseBefore) {
  EXPECT_EQ(read_comments({"TITLE=a", "TITLE=b"})["Title"], "b");
  EXPECT_EQ(read_comments({"ALBUMARTIST=a", "ALBUM ARTIST=b"})["Sidekick"], "b");
}

TEST(FlacComments, WithoutAValueOrANameAreDropped) {
  const ReadResult result = read_comments({"TITLE", "TITLE=", "MOOD=", "=x", "", "=", "MOOD"});
  EXPECT_EQ(printed(result), R"({"Encoder": "", "BinaryBlobs": []})");
}

TEST(FlacComments, ThatHaveNoKeyAreKeptAsNameAndValue) {
  EXPECT_EQ(blobs_of(read_comments({"MOOD=calm", "TITLE=x", "mood=a=b", "RAW=\xFF"})),
            (Blobs{{"MOOD", "calm"}, {"mood", "a=b"}, {"RAW", "\xFF"}}));
}

TEST(FlacComments, OfNumbersAreTheDigitsInFront) {
  EXPECT_EQ(read_comments({"DATE=2021-04-01"})["Year"], "2021");
  EXPECT_EQ(read_comments({"BPM=99.9"})["BPM"], "99");
  EXPECT_EQ(read_comments({"BPM= -5"})["BPM"], "-5");
  EXPECT_EQ(read_comments({"BPM=fast"})["BPM"], "0");
  EXPECT_EQ(read_comments({"BPM=99999999999"})["BPM"], "2147483647");
}

TEST(FlacComments, OfPositionsMayHoldATotalAlone) {
  const ReadResult total = read_comments({"TRACKNUMBER=/12"});
  EXPECT_EQ(total["TrackTotal"], "12");
  EXPECT_EQ(total["TrackNum"], "none");
  const ReadResult both = read_comments({"TRACKNUMBER=3/12"});
  EXPECT_EQ(both["TrackNum"], "3");
  EXPECT_EQ(both["TrackTotal"], "none");
  const ReadResult disc = read_comments({"DISCNUMBER=/2"});
  EXPECT_EQ(disc["DiscNum"], "2");
  EXPECT_EQ(disc["DiscTotal"], "none");
}

TEST(FlacComments, ThatAreNotUtf8AreLeftOut) {
  EXPECT_EQ(read_comments({"TITLE=caf\xC3\xA9"})["Title"], "caf\xC3\xA9");
  EXPECT_EQ(read_comments({"TITLE=a", "TITLE=caf\xE9"})["Title"], "a");
}

TEST(FlacComments, MayBeOfAnyLength) {
  for (const std::size_t length : {1023u, 1024u, 1025u, 5000u, 1000000u}) {
    const std::string value(length - 6, 'x');
    EXPECT_EQ(read_comments({"TITLE=" + value, "ARTIST=y"})["Title"], value);
  }
}

TEST(FlacComments, AreSkippedWhereThereIsNoMemoryForTheirLength) {
  const TagFile file(with_comments({"ARTIST=y", "TITLE=" + std::string(5000, 'x'), "ALBUM=z"}));
  bool skipped = false;
  for (int nth = 1; nth < 20 && !skipped; ++nth) {
    const AllocationFailer failer(nth);
    const ReadResult result = file.read();
    skipped = result.error == 0 && result["Title"] == "none" && result["Artist"] == "y" && result["Album"] == "z";
  }
  EXPECT_TRUE(skipped);
}

TEST(FlacVendor, IsTheEncoderUnlessACommentNamesOne) {
  EXPECT_EQ(read_tag(with_comments({}, "libx 1.0"))["Encoder"], "libx 1.0");
  EXPECT_EQ(read_tag(with_comments({"ENCODEDBY=me"}, "libx 1.0"))["Encoder"], "me");
  EXPECT_EQ(read_tag(with_comments({}, std::string(1024, 'v')))["Encoder"], std::string(1024, 'v'));
  const ReadResult longer = read_tag(with_comments({"TITLE=x"}, std::string(1025, 'v')));
  EXPECT_EQ(longer["Encoder"], "none");
  EXPECT_EQ(longer["Title"], "x");
  EXPECT_EQ(read_tag(with_comments({}, "\xFF"))["Encoder"], "none");
}

TEST(FlacBlocks, OfOtherTypesAreSkipped) {
  const ReadResult result =
      read_tag(flac_file({kInfo, flac_block(kApplication, "fooo" + std::string(5000, 'x')), flac_block(kPadding, ""),
                          flac_block(kCueSheet, "cue"), flac_block(126, "TITLE=no"),
                          flac_block(kVorbisComment, vorbis_comments({"TITLE=x"}), true)}));
  EXPECT_EQ(result.error, 0);
  EXPECT_EQ(result["Title"], "x");
}

TEST(FlacBlocks, EndAtTheLastOneOrAtAFrame) {
  const std::string comments = flac_block(kVorbisComment, vorbis_comments({"TITLE=x"}));
  EXPECT_EQ(read_tag(flac_file({flac_block(kStreamInfo, stream_info(), true), comments}))["Title"], "none");
  const ReadResult unmarked = read_tag(flac_file({kInfo, comments}));
  EXPECT_EQ(unmarked.error, 0);
  EXPECT_EQ(unmarked["Title"], "x");
}

TEST(FlacBlocks, OfCommentsAddUp) {
  const std::string first = flac_block(kVorbisComment, vorbis_comments({"TITLE=a", "ARTIST=a", "A=1"}, "one"));
  const std::string second = flac_block(kVorbisComment, vorbis_comments({"TITLE=b", "B=2"}, "two"), true);
  const ReadResult result = read_tag(flac_file({kInfo, first, second}));
  EXPECT_EQ(result["Title"], "b");
  EXPECT_EQ(result["Artist"], "a");
  EXPECT_EQ(result["Encoder"], "one");
  EXPECT_EQ(blobs_of(result), (Blobs{{"A", "1"}, {"B", "2"}}));
}

TEST(FlacPictures, OfAFrontCoverWin) {
  const std::string front = flac_picture(3, "front", 1, 1), large = flac_picture(0, "a large one", 900, 900);
  EXPECT_EQ(cover_of({front, large}), "front");
  EXPECT_EQ(cover_of({large, front}), "front");
  EXPECT_EQ(cover_of({front, flac_picture(3, "another", 9, 9)}), "front");
}

TEST(FlacPictures, OfOtherKindsWinByAreaOrElseByLength) {
  const auto picture = [](const std::string &image, std::uint32_t width, std::uint32_t height) {
    return flac_picture(4, image, width, height);
  };
  EXPECT_EQ(cover_of({picture("first", 10, 10), picture("2nd", 5, 5)}), "first") << "smaller in both";
  EXPECT_EQ(cover_of({picture("first", 10, 10), picture("2", 5, 21)}), "2") << "larger";
  EXPECT_EQ(cover_of({picture("first", 10, 10), picture("second", 5, 5)}), "second") << "longer";
  EXPECT_EQ(cover_of({picture("first", 10, 10), picture("other", 10, 10)}), "first") << "alike";
  EXPECT_EQ(cover_of({picture("first", 0, 0), picture("2nd", 0, 0)}), "first") << "of no known size";
  EXPECT_EQ(cover_of({picture("first", 10, 10), picture("second", 5, 5), picture("3", 6, 6)}), "3")
      << "it is measured by the one that is the cover, not by the largest";
  EXPECT_EQ(cover_of({picture("first", 0x10000, 0x10000), picture("2", 0xFFFF, 0xFFFF)}), "first") << "64 bits";
}

TEST(FlacPictures, StandInCommentsToo) {
  const auto comment = [](const std::string &picture) { return "METADATA_BLOCK_PICTURE=" + base64(picture); };
  const std::string front = flac_picture(3, "front"), other = flac_picture(4, "an image that is long", 99, 99);
  EXPECT_EQ(cover_of({}, {comment(front)}), "front");
  EXPECT_EQ(cover_of({}, {"metadata_block_picture=" + base64(front)}), "front");
  EXPECT_EQ(cover_of({other}, {comment(front)}), "front");
  EXPECT_EQ(cover_of({front}, {comment(flac_picture(3, "later"))}), "later") << "a later front cover replaces";
  EXPECT_EQ(cover_of({front}, {comment(other)}), "front") << "another picture does not";
  EXPECT_EQ(cover_of({}, {comment(other), comment(flac_picture(4, "x"))}), "an image that is long");
  EXPECT_EQ(cover_of({}, {"METADATA_BLOCK_PICTURE=" + base64(front).substr(0, 20)}), "none");
  std::string spoilt = base64(front + "more");
  spoilt[spoilt.size() - 4] = '*';
  EXPECT_EQ(cover_of({}, {"METADATA_BLOCK_PICTURE=" + spoilt}), "front") << "what stands before is used";
}

TEST(FlacPictures, ThatDoNotFitAreLeftOut) {
  const std::string whole = flac_picture(3, "image");
  const auto changed = [&whole](std::size_t at, std::uint32_t value) {
    std::string picture = whole;
    return picture.replace(at, 4, u32(value, true));
  };
  constexpr std::size_t kMime = 4, kDescription = 18, kLength = 43;
  EXPECT_EQ(cover_of({whole}), "image");
  const auto size = static_cast<std::uint32_t>(whole.size());
  for (const std::uint32_t length : {size - 7, UINT32_MAX}) EXPECT_EQ(cover_of({changed(kMime, length)}), "none");
  for (const std::uint32_t length : {11u, size - 22, size - 21, UINT32_MAX}) {
    EXPECT_EQ(cover_of({changed(kDescription, length)}), "none") << length;
  }
  EXPECT_EQ(cover_of({changed(kLength, 4)}), "imag");
  for (const std::uint32_t length : {0u, 6u, UINT32_MAX}) EXPECT_EQ(cover_of({changed(kLength, length)}), "none");
  for (std::size_t cut = 0; cut < whole.size(); ++cut) ASSERT_EQ(cover_of({whole.substr(0, cut)}), "none") << cut;
}

// Twenty bytes behind the description hold four numbers and the length of the image, which must not be 0.
TEST(FlacPictures, NeedTheirNumbersBehindTheDescription) {
  const std::string head = u32(3, true) + u32(0, true) + u32(0, true);
  EXPECT_EQ(cover_of({head + std::string(16, '\0') + u32(1, true) + "x"}), "x");
  EXPECT_EQ(cover_of({head + std::string(5, '\0')}), "none");
}

TEST(FlacPictures, AreSkippedWhereThereIsNoMemoryForThem) {
  const TagFile file(flac_file({kInfo, flac_block(kPicture, flac_picture(3, std::string(10000, 'i'))),
                                flac_block(kVorbisComment, vorbis_comments({"TITLE=x"}), true)}));
  bool skipped = false;
  for (int nth = 1; nth < 20 && !skipped; ++nth) {
    const AllocationFailer failer(nth);
    const ReadResult result = file.read();
    skipped = result.error == 0 && result["AlbumCover"] == "none" && result["Title"] == "x";
  }
  EXPECT_TRUE(skipped);
}

TEST(FlacDamage, GivesWhatWasGatheredWithTheError) {
  const std::string whole = with_comments({"TITLE=x", "ARTIST=" + std::string(50, 'y')});
  const std::size_t end = whole.size() - 100;
  for (std::size_t cut = 4; cut < end; ++cut) {
    const ReadResult result = read_tag(whole.substr(0, cut));
    ASSERT_EQ(result.error, EIO) << cut;
    ASSERT_NE(audict_get(result.dict.get(), "BinaryBlobs"), nullptr);
    ASSERT_EQ(result["Title"] == "x", cut >= end - 4 - 57) << cut;
  }
}

TEST(FlacDamage, OfOneBlockLeavesTheOthers) {
  const std::string long_comment =
      u32(0, false) + u32(2, false) + u32(7, false) + "TITLE=x" + u32(1000, false) + "ARTIST=y";
  const ReadResult result = read_tag(flac_file(
      {kInfo, flac_block(kVorbisComment, long_comment), flac_block(kPicture, flac_picture(3, "image"), true)}, 2000));
  EXPECT_EQ(result.error, AUTAG2_EPRS);
  EXPECT_EQ(result["Title"], "x");
  EXPECT_EQ(result["Artist"], "none");
  EXPECT_EQ(result["AlbumCover"], "image");
}

TEST(FlacDamage, AllocatesNextToNothingForWhatTheFileDoesNotHold) {
  const std::string comment = u32(0, false) + u32(1, false) + u32(0xFFFFF0, false) + "TITLE=x";
  const TagFile comments(flac_file({kInfo, flac_block(kVorbisComment, comment, true, 0xFFFFFF)}));
  EXPECT_EQ(comments.read().error, EIO);
  EXPECT_LT(bytes_of_reading(comments), 8192);
  const std::string picture = flac_picture(3, "image");
  const TagFile pictures(flac_file(
      {kInfo, flac_block(kPicture, picture.substr(0, picture.size() - 9) + u32(0xFFF000, true), true, 0xFFFFFF)}));
  EXPECT_EQ(pictures.read().error, EIO);
  EXPECT_LT(bytes_of_reading(pictures), 8192);
}

TEST(FlacDamage, OfTheDiskGivesErrno) {
  const TagFile file(flac_file({kInfo, flac_block(kPadding, std::string(20000, '\0')),
                                flac_block(kVorbisComment, vorbis_comments({"TITLE=x"}), true)},
                               10000));
  EXPECT_TRUE(some_failed_read_gives(file, R"({"BinaryBlobs": []})"));
}

TEST(Flac, ReadingSurvivesEachFailedAllocation) {
  const TagFile file(flac_file({kInfo, flac_block(kPicture, flac_picture(3, "image")),
                                flac_block(kVorbisComment, vorbis_comments({"TITLE=x", "A=b"}, "vendor"), true)}));
  const long before = live_allocations();
  for (int nth = 1;; ++nth) {
    const AllocationFailer failer(nth);
    std::int32_t error = 0;
    const Ref tag(autag2_read(file.path(), &error, nullptr));
    if (!failer.failed()) break;
  }
  EXPECT_EQ(live_allocations(), before);
}

}  // namespace
}  // namespace auspool::testing
