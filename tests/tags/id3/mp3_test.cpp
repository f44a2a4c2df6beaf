#include "tags/id3/mp3.h"

#include <gtest/gtest.h>

#include "support/id3.h"
#include "support/tag_file.h"
#include "support/watch.h"

namespace auspool::tags {
namespace {

using namespace auspool::testing;

bool is_mp3(const std::string &bytes) {
  const TagFile file(bytes);
  platform::File opened;
  EXPECT_EQ(opened.open(file.path(), platform::File::Access::read), 0);
  return autag2_is_mp3(opened);
}

TEST(IsMp3, LooksForASyncATagInFrontOrOneAtTheEnd) {
  EXPECT_TRUE(is_mp3("\xFF\xFB"));
  EXPECT_TRUE(is_mp3("\xFF\xE0\0"s));
  EXPECT_FALSE(is_mp3("\xFF\xDF\0"s));
  EXPECT_FALSE(is_mp3("\xFF"));
  EXPECT_TRUE(is_mp3("ID3"));
  EXPECT_FALSE(is_mp3("ID4"));
  EXPECT_TRUE(is_mp3("RIFF" + id3v1_tag({})));
  EXPECT_FALSE(is_mp3("RIFF" + id3v1_tag({}) + "x"));
  EXPECT_FALSE(is_mp3(""));
}

TEST(Mp3, WithBothTagsGivesTheOneInFrontAlone) {
  const auto tag = read_tag(id3_with("TIT2", "\0front"s) + silent_mp3(3) + id3v1_tag({"end", "artist"}));
  EXPECT_EQ(tag["Title"], "front");
  EXPECT_EQ(tag["Artist"], "none");
}

TEST(Mp3, WithoutATagIsNull) {
  std::int32_t error = -1;
  std::uint32_t format = 99;
  const TagFile file(silent_mp3(3));
  EXPECT_EQ(autag2_read(file.path(), &error, &format), nullptr);
  EXPECT_EQ(error, 0);
  EXPECT_EQ(format, unsigned{AUTAG2_MP3});
}

TEST(Mp3, OfTwoBytesIsNull) {
  const auto tag = read_tag("\xFF\xFB");
  EXPECT_EQ(tag.dict, nullptr);
  EXPECT_EQ(tag.error, 0);
}

TEST(Mp3, AllocatesNextToNothingForATagThatClaimsMuch) {
  const TagFile file(id3_tag(3, std::string(30, 'x'), 0, 0x0FFFFFFF));
  (void)file.read();  // what is loaded once
  const long before = bytes_of_new();
  EXPECT_EQ(file.read().error, AUTAG2_EPRS);
  EXPECT_LT(bytes_of_new() - before, 8192);
  EXPECT_EQ(file.chapters().error, AUTAG2_EPRS);
  EXPECT_EQ(file.write(nullptr), AUTAG2_EPRS);
  EXPECT_LT(bytes_of_new() - before, 24576);
}

TEST(Mp3, AllocatesAFewTimesTheTagForItsTexts) {
  std::string frames;
  for (int i = 0; i < 1000; ++i) frames += id3_frame(3, "TIT2", "\1" + std::string(200, 'x'));
  const TagFile file(id3_tag(3, frames + id3_frame(3, "APIC", apic_data(0, std::string(1000000, 'i')))));
  (void)file.read();
  const long before = bytes_of_new();
  const auto tag = file.read();
  EXPECT_EQ(tag.error, 0);
  EXPECT_LT(bytes_of_new() - before, 5000000) << "in all, what was released again included";
}

TEST(Mp3, ReadsInFewSystemCalls) {
  const TagFile file(id3_tag(3, id3_frame(3, "APIC", apic_data(3, std::string(100000, 'i')))) + silent_mp3(3));
  (void)file.read();
  const CallFailer third_read("pread", 3);
  const auto tag = file.read();
  EXPECT_EQ(tag["AlbumCover"].size(), 100000u);
  EXPECT_EQ(third_read.failures(), 0);
}

TEST(Mp3, WhoseTagCannotBeReadIsAParseError) {
  const TagFile file(id3_with("TIT2", '\0' + std::string(5000, 'x')));
  const CallFailer failing("pread", 2, EACCES);
  const auto tag = file.read();
  EXPECT_EQ(failing.failures(), 1);
  EXPECT_EQ(tag.dict, nullptr);
  EXPECT_EQ(tag.error, AUTAG2_EPRS);
}

}  // namespace
}  // namespace auspool::tags
