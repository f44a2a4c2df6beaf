// The blocks that an encoder is given, and the property list.
#ifdef AUSPOOL_FLAC  // the blocks are libFLAC's

#include <FLAC/format.h>
#include <gtest/gtest.h>

#include <cstring>

#include "platform/property_list.h"
#include "support/flac_file.h"
#include "support/pictures.h"
#include "support/tag_file.h"
#include "support/watch.h"
#include "tags/flac/flac.h"

namespace auspool::testing {
namespace {

struct DisposeData {
  void operator()(autag2_data *data) const { autag2_dispose_data(data); }
};
using Data = std::unique_ptr<autag2_data, DisposeData>;

Data blocks(const audict *tag) {
  return Data(autag2_create_data(tag, AUTAG2_FLAC));
}

const FLAC__StreamMetadata &block(const Data &data, std::size_t index) {
  return *static_cast<const FLAC__StreamMetadata *>(data->pointers[index]);
}

std::vector<std::string> comments_in(const Data &data) {
  std::vector<std::string> all;
  const FLAC__StreamMetadata_VorbisComment &comments = block(data, 0).data.vorbis_comment;
  for (std::uint32_t i = 0; i < comments.num_comments; ++i) {
    all.emplace_back(reinterpret_cast<const char *>(comments.comments[i].entry), comments.comments[i].length);
  }
  return all;
}

void set_cover(audict *tag, const Bytes &image) {
  audict_set_data(tag, "AlbumCover", image.data(), image.size());
}

class FlacBlocksMade : public ::testing::Test {
protected:
  void SetUp() override {
    if (!platform::flac_metadata_is_available()) GTEST_SKIP() << "this build has no libFLAC";
  }
  const Ref tag{audict_create()};
};

TEST_F(FlacBlocksMade, HoldTheCommentsInTheirOrder) {
  for (const char *key :
       {"Grouping", "Composer", "Encoder", "Genre", "Comment", "Sidekick", "Album", "Artist", "Title"}) {
    audict_set_string(tag.get(), key, key);
  }
  int value = 0;
  for (const char *key : {"Compilation", "BPM", "DiscTotal", "DiscNum", "TrackTotal", "Year", "TrackNum"}) {
    audict_set_integer(tag.get(), key, value++, AUDICT_INT32);
  }
  for (const char *key : {"Lyrics", "EncoderSettings"}) audict_set_string(tag.get(), key, "not in FLAC");
  EXPECT_EQ(comments_in(blocks(tag.get())),
            (std::vector<std::string>{"TITLE=Title", "ALBUM=Album", "ARTIST=Artist", "ALBUMARTIST=Sidekick",
                                      "COMMENT=Comment", "GENRE=Genre", "ENCODEDBY=Encoder", "COMPOSER=Composer",
                                      "GROUPING=Grouping", "TRACKNUMBER=6", "DATE=5", "TRACKTOTAL=4", "DISCNUMBER=3",
                                      "DISCTOTAL=2", "BPM=1", "COMPILATION=0"}));
}

TEST_F(FlacBlocksMade, HoldEmptyTextsAndNumbersFrom0On) {
  audict_set_string(tag.get(), "Comment", "");
  audict_set_integer(tag.get(), "Year", 0, AUDICT_INT32);
  audict_set_integer(tag.get(), "BPM", -1, AUDICT_INT32);
  audict_set_boolean(tag.get(), "Compilation", true);
  audict_set_string(tag.get(), "TrackNum", "3");
  EXPECT_EQ(comments_in(blocks(tag.get())), (std::vector<std::string>{"COMMENT=", "DATE=0"}))
      << "and no values of another kind";
}

TEST_F(FlacBlocksMade, AreCommentsAloneWithoutAPicture) {
  const Data data = blocks(tag.get());
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(data->count, 1u);
  EXPECT_EQ(data->dispose, tags::flac_tag_dispose_func);
  EXPECT_EQ(block(data, 0).type, FLAC__METADATA_TYPE_VORBIS_COMMENT);
  EXPECT_GT(block(data, 0).data.vorbis_comment.vendor_string.length, 0u);
}

TEST_F(FlacBlocksMade, HaveThePictureBehindTheComments) {
  const struct {
    Bytes image;
    const char *mime;
    std::uint32_t width, height;
  } cases[] = {{jpeg_file(24, 16), "image/jpeg", 24, 16}, {png_file(9, 7), "image/png", 9, 7}};
  for (const auto &one : cases) {
    set_cover(tag.get(), one.image);
    const Data data = blocks(tag.get());
    ASSERT_EQ(data->count, 2u);
    ASSERT_EQ(block(data, 1).type, FLAC__METADATA_TYPE_PICTURE);
    const FLAC__StreamMetadata_Picture &picture = block(data, 1).data.picture;
    EXPECT_EQ(picture.type, FLAC__STREAM_METADATA_PICTURE_TYPE_FRONT_COVER);
    EXPECT_STREQ(picture.mime_type, one.mime);
    EXPECT_STREQ(reinterpret_cast<const char *>(picture.description), "");
    EXPECT_EQ(picture.width, one.width);
    EXPECT_EQ(picture.height, one.height);
    EXPECT_EQ(picture.colors, 0u);
    EXPECT_EQ(Bytes(picture.data, picture.data + picture.data_length), one.image);
  }
}

TEST_F(FlacBlocksMade, TakeJpegAndPngAlone) {
  for (const char *image : {"GIF89a....", "II*.....", "", "\xFF"}) {
    audict_set_data(tag.get(), "AlbumCover", image, std::strlen(image));
    EXPECT_EQ(blocks(tag.get())->count, 1u) << image;
  }
}

TEST_F(FlacBlocksMade, KeepAPictureWhoseSizeCannotBeRead) {
  audict_set_data(tag.get(), "AlbumCover", "\xFF\xD8 broken", 9);
  const Data data = blocks(tag.get());
  ASSERT_EQ(data->count, 2u);
  EXPECT_EQ(block(data, 1).data.picture.width, 0u);
  EXPECT_EQ(block(data, 1).data.picture.data_length, 9u);
}

TEST_F(FlacBlocksMade, HoldNoMoreThanABlockCan) {
  std::string image(16 << 20, 'x');
  image.replace(0, 2, "\xFF\xD8");
  audict_set_data(tag.get(), "AlbumCover", image.data(), image.size());
  EXPECT_EQ(blocks(tag.get())->count, 1u);
  const std::size_t room = (1 << 24) - 1 - 32 - 10;
  audict_set_data(tag.get(), "AlbumCover", image.data(), room);
  EXPECT_EQ(blocks(tag.get())->count, 2u);
  audict_set_data(tag.get(), "AlbumCover", image.data(), room + 1);
  EXPECT_EQ(blocks(tag.get())->count, 1u);
  audict_remove(tag.get(), "AlbumCover");
  for (const char *key : {"Title", "Artist"}) audict_set_string(tag.get(), key, std::string(9 << 20, 'x').c_str());
  EXPECT_EQ(blocks(tag.get()), nullptr);
}

TEST_F(FlacBlocksMade, AreNoneWithoutATag) {
  EXPECT_EQ(autag2_create_data(nullptr, AUTAG2_FLAC), nullptr);
  EXPECT_EQ(autag2_create(nullptr, AUTAG2_FLAC), nullptr);
}

TEST_F(FlacBlocksMade, AreThoseForWhichThereIsMemory) {
  set_cover(tag.get(), jpeg_file(8, 8));
  {
    const CallFailer failer("FLAC__metadata_object_new", 1);
    const Data data = blocks(tag.get());
    ASSERT_EQ(data->count, 1u);
    EXPECT_EQ(block(data, 0).type, FLAC__METADATA_TYPE_PICTURE);
  }
  for (const auto &[call, nth] :
       {std::pair("FLAC__metadata_object_new", 2), {"FLAC__metadata_object_picture_set_data", 1}}) {
    const CallFailer failer(call, nth);
    const Data data = blocks(tag.get());
    ASSERT_EQ(data->count, 1u) << call;
    EXPECT_EQ(block(data, 0).type, FLAC__METADATA_TYPE_VORBIS_COMMENT);
  }
  const CallFailer failer("FLAC__metadata_object_new");
  EXPECT_EQ(blocks(tag.get()), nullptr);
}

TEST_F(FlacBlocksMade, LeaveNothingBehindWhenAllocationsFail) {
  audict_set_string(tag.get(), "Title", std::string(100, 't').c_str());
  set_cover(tag.get(), jpeg_file(8, 8));
  const long before = live_allocations();
  for (int nth = 1;; ++nth) {
    const AllocationFailer failer(nth);
    blocks(tag.get());
    if (!failer.failed()) break;
  }
  EXPECT_EQ(live_allocations(), before);
}

TEST(FlacCreate, GivesTheDictionaryAsAPropertyList) {
  const Ref tag(audict_create());
  audict_set_string(tag.get(), "Title", "Night Train \xC3\xA9");
  audict_set_integer(tag.get(), "Year", 1952, AUDICT_INT32);
  audict_set_boolean(tag.get(), "Compilation", true);
  audict_set_data(tag.get(), "AlbumCover", "\0\1\2", 3);
  const Ref data(autag2_create(tag.get(), AUTAG2_FLAC));
  const std::string bytes = bytes_of(data.get());
  EXPECT_EQ(bytes.substr(0, 8), "bplist00");
  const Ref read(platform::read_property_list({reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size()}));
  EXPECT_TRUE(audict_equal(read.get(), tag.get()));
}

}  // namespace
}  // namespace auspool::testing

#endif
