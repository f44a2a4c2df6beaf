#include <gtest/gtest.h>

#include <cerrno>

#include "auspool/autag2.h"
#include "support/id3.h"
#include "support/tag_file.h"
#include "support/watch.h"

namespace auspool::tags {
namespace {

using namespace auspool::testing;

Ref titled(const std::string &title) {
  Ref tag = make_dictionary();
  if (!title.empty()) set(*tag, "Title", make_string(title));
  return tag;
}

// The tag that is written for a title of that many letters.
std::string tag_of(std::size_t letters, std::int64_t claimed = -1) {
  return id3_tag(3, id3_frame(3, "TIT2", '\0' + std::string(letters, 't')), 0, claimed);
}

// What a file becomes by writing a title of that many letters; none for 0.
std::string rewritten(const std::string &bytes, std::size_t letters, std::int32_t expected = 0) {
  const TagFile file(bytes);
  EXPECT_EQ(file.write(titled(std::string(letters, 't')).get()), expected);
  return file.bytes();
}

const std::string kAudio = silent_mp3(20);
const std::string kTenZeros(10, '\0');

TEST(Mp3Write, OfTheSameSizeReplacesTheTagAlone) {
  EXPECT_EQ(rewritten(id3_tag(3, id3_frame(3, "TPE1", "\0artist"s)) + kAudio, 6), tag_of(6) + kAudio);
}

TEST(Mp3Write, OfALongerTagMovesTheAudio) {
  EXPECT_EQ(rewritten(tag_of(5) + kAudio, 500), tag_of(500) + kAudio);
}

TEST(Mp3Write, OfATagShorterByMoreThan2PercentMovesTheAudio) {
  EXPECT_EQ(rewritten(tag_of(500) + kAudio, 5), tag_of(5) + kAudio);
  EXPECT_EQ(rewritten(tag_of(500) + kAudio, 0), id3_tag(3, "") + kAudio);
}

TEST(Mp3Write, OfATagShorterByLessStaysInPlaceAndClaimsTheOldSize) {
  const std::string expected = tag_of(50, 11 + 100) + std::string(50, '\0') + kAudio;
  EXPECT_EQ(rewritten(tag_of(100) + kAudio, 50), expected);
  EXPECT_EQ(read_tag(expected)["Title"], std::string(50, 't'));
}

TEST(Mp3Write, ASecondTimeHasTheRoomOfTheFirst) {
  const std::string once = rewritten(tag_of(100) + kAudio, 50);
  EXPECT_EQ(rewritten(once, 100), tag_of(100) + kAudio) << "fits exactly";
  EXPECT_EQ(rewritten(once, 101), tag_of(101) + kAudio) << "does not";
  EXPECT_EQ(rewritten(rewritten(once, 40), 30), tag_of(30, 111) + std::string(70, '\0') + kAudio) << "a third";
}

TEST(Mp3Write, WithoutATagOverwritesTenBytesOfAudioAndAddsTenZeros) {
  EXPECT_EQ(rewritten(kAudio, 5), tag_of(5) + kAudio.substr(10) + kTenZeros);
}

TEST(Mp3Write, ASecondAndThirdTimeLosesNoMore) {
  const std::string once = rewritten(kAudio, 5);
  const std::string twice = rewritten(once, 500);
  EXPECT_EQ(twice, tag_of(500) + kAudio.substr(10) + kTenZeros);
  EXPECT_EQ(rewritten(twice, 5), once);
}

TEST(Mp3Write, ATagOfSize0CountsAsNoneAndLosesNothing) {
  EXPECT_EQ(rewritten(id3_tag(3, "") + kAudio, 5), tag_of(5) + kAudio + kTenZeros);
}

TEST(Mp3Write, OfNothingWithoutATagLeavesTheFileAsItIs) {
  EXPECT_EQ(rewritten(kAudio, 0), kAudio);
  EXPECT_EQ(rewritten(id3_tag(3, "") + kAudio, 0), id3_tag(3, "") + kAudio);
}

TEST(Mp3Write, CutsAnId3v1Tag) {
  const std::string end = id3v1_tag({"Title"});
  EXPECT_EQ(rewritten(tag_of(5) + kAudio + end, 5), tag_of(5) + kAudio) << "in place";
  EXPECT_EQ(rewritten(tag_of(5) + kAudio + end, 500), tag_of(500) + kAudio) << "moved";
  EXPECT_EQ(rewritten(kAudio + end, 0), kAudio) << "nothing written";
  EXPECT_EQ(rewritten(end, 0), "") << "nothing else in the file";
  EXPECT_EQ(rewritten(tag_of(5) + end, 5), tag_of(5));
}

TEST(Mp3Write, WithoutATagLeavesAnId3v1TagBehindTenZeros) {
  const std::string end = id3v1_tag({"Title"});
  EXPECT_EQ(rewritten(kAudio + end, 5), tag_of(5) + kAudio.substr(10) + end + kTenZeros);
}

TEST(Mp3Write, DoesNotCutTheTagItselfWhereItHappensToSayTag) {
  const Ref tag = titled("TAG" + std::string(125, 'x'));
  const TagFile file(tag_of(128));
  EXPECT_EQ(file.write(tag.get()), 0);
  EXPECT_EQ(file.bytes().size(), tag_of(128).size());
  EXPECT_EQ(file.read()["Title"].size(), 128u);
}

TEST(Mp3Write, RefusesATagThatClaimsToRunPastTheFile) {
  for (const std::uint32_t beyond : {1u, 100u, 1u << 20, 0x0FFFFF00u}) {
    const std::string broken = tag_of(100, 111 + beyond);
    for (const std::size_t letters : {0u, 100u, 5000u}) {
      EXPECT_EQ(rewritten(broken, letters, AUTAG2_EPRS), broken) << beyond << " " << letters;
    }
  }
}

TEST(Mp3Write, OfAFileShorterThanAHeaderIsAReadError) {
  EXPECT_EQ(rewritten("\xFF\xFBxxxxxxx", 5, EIO), "\xFF\xFBxxxxxxx");
}

TEST(Mp3Write, OfAMissingFileGivesErrno) {
  EXPECT_EQ(autag2_write("/no/such/file.mp3", nullptr), ENOENT);
}

TEST(Mp3Write, KeepsTheAudioOfAFileWithOldVersionsOrAnExtendedHeader) {
  EXPECT_EQ(rewritten(id3_tag(2, id3_frame(2, "TT2", "\0title"s)) + kAudio, 50), tag_of(50) + kAudio);
  EXPECT_EQ(rewritten(id3_tag(4, syncsafe(6) + "123456", 0xC0) + kAudio, 50), tag_of(50) + kAudio);
}

TEST(Mp3Write, KeepsTheMoveFromTearingTheAudio) {
  const std::string audio = silent_mp3(5100);  // more than two chunks of the move
  std::string marked = audio;
  for (std::size_t i = 0; i < marked.size(); i += 997) marked[i] = static_cast<char>(i / 997);
  EXPECT_EQ(rewritten(tag_of(5) + marked, 4000), tag_of(4000) + marked);
  EXPECT_EQ(rewritten(rewritten(tag_of(5) + marked, 4000), 4090), tag_of(4090) + marked);
}

TEST(Mp3Write, ReportsWhatFailsAndLeavesAnId3v1Tag) {
  const std::string before = tag_of(5) + kAudio + id3v1_tag({"Title"});
  const struct {
    const char *call;
    int nth;
    std::size_t letters;
  } rows[] = {{"pwrite", 1, 5}, {"pwrite", 1, 500}, {"pwrite", 2, 500}, {"ftruncate", 1, 500}};
  for (const auto &row : rows) {
    const TagFile file(before);
    const Ref tag = titled(std::string(row.letters, 't'));
    const CallFailer failer(row.call, row.nth, ENOSPC);
    EXPECT_EQ(file.write(tag.get()), ENOSPC) << row.call << row.nth;
    EXPECT_NE(file.bytes().find("TAGTitle"), std::string::npos) << row.call << row.nth;
  }
}

TEST(Mp3Write, ReportsACutOfTheId3v1TagThatFails) {
  const TagFile file(tag_of(5) + kAudio + id3v1_tag({"Title"}));
  const Ref tag = titled("ttttt");
  const CallFailer failer("ftruncate", 1, EACCES);
  EXPECT_EQ(file.write(tag.get()), EACCES);
}

TEST(Mp3Write, InPlaceWritesTheTagAloneInOneGo) {
  const TagFile file(tag_of(100) + kAudio);
  const Ref tag = titled(std::string(50, 't'));
  const CallFailer second_write("pwrite", 2);
  const CallFailer *failer = &second_write;
  EXPECT_EQ(file.write(tag.get()), 0);
  EXPECT_EQ(failer->failures(), 0);
}

TEST(Mp3Write, TouchesNothingWhenMemoryRunsOutForTheTag) {
  const TagFile file(tag_of(5) + kAudio);
  const Ref tag = titled("new title");
  fail_each_allocation([&] {
    const std::int32_t result = file.write(tag.get());
    if (result != 0) {
      EXPECT_EQ(result, AUTAG2_EUNK);
    }
    return result == 0;
  });
}

}  // namespace
}  // namespace auspool::tags
