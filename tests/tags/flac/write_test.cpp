// Rewriting through libFLAC, judged by the blocks and the bytes of the file.
#include <gtest/gtest.h>
#include <sys/mount.h>

#include <cerrno>

#include "support/flac_file.h"
#include "support/flac_rewrites.h"
#include "support/other_programs.h"
#include "support/pictures.h"
#include "support/tag_file.h"
#include "support/watch.h"
#include "tags/flac/flac.h"

namespace auspool::testing {
namespace {

const std::string kInfo = flac_block(kStreamInfo, stream_info());
const std::string kOldComments = vorbis_comments({"TITLE=old", "MOOD=calm"}, "someone");
const std::string kComments = flac_block(kVorbisComment, kOldComments);
const std::string kLastComments = flac_block(kVorbisComment, kOldComments, true);

std::vector<int> types_of(const std::string &file) {
  std::vector<int> types;
  for (const FoundBlock &block : blocks_of(file)) types.push_back(block.type);
  return types;
}

class FlacRewrite : public ::testing::Test {
protected:
  void SetUp() override {
    if (!platform::flac_metadata_is_available()) GTEST_SKIP() << "this build has no libFLAC";
    audict_set_string(tag.get(), "Title", "Night Train");
  }
  void set_cover(const Bytes &image) { audict_set_data(tag.get(), "AlbumCover", image.data(), image.size()); }

  // A rewrite that fails with this code while the nth such call fails, and leaves the file as it was.
  void expect_failure(const char *call, int nth, std::int32_t code) {
    const TagFile file(flac_file({kInfo, kComments, flac_block(kPadding, std::string(5000, '\0'), true)}));
    const std::string before = file.bytes();
    const CallFailer failer(call, nth);
    EXPECT_EQ(file.write(tag.get()), code) << call;
    EXPECT_EQ(failer.failures(), 1) << call;
    EXPECT_EQ(file.bytes(), before) << call;
  }

