// What other programs make of our tags, and we of theirs.
#include <gtest/gtest.h>

#include "support/other_programs.h"
#include "support/pictures.h"
#include "support/tag_file.h"
#include "tags/flac/flac.h"

namespace auspool::testing {
namespace {

class FlacAndOthers : public ::testing::Test {
protected:
  void SetUp() override {
    NEED_PROGRAM("ffmpeg");
    NEED_PROGRAM("flac");
  }
  // A second of a tone, as ffmpeg writes it.
  static std::string encoded(const std::string &options) {
    const TempDir folder;
    output_of("ffmpeg -v error -f lavfi -i sine=frequency=440:duration=1 " + options + " " +
              quoted(folder.file("a.flac")));
    return read_file(folder.file("a.flac"));
  }
};

TEST_F(FlacAndOthers, MutagenReadsWhatWeWrite) {
  NEED_MUTAGEN();
  if (!platform::flac_metadata_is_available()) GTEST_SKIP() << "this build has no libFLAC";
  const TagFile file(encoded("-metadata title=old"));
  const Ref tag(audict_create());
  audict_set_string(tag.get(), "Title", "Žluťoučký 😀");
  audict_set_string(tag.get(), "Sidekick", "Various");
  audict_set_integer(tag.get(), "TrackNum", 3, AUDICT_INT32);
  const Bytes cover = png_file(12, 9);
  audict_set_data(tag.get(), "AlbumCover", cover.data(), cover.size());
  const std::string sound = decoded_hash(file.path());
  ASSERT_EQ(file.write(tag.get()), 0);
  EXPECT_EQ(decoded_hash(file.path()), sound);
  EXPECT_EQ(run("flac -s -t " + quoted(file.path())).errors, "");
  EXPECT_EQ(python(R"(
import sys
from mutagen.flac import FLAC
tag = FLAC(sys.argv[1])
picture = tag.pictures[0]
print(tag['title'], tag['albumartist'], tag['tracknumber'], len(tag.pictures))
print(picture.type, picture.mime, picture.width, picture.height, len(picture.data), end=''))",
                   file.path()),
            "['Žluťoučký 😀'] ['Various'] ['3'] 1\n3 image/png 12 9 " + std::to_string(cover.size()));
}

TEST_F(FlacAndOthers, WeReadWhatFfmpegAndMetaflacWrite) {
  NEED_PROGRAM("metaflac");
  const TagFile file(encoded("-metadata title=Night -metadata track=3/12 -metadata date=1952-01-02"));
  const Bytes cover = jpeg_file(20, 10);
  const TempDir folder;
  write_file(folder.file("cover.jpg"), {cover.begin(), cover.end()});
  output_of("metaflac --set-tag='ALBUM ARTIST=Various' --set-tag=MOOD=calm --import-picture-from=" +
            quoted(folder.file("cover.jpg")) + " " + quoted(file.path()));
  const ReadResult read = file.read();
  EXPECT_EQ(read.error, 0);
  EXPECT_EQ(read["Title"], "Night");
  EXPECT_EQ(read["Sidekick"], "Various");
  EXPECT_EQ(read["TrackNum"], "3");
  EXPECT_EQ(read["Year"], "1952");
  EXPECT_EQ(read["AlbumCover"], std::string(cover.begin(), cover.end()));
}

TEST_F(FlacAndOthers, WeReadWhatMutagenWrites) {
  NEED_MUTAGEN();
  const TagFile file(encoded(""));
  python(R"(
import sys, base64
from mutagen.flac import FLAC, Picture
tag = FLAC(sys.argv[1])
picture = Picture()
picture.type, picture.mime, picture.data, picture.width, picture.height = 3, 'image/png', b'cover bytes', 5, 5
tag['METADATA_BLOCK_PICTURE'] = base64.b64encode(picture.write()).decode()
tag['compilation'] = '1'
tag.save())",
         file.path());
  const ReadResult read = file.read();
  EXPECT_EQ(read["AlbumCover"], "cover bytes");
  EXPECT_EQ(read["Compilation"], "1");
}

}  // namespace
}  // namespace auspool::testing
