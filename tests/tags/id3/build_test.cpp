#include <gtest/gtest.h>

#include <limits>

#include "auspool/autag2.h"
#include "support/id3.h"
#include "support/tag_file.h"
#include "support/watch.h"
#include "tags/id3/id3.h"

namespace auspool::tags {
namespace {

using namespace auspool::testing;

// A tag with one value, of any kind.
Ref tag_with(const char *key, Ref value) {
  Ref tag = make_dictionary();
  set(*tag, key, std::move(value));
  return tag;
}

std::string built(const audict *tag) {
  const Ref data(autag2_create(tag, AUTAG2_MP3));
  return bytes_of(data.get());
}

std::string built(const char *key, Ref value) {
  return built(tag_with(key, std::move(value)).get());
}

Ref number(std::int64_t value) {
  return make_integer(value, AUDICT_INT64);
}

const std::string kEmpty = id3_tag(3, "");

TEST(Id3Build, OfNothingIsAHeaderOfSize0) {
  EXPECT_EQ(built(nullptr), "ID3\3\0\0\0\0\0\0"s);
  EXPECT_EQ(built(make_dictionary().get()), kEmpty);
  EXPECT_EQ(built("NoSuchKey", make_string("x")), kEmpty);
}

TEST(Id3Build, WritesEveryTextInItsFrame) {
  const struct {
    const char *key, *id;
  } rows[] = {{"Title", "TIT2"},    {"Artist", "TPE1"},   {"Sidekick", "TPE2"},
              {"Album", "TALB"},    {"Genre", "TCON"},    {"Encoder", "TENC"},
              {"Grouping", "TIT1"}, {"Composer", "TCOM"}, {"EncoderSettings", "TSSE"}};
  for (const auto &row : rows) {
    EXPECT_EQ(built(row.key, make_string("Caf\u00E9")), id3_with(row.id, "\0Caf\xE9"s)) << row.key;
    EXPECT_EQ(built(row.key, make_string("Ž")), id3_with(row.id, "\1\xFF\xFE\x7D\x01")) << row.key;
    EXPECT_EQ(built(row.key, make_string("")), kEmpty) << row.key;
    EXPECT_EQ(built(row.key, number(1)), kEmpty) << row.key << " of another kind";
  }
}

TEST(Id3Build, WritesCommentAndLyricsWithAnEmptyDescription) {
  for (const auto &[key, id] : {std::pair{"Comment", "COMM"}, {"Lyrics", "USLT"}}) {
    EXPECT_EQ(built(key, make_string("text")), id3_with(id, "\0eng\0text"s));
    EXPECT_EQ(built(key, make_string("Ž")), id3_with(id, "\1eng\xFF\xFE\0\0\xFF\xFE\x7D\x01"s));
    EXPECT_EQ(built(key, make_string("")), kEmpty);
  }
}

TEST(Id3Build, WritesNumbersAlsoOf0AndBelow) {
  for (const auto &[key, id] : {std::pair{"Year", "TYER"}, {"BPM", "TBPM"}, {"TrackLength", "TLEN"}}) {
    EXPECT_EQ(built(key, number(1234567)), id3_with(id, "\0001234567"s)) << "no grouping";
    EXPECT_EQ(built(key, number(0)), id3_with(id, "\0000"s));
    EXPECT_EQ(built(key, number(-5)), id3_with(id, "\0-5"s));
    EXPECT_EQ(built(key, make_string("1999")), kEmpty) << "text is no number";
    EXPECT_EQ(built(key, make_boolean(true)), kEmpty);
  }
}

TEST(Id3Build, RoundsFloatsWithHalvesToTheEven) {
  EXPECT_EQ(built("BPM", make_float(120.5)), id3_with("TBPM", "\000120"s));
  EXPECT_EQ(built("BPM", make_float(121.5)), id3_with("TBPM", "\000122"s));
  EXPECT_EQ(built("BPM", make_float(std::numeric_limits<double>::infinity())), kEmpty);
  EXPECT_EQ(built("BPM", make_float(std::numeric_limits<double>::quiet_NaN())), kEmpty);
}

TEST(Id3Build, WritesACompilationForBooleanTrueAlone) {
  EXPECT_EQ(built("Compilation", make_boolean(true)), id3_with("TCMP", "\0001"s));
  EXPECT_EQ(built("Compilation", make_boolean(false)), kEmpty);
  EXPECT_EQ(built("Compilation", number(1)), kEmpty);
}

TEST(Id3Build, WritesAPositionFrom1OnWithAnyTotalFrom1On) {
  const auto position = [](std::int64_t at, std::int64_t total) {
    const Ref tag = make_dictionary();
    set(*tag, "TrackNum", number(at));
    set(*tag, "TrackTotal", number(total));
    return built(tag.get());
  };
  EXPECT_EQ(position(3, 12), id3_with("TRCK", "\0003/12"s));
  EXPECT_EQ(position(12, 3), id3_with("TRCK", "\00012/3"s)) << "a total below";
  EXPECT_EQ(position(3, 0), id3_with("TRCK", "\0003"s));
  EXPECT_EQ(position(0, 12), kEmpty);
  EXPECT_EQ(position(-1, 12), kEmpty);
  EXPECT_EQ(built("TrackNum", number(3)), id3_with("TRCK", "\0003"s));
  EXPECT_EQ(built("TrackTotal", number(3)), kEmpty);
  EXPECT_EQ(built("DiscNum", number(2)), id3_with("TPOS", "\0002"s));
}

TEST(Id3Build, WritesThePodcastFramesForAnyValue) {
  const std::string frames = id3_frame(3, "PCST", "\0\0\0\0"s) + id3_frame(3, "WFD ", "\0\0"s);
  EXPECT_EQ(built("ID3Podcast", make_boolean(true)), id3_tag(3, frames));
  EXPECT_EQ(built("ID3Podcast", make_boolean(false)), id3_tag(3, frames));
  EXPECT_EQ(built("ID3Podcast", make_string("")), id3_tag(3, frames));
}

TEST(Id3Build, WritesACoverAsPictureType0WithTheMimeTypeOfItsFirstBytes) {
  const struct {
    std::string image;
    const char *mime;
  } rows[] = {{"\x89PNG", "image/png"}, {"\xFF\xD8\xFF\xE0", "image/jpeg"}, {"GIF8", "image/gif"},
              {"II*\0"s, "image/tiff"}, {"MM\0*"s, "image/tiff"},           {"BMxx", "image/"}};
  for (const auto &row : rows) {
    Bytes bytes(row.image.begin(), row.image.end());
    EXPECT_EQ(built("AlbumCover", make_data(std::move(bytes))),
              id3_with("APIC", '\0' + std::string(row.mime) + "\0\0\0"s + row.image));
  }
  EXPECT_EQ(built("AlbumCover", make_data({1, 2, 3})), kEmpty) << "too short";
  EXPECT_EQ(built("AlbumCover", make_string("\u00FFtext")), kEmpty);
}

TEST(Id3Build, PutsTheFramesInAFixedOrder) {
  const Ref tag = make_dictionary();
  for (const char *key : {"Lyrics", "Comment", "EncoderSettings", "Composer", "Grouping", "Encoder", "Genre", "Album",
                          "Sidekick", "Artist", "Title"}) {
    set(*tag, key, make_string("text"));
  }
  for (const char *key : {"DiscNum", "TrackNum", "TrackLength", "BPM", "Year"}) set(*tag, key, number(1));
  for (const char *key : {"ID3Podcast", "Compilation"}) set(*tag, key, make_boolean(true));
  set(*tag, "AlbumCover", make_data(Bytes(20, 'i')));
  const std::string bytes = built(tag.get());
  std::size_t last = 0;
  for (const char *id : {"TIT2", "TPE1", "TPE2", "TALB", "TCON", "TENC", "TIT1", "TCOM", "TSSE", "COMM",
                         "USLT", "TYER", "TBPM", "TLEN", "TCMP", "TRCK", "TPOS", "PCST", "WFD ", "APIC"}) {
    const std::size_t at = bytes.find(id);
    ASSERT_NE(at, std::string::npos) << id;
    EXPECT_GT(at, last) << id;
    last = at;
  }
}

TEST(Id3Build, GivesNothingForATagBeyond28Bits) {
  const Ref tag = tag_with("AlbumCover", make_data(Bytes(256 << 20)));
  EXPECT_EQ(autag2_create(tag.get(), AUTAG2_MP3), nullptr);
  const TagFile file(silent_mp3(3));
  EXPECT_EQ(file.write(tag.get()), AUTAG2_EUNK);
  EXPECT_EQ(file.bytes(), silent_mp3(3));
}

TEST(Id3Build, LeavesNothingBehindWhenMemoryRunsOut) {
  const Ref tag = tag_with("Title", make_string("Žluťoučký"));
  set(*tag, "Comment", make_string("text"));
  set(*tag, "AlbumCover", make_data(Bytes(500, 'i')));
  EXPECT_GT(fail_each_allocation([&] { return Ref(autag2_create(tag.get(), AUTAG2_MP3)) != nullptr; }), 3);
}

}  // namespace
}  // namespace auspool::tags