  const Ref tag{audict_create()};
};

TEST_F(FlacRewrite, ReplacesCommentsAndPicturesAndKeepsAllElse) {
  set_cover(jpeg_file(8, 8));
  const TagFile file(
      flac_file({kInfo, flac_block(kPicture, flac_picture(0, "old")), flac_block(kApplication, "testx"), kComments,
                 flac_block(kPicture, flac_picture(3, "older")), flac_block(kCueSheet, std::string(396, '\0'), true)},
                500));
  const std::string before = file.bytes();
  ASSERT_EQ(file.write(tag.get()), 0);
  const std::string after = file.bytes();
  const std::vector<int> types = types_of(after);
  ASSERT_GE(types.size(), 5u);
  EXPECT_EQ(std::vector<int>(types.begin(), types.begin() + 5),
            (std::vector<int>{kStreamInfo, kVorbisComment, kPicture, kApplication, kCueSheet}));
  EXPECT_EQ(blocks_of(after)[0].data, blocks_of(before)[0].data);
  EXPECT_EQ(blocks_of(after)[3].data, "testx");
  EXPECT_EQ(audio_of(after), audio_of(before));
  const ReadResult read = file.read();
  EXPECT_EQ(read["Title"], "Night Train");
  EXPECT_EQ(audict_count(audict_get(read.dict.get(), "BinaryBlobs")), 0u) << "unknown comments are not kept";
  const Bytes cover = jpeg_file(8, 8);
  EXPECT_EQ(read["AlbumCover"], std::string(cover.begin(), cover.end()));
}

TEST_F(FlacRewrite, FitsIntoPaddingWithoutMovingAByte) {
  const TagFile file(flac_file({kInfo, kComments, flac_block(kPadding, std::string(2000, '\0'), true)}, 500));
  const std::string before = file.bytes();
  for (const std::size_t length : {1u, 1500u, 10u}) {
    audict_set_string(tag.get(), "Title", std::string(length, 't').c_str());
    ASSERT_EQ(file.write(tag.get()), 0);
    EXPECT_EQ(file.bytes().size(), before.size());
    EXPECT_EQ(types_of(file.bytes()), (std::vector<int>{kStreamInfo, kVorbisComment, kPadding}));
  }
  EXPECT_EQ(audio_of(file.bytes()), audio_of(before));
}

TEST_F(FlacRewrite, WritesTheFileAnewWhereItDoesNotFit) {
  const TagFile file(flac_file({kInfo, kLastComments}, 500));
  const std::string before = file.bytes();
  audict_set_string(tag.get(), "Title", std::string(5000, 't').c_str());
  ASSERT_EQ(file.write(tag.get()), 0);
  EXPECT_GT(file.bytes().size(), before.size() + 4000);
  EXPECT_EQ(audio_of(file.bytes()), audio_of(before));
  EXPECT_EQ(file.read()["Title"], std::string(5000, 't'));
}

TEST_F(FlacRewrite, OfAGifWritesCommentsWithoutAPicture) {
  audict_set_data(tag.get(), "AlbumCover", "GIF89a and more", 15);
  const TagFile file(flac_file({kInfo, flac_block(kPicture, flac_picture(3, "old"), true)}));
  ASSERT_EQ(file.write(tag.get()), 0);
  for (const int type : types_of(file.bytes())) EXPECT_NE(type, kPicture);
  EXPECT_EQ(file.read()["Title"], "Night Train");
}

// The library names itself as the vendor.
TEST_F(FlacRewrite, ReadsBackWithTheVendorAsEncoder) {
  const TagFile file(flac_file({kInfo, kLastComments}));
  ASSERT_EQ(file.write(tag.get()), 0);
  EXPECT_TRUE(file.read()["Encoder"].starts_with("reference libFLAC")) << file.read()["Encoder"];
  audict_set_string(tag.get(), "Encoder", "me");
  ASSERT_EQ(file.write(tag.get()), 0);
  EXPECT_EQ(file.read()["Encoder"], "me");
}

TEST_F(FlacRewrite, WritesNumbersOf0AndEmptyTexts) {
  audict_set_integer(tag.get(), "TrackNum", 0, AUDICT_INT32);
  audict_set_string(tag.get(), "Comment", "");
  audict_set_string(tag.get(), "Sidekick", "Various");
  const TagFile file(flac_file({kInfo, kLastComments}));
  ASSERT_EQ(file.write(tag.get()), 0);
  const std::string comments = blocks_of(file.bytes()).at(1).data;
  EXPECT_NE(comments.find("TRACKNUMBER=0"), std::string::npos);
  EXPECT_NE(comments.find("COMMENT="), std::string::npos);
  EXPECT_NE(comments.find("ALBUMARTIST=Various"), std::string::npos);
  EXPECT_EQ(comments.find("ALBUM ARTIST"), std::string::npos);
  EXPECT_EQ(file.read()["TrackNum"], "0");
  EXPECT_EQ(file.read()["Comment"], "none") << "an empty text is not read";
}

TEST_F(FlacRewrite, OfAFileWithoutABlockBehindTheFirstWorks) {
  const TagFile file(flac_file({flac_block(kStreamInfo, stream_info(), true)}, 500));
  ASSERT_EQ(file.write(tag.get()), 0);
  EXPECT_EQ(file.read()["Title"], "Night Train");
}

TEST_F(FlacRewrite, FailsWithTheCodeOfItsStep) {
  set_cover(jpeg_file(8, 8));
  expect_failure("FLAC__metadata_object_new", 1, AUTAG2_EUNK);
  expect_failure("FLAC__metadata_chain_new", 1, AUTAG2_EMEM);
  expect_failure("FLAC__metadata_chain_read", 1, AUTAG2_EPRS);
  expect_failure("FLAC__metadata_iterator_new", 1, AUTAG2_EMEM);
  expect_failure("FLAC__metadata_iterator_delete_block", 1, AUTAG2_EUNK);
  expect_failure("FLAC__metadata_iterator_insert_block_after", 1, AUTAG2_EUNK);
  expect_failure("FLAC__metadata_iterator_insert_block_after", 2, AUTAG2_EUNK);
  expect_failure("FLAC__metadata_chain_write", 1, AUTAG2_EUNK);
}

TEST_F(FlacRewrite, LeavesWhatItCannotRead) {
  for (const std::string &bytes :
       {std::string("fLaC"), "fLaC" + kComments, flac_file({kInfo, kLastComments}).substr(0, 60)}) {
    const TagFile file(bytes);
    EXPECT_EQ(file.write(tag.get()), AUTAG2_EPRS);
    EXPECT_EQ(file.bytes(), bytes);
  }
  const TagFile file(flac_file({kInfo, kLastComments}));
  const std::string before = file.bytes();
  EXPECT_EQ(file.write(nullptr), AUTAG2_EUNK);
  EXPECT_EQ(file.bytes(), before);
  EXPECT_EQ(autag2_write("/no/such/file.flac", tag.get()), ENOENT);
}

TEST_F(FlacRewrite, OnAFullDiskLeavesTheFileAsItWas) {
  const TempDir folder;
  const std::string disk = folder.path().string();
  if (mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=64k") != 0) GTEST_SKIP() << "mounting is not allowed here";
  const std::string path = disk + "/a.flac", before = flac_file({kInfo, kLastComments}, 40000);
  write_file(path, before);
  audict_set_string(tag.get(), "Title", std::string(20000, 't').c_str());
  EXPECT_EQ(autag2_write(path.c_str(), tag.get()), AUTAG2_EUNK);
  EXPECT_EQ(read_file(path), before);
  umount(disk.c_str());
}

TEST_F(FlacRewrite, KeepsTheSoundWhateverTheFileAndTheTag) {
  NEED_PROGRAM("flac");
  rewrite_flac_at_random(40, 3);
}

TEST(FlacWithoutItsLibrary, FilesAreReadButNotRewritten) {
  if (platform::flac_metadata_is_available()) GTEST_SKIP() << "this build has libFLAC";
  const TagFile file(flac_file({kInfo, kLastComments}));
  EXPECT_EQ(file.read()["Title"], "old");
  EXPECT_EQ(file.write(Ref(audict_create()).get()), AUTAG2_EIMP);
  EXPECT_EQ(autag2_create_data(Ref(audict_create()).get(), AUTAG2_FLAC), nullptr);
}

}  // namespace
}  // namespace auspool::testing
