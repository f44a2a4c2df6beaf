#include "tags/id3/id3v1.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "support/id3.h"
#include "support/tag_file.h"

namespace auspool::tags {
namespace {

using namespace auspool::testing;

ReadResult read_v1(const Id3v1Fields &fields) {
  return read_tag(silent_mp3(3) + id3v1_tag(fields));
}

TEST(Id3v1, GivesItsFields) {
  const auto tag = read_v1({"Title", "Artist", "Album", "1987", "Comment", 7, 17});
  EXPECT_EQ(tag.error, 0);
  EXPECT_EQ(tag["Title"], "Title");
  EXPECT_EQ(tag["Artist"], "Artist");
  EXPECT_EQ(tag["Album"], "Album");
  EXPECT_EQ(tag["Year"], "1987");
  EXPECT_EQ(tag["Comment"], "Comment");
  EXPECT_EQ(tag["Genre"], "Rock");
  EXPECT_EQ(tag["TrackNum"], "7");
  EXPECT_EQ(audict_number_type_of(audict_get(tag.dict.get(), "TrackNum")), AUDICT_INT8);
  EXPECT_EQ(audict_number_type_of(audict_get(tag.dict.get(), "Year")), AUDICT_INT32);
}

TEST(Id3v1, LosesSpacesAndNulsAtTheEndAlone) {
  const auto tag = read_v1({"  A title ", "An \0 artist"s, "", "", " \0 \0"s});
  EXPECT_EQ(tag["Title"], "  A title");
  EXPECT_EQ(tag["Artist"], "An") << "what stands behind a NUL is left from another text";
  EXPECT_EQ(tag["Album"], "none") << "empty";
  EXPECT_EQ(tag["Comment"], "none");
}

TEST(Id3v1, IsLatin1) {
  EXPECT_EQ(read_v1({"Caf\xE9"})["Title"], "Café");
}

TEST(Id3v1, HasNoTrackBehindACommentOf30Bytes) {
  const auto tag = read_v1({"", "", "", "", std::string(30, 'c')});
  EXPECT_EQ(tag["Comment"], std::string(30, 'c'));
  EXPECT_EQ(tag["TrackNum"], "none");
}

TEST(Id3v1, HasACommentOf28BytesBeforeATrack) {
  const auto tag = read_v1({"", "", "", "", std::string(30, 'c'), 9});
  EXPECT_EQ(tag["Comment"], std::string(28, 'c'));
  EXPECT_EQ(tag["TrackNum"], "9");
}

TEST(Id3v1, TakesTracksAsSignedBytes) {
  EXPECT_EQ(read_v1({"", "", "", "", "", 127})["TrackNum"], "127");
  EXPECT_EQ(read_v1({"", "", "", "", "", 128})["TrackNum"], "none");
}

TEST(Id3v1, TakesGenresAsUnsignedBytes) {
  EXPECT_EQ(read_v1({"", "", "", "", "", 0, 191})["Genre"], "Psybient");
  EXPECT_EQ(read_v1({"", "", "", "", "", 0, 192})["Genre"], "none");
}

TEST(Id3v1, TakesAYearAbove0) {
  EXPECT_EQ(read_v1({"", "", "", "0000"})["Year"], "none");
  EXPECT_EQ(read_v1({"", "", "", "19x7"})["Year"], "19");
  EXPECT_EQ(read_v1({"", "", "", "-198"})["Year"], "none");
  EXPECT_EQ(read_v1({"", "", "", "9999"})["Year"], "9999");
}

TEST(Id3v1, AddsAndDoesNotReplace) {
  const TagFile file(id3v1_tag({"Title"}));
  platform::File opened;
  ASSERT_EQ(opened.open(file.path(), platform::File::Access::read), 0);
  const Ref dict = make_dictionary();
  set(*dict, "Title", make_string("kept"));
  EXPECT_EQ(autag2_id3_read_v1(*dict, opened), 0);
  EXPECT_EQ(shown(audict_get(dict.get(), "Title")), "kept");
}

TEST(Id3v1, NeedsAFileOf128Bytes) {
  const TagFile file(std::string(127, 'x'));
  platform::File opened;
  ASSERT_EQ(opened.open(file.path(), platform::File::Access::read), 0);
  const Ref dict = make_dictionary();
  EXPECT_EQ(autag2_id3_read_v1(*dict, opened), EIO);
  EXPECT_FALSE(ends_in_id3v1(opened));
}

}  // namespace
}  // namespace auspool::tags
