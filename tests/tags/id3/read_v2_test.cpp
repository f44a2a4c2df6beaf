#include <gtest/gtest.h>

#include "auspool/autag2.h"
#include "support/id3.h"
#include "support/tag_file.h"

namespace auspool::tags {
namespace {

using namespace auspool::testing;

// A text frame in Latin-1.
std::string text(int major, const std::string &id, const std::string &latin1) {
  return id3_frame(major, id, '\0' + latin1);
}

TEST(Id3v2, GivesEveryTextUnderItsKeyInEveryVersion) {
  const struct {
    const char *id, *id_2_2, *key;
  } rows[] = {{"TALB", "TAL", "Album"},    {"TPE1", "TP1", "Artist"},          {"TPE2", "TP2", "Sidekick"},
              {"TIT2", "TT2", "Title"},    {"TENC", "TEN", "Encoder"},         {"TCOM", "TCM", "Composer"},
              {"TIT1", "TT1", "Grouping"}, {"TSSE", "TSS", "EncoderSettings"}, {"TCON", "TCO", "Genre"}};
  for (const int major : {2, 3, 4}) {
    for (const auto &row : rows) {
      const auto tag = read_tag(id3_tag(major, text(major, major == 2 ? row.id_2_2 : row.id, "some text")));
      EXPECT_EQ(tag.error, 0);
      EXPECT_EQ(tag[row.key], "some text") << row.id << " in version " << major;
      EXPECT_EQ(audict_count(tag.dict.get()), 1u);
    }
  }
}

TEST(Id3v2, GivesEveryNumberUnderItsKeyInEveryVersion) {
  const struct {
    const char *id, *id_2_2, *key;
  } rows[] = {{"TYER", "TYE", "Year"}, {"TBPM", "TBP", "BPM"}, {"TRCK", "TRK", "TrackNum"}, {"TPOS", "TPA", "DiscNum"}};
  for (const int major : {2, 3, 4}) {
    for (const auto &row : rows) {
      const auto tag = read_tag(id3_tag(major, text(major, major == 2 ? row.id_2_2 : row.id, "12")));
      EXPECT_EQ(tag[row.key], "12") << row.id << " in version " << major;
      EXPECT_EQ(audict_number_type_of(audict_get(tag.dict.get(), row.key)), AUDICT_INT32);
    }
  }
}

TEST(Id3v2, GivesTheOtherFramesOfVersion22) {
  const std::string image(20, 'i');
  const auto tag = read_tag(id3_tag(2, text(2, "TCP", "1") + id3_frame(2, "COM", "\0eng\0comment"s) +
                                           id3_frame(2, "ULT", "\0eng\0lyrics"s) + id3_frame(2, "PCS", "\0\0\0\0"s) +
                                           id3_frame(2, "PIC", "\0PNG\3\0"s + image)));
  EXPECT_EQ(tag["Compilation"], "true");
  EXPECT_EQ(tag["Comment"], "comment");
  EXPECT_EQ(tag["Lyrics"], "lyrics");
  EXPECT_EQ(tag["ID3Podcast"], "true");
  EXPECT_EQ(tag["AlbumCover"], image);
}

TEST(Id3v2, RefusesVersionsBelow2) {
  for (const int major : {0, 1, 128, 255}) {
    const auto tag = read_tag(id3_tag(major, text(3, "TIT2", "title")));
    EXPECT_EQ(tag.error, AUTAG2_ETAG) << major;
    EXPECT_EQ(tag.dict, nullptr) << major;
  }
  EXPECT_EQ(read_tag(id3_tag(127, text(4, "TIT2", "title")))["Title"], "title");
}

TEST(Id3v2, RefusesFlagsOtherThanThatOfAnExtendedHeader) {
  for (const int major : {2, 3, 4}) {
    for (const int flag : {0x80, 0x20, 0x10, 0x08, 0x04, 0x02, 0x01, 0xC0}) {
      const auto tag = read_tag(id3_tag(major, text(major, "TIT2", "title"), static_cast<std::uint8_t>(flag)));
      EXPECT_EQ(tag.error, AUTAG2_ETAG) << major << " " << flag;
      EXPECT_EQ(tag.dict, nullptr);
    }
  }
}

TEST(Id3v2, SkipsAnExtendedHeaderByItsSyncsafeSizeAnd4InEveryVersion) {
  for (const int major : {2, 3, 4}) {
    const std::string extended = syncsafe(6) + std::string(6, 'x');
    const auto tag = read_tag(id3_tag(major, extended + text(major, major == 2 ? "TT2" : "TIT2", "title"), 0x40));
    EXPECT_EQ(tag.error, 0);
    EXPECT_EQ(tag["Title"], "title") << major;
  }
}

TEST(Id3v2, FindsNothingBehindAnExtendedHeaderThatFillsTheTag) {
  for (const std::string &extended : {syncsafe(1000) + text(3, "TIT2", "title"), "\0\0"s}) {
    const auto tag = read_tag(id3_tag(3, extended, 0x40));
    EXPECT_EQ(tag.error, 0);
    EXPECT_EQ(audict_count(tag.dict.get()), 0u);
  }
}

TEST(Id3v2, OfSize0IsAParseError) {
  const auto tag = read_tag(id3_tag(3, "") + silent_mp3(2));
  EXPECT_EQ(tag.error, AUTAG2_EPRS);
  EXPECT_EQ(tag.dict, nullptr);
}

TEST(Id3v2, ThatRunsPastTheFileIsAParseError) {
  const auto tag = read_tag(id3_tag(3, text(3, "TIT2", "title"), 0, 17));
  EXPECT_EQ(tag.error, AUTAG2_EPRS);
  EXPECT_EQ(tag.dict, nullptr);
}

TEST(Id3v2, OfAFileThatEndsInTheHeaderIsAReadError) {
  const auto tag = read_tag("ID3\3\0\0\0\0\0"s);
  EXPECT_EQ(tag.error, EIO);
  EXPECT_EQ(tag.dict, nullptr);
}

TEST(Id3v2, WithoutKnownFramesIsAnEmptyDictionary) {
  const auto tag = read_tag(id3_with("TXXX", "\0key\0value"s));
  EXPECT_EQ(tag.error, 0);
  ASSERT_NE(tag.dict, nullptr);
  EXPECT_EQ(audict_count(tag.dict.get()), 0u);
}

TEST(Id3v2, KeepsWhatStandsBeforeABrokenFrame) {
  const auto tag =
      read_tag(id3_tag(3, text(3, "TIT2", "title") + id3_frame(3, "TALB", "\0a"s, 5000) + text(3, "TPE1", "artist")));
  EXPECT_EQ(tag.error, 0);
  EXPECT_EQ(tag["Title"], "title");
  EXPECT_EQ(tag["Artist"], "none");
}

TEST(Id3v2, OfTwoLikeFramesTheLastWins) {
  EXPECT_EQ(read_tag(id3_tag(3, text(3, "TIT2", "one") + text(3, "TIT2", "two")))["Title"], "two");
}

TEST(Id3v2, IgnoresTextFramesWithoutText) {
  const std::string good = text(3, "TIT2", "title");
  for (const std::string &empty : {"\0"s, "\0\0"s, "\7text"s, "\3\xFF\xFF"s}) {
    EXPECT_EQ(read_tag(id3_tag(3, good + id3_frame(3, "TIT2", empty)))["Title"], "title");
  }
}

TEST(Id3v2, IgnoresTheFlagsOfFrames) {
  std::string frame = text(4, "TIT2", "title");
  frame.replace(8, 2, "\x40\x0F");
  EXPECT_EQ(read_tag(id3_tag(4, frame))["Title"], "title");
}

TEST(Genre, IsTheNameOfANumberInParentheses) {
  const struct {
    const char *text, *genre;
  } rows[] = {
      {"(17)", "Rock"},     {"(17)Rock and Roll", "Rock"},
      {"( 17)", "Rock"},    {"(191)", "Psybient"},
      {"(192)", "(192)"},   {"(300)", "(300)"},
      {"(-1)", "(-1)"},     {"(99999999999999999999)", "(99999999999999999999)"},
      {"17", "17"},         {"Rock", "Rock"},
      {"(RX)", "Blues"},    {"(", "Blues"},
      {"\xE9(17)", "Rock"}, {" (17)", " (17)"},
  };
  for (const auto &row : rows) EXPECT_EQ(read_tag(id3_with("TCON", "\0"s + row.text))["Genre"], row.genre) << row.text;
}

TEST(Year, ComesFromTdrcOfVersion4Alone) {
  EXPECT_EQ(read_tag(id3_tag(3, text(3, "TDRC", "1999")))["Year"], "none");
  EXPECT_EQ(read_tag(id3_tag(4, text(4, "TDRC", "1999-04-01T12:00")))["Year"], "1999");
}

TEST(Year, OfTyerAndTdrcTheLaterInTheFileWins) {
  EXPECT_EQ(read_tag(id3_tag(4, text(4, "TYER", "1990") + text(4, "TDRC", "1999")))["Year"], "1999");
  EXPECT_EQ(read_tag(id3_tag(4, text(4, "TDRC", "1999") + text(4, "TYER", "1990")))["Year"], "1990");
}

TEST(Number, IsWhatTheTextBeginsWithWhenAbove0) {
  const struct {
    const char *text, *number;
  } rows[] = {{"120", "120"}, {" 120", "120"},  {"+120", "120"},     {"120.7", "120"}, {"120 bpm", "120"},
              {"0", "none"},  {"-120", "none"}, {"bpm 120", "none"}, {"+-3", "none"},  {"99999999999", "2147483647"}};
  for (const auto &row : rows) EXPECT_EQ(read_tag(id3_with("TBPM", "\0"s + row.text))["BPM"], row.number) << row.text;
}

TEST(Compilation, IsTrueForANumberAbove0) {
  EXPECT_EQ(read_tag(id3_with("TCMP", "\0001"s))["Compilation"], "true");
  EXPECT_EQ(read_tag(id3_with("TCMP", "\0000"s))["Compilation"], "none");
  EXPECT_EQ(read_tag(id3_with("TCMP", "\0yes"s))["Compilation"], "none");
}

TEST(Position, HasATotalThatIsNotBelowIt) {
  const struct {
    const char *text, *number, *total;
  } rows[] = {{"3/12", "3", "12"},  {"12/3", "12", "none"},   {"0/3", "none", "none"}, {"3/3", "3", "3"},
              {"3", "3", "none"},   {"/12", "none", "none"},  {"3/", "3", "none"},     {" 3 / 12 ", "3", "12"},
              {"3/x", "3", "none"}, {"-3/12", "none", "none"}};
  for (const auto &row : rows) {
    const auto tag = read_tag(id3_tag(3, text(3, "TRCK", row.text) + text(3, "TPOS", row.text)));
    EXPECT_EQ(tag["TrackNum"], row.number) << row.text;
    EXPECT_EQ(tag["TrackTotal"], row.total) << row.text;
    EXPECT_EQ(tag["DiscNum"], row.number) << row.text;
    EXPECT_EQ(tag["DiscTotal"], row.total) << row.text;
  }
}

TEST(Position, TakesCharactersBeyondAsciiAsSpaces) {
  EXPECT_EQ(read_tag(id3_with("TRCK",
                              "\0\xA0"
                              "3/\xA0"
                              "12"s))["TrackTotal"],
            "12");
}

// Encoding, language, description and text of a comment or lyrics.
std::string described(std::uint8_t encoding, const std::string &description, const std::string &body) {
  return std::string(1, static_cast<char>(encoding)) + "eng" + description + body;
}

TEST(Comment, IsTheTextBehindTheDescriptionInEveryEncoding) {
  const struct {
    const char *name;
    std::string data;
  } rows[] = {
      {"Latin-1", described(0, "note\0"s, "text!")},
      {"UTF-16", described(1, "\xFF\xFEn\0\0\0"s, "\xFF\xFEt\0e\0x\0t\0!\0"s)},
      {"UTF-16 with an empty description", described(1, "\xFF\xFE\0\0"s, "\xFF\xFEt\0e\0x\0t\0!\0"s)},
      {"UTF-16 big-endian", described(2, "\0n\0\0"s, "\0t\0e\0x\0t\0!"s)},
      {"UTF-8", described(3, "note\0"s, "text!")},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(read_tag(id3_with("COMM", row.data))["Comment"], "text!") << row.name;
    EXPECT_EQ(read_tag(id3_with("USLT", row.data))["Lyrics"], "text!") << row.name;
  }
}

TEST(Comment, OfThreeLettersAndNoDescriptionIsTooShort) {
  EXPECT_EQ(read_tag(id3_with("COMM", described(0, "\0"s, "abc")))["Comment"], "none");
  EXPECT_EQ(read_tag(id3_with("COMM", described(0, "\0"s, "abcd")))["Comment"], "abcd");
  EXPECT_EQ(read_tag(id3_with("USLT", described(3, "\0"s, "abc")))["Lyrics"], "none");
  EXPECT_EQ(read_tag(id3_with("COMM", described(2, "\0\0"s, "\0a"s)))["Comment"], "none") << "4 behind the language";
  EXPECT_EQ(read_tag(id3_with("COMM", described(2, "\0\0"s, "\0a\0b"s)))["Comment"], "ab") << "6";
  EXPECT_EQ(read_tag(id3_with("COMM", "\0en"s))["Comment"], "none");
}

TEST(Comment, OfAProgramIsDropped) {
  const auto comment = [](const std::string &data) { return read_tag(id3_with("COMM", data))["Comment"]; };
  EXPECT_EQ(comment(described(0, "iTunNORM\0"s, "text")), "none");
  EXPECT_EQ(comment(described(3, "iTun\0"s, "text")), "none");
  EXPECT_EQ(comment(described(0, "my iTun\0"s, "text")), "text") << "not at the start";
  EXPECT_EQ(comment(described(0, "ID3v1 CDDB\0"s, "text")), "none");
  EXPECT_EQ(comment(described(0, "\0"s, "a CDD b")), "none");
  EXPECT_EQ(comment(described(0, "\0"s, "text\0CDD"s)), "text") << "behind the NUL that ends the text";
  EXPECT_EQ(comment(described(0, "C\0"s, "DD and text")), "DD and text") << "not across the NUL";
  EXPECT_EQ(comment(described(1, "\xFF\xFEi\0T\0u\0n\0\0\0"s, "\xFF\xFEx\0"s)), "x")
      << "wide encodings are not looked at";
  EXPECT_EQ(comment(described(2, "iTun\0\0"s, "CDDx")), "\u4344\u4478") << "Chinese characters of these bytes";
  EXPECT_EQ(read_tag(id3_with("USLT", described(0, "iTunes\0"s, "CDD")))["Lyrics"], "CDD") << "nor are lyrics";
}

TEST(Comment, NeedsADescriptionThatEnds) {
  EXPECT_EQ(read_tag(id3_with("COMM", described(0, "", "abcdefgh")))["Comment"], "none");
  EXPECT_EQ(read_tag(id3_with("COMM", described(1, "",
                                                "\xFF\xFE"
                                                "abcdef")))["Comment"],
            "none");
  EXPECT_EQ(read_tag(id3_with("COMM", described(9, "\0"s, "abcdefgh")))["Comment"], "none");
}

TEST(Cover, IsTheFirstFrontCoverOrElseTheFirstPicture) {
  const std::string a(20, 'a'), b(20, 'b'), c(20, 'c');
  const auto cover = [](std::initializer_list<std::pair<std::uint8_t, std::string>> pictures) {
    std::string frames;
    for (const auto &[type, image] : pictures) frames += id3_frame(3, "APIC", apic_data(type, image));
    return read_tag(id3_tag(3, frames))["AlbumCover"];
  };
  EXPECT_EQ(cover({{0, a}, {3, b}}), b);
  EXPECT_EQ(cover({{3, a}, {0, b}}), a);
  EXPECT_EQ(cover({{0, a}, {0, b}}), a);
  EXPECT_EQ(cover({{3, a}, {3, b}}), a);
  EXPECT_EQ(cover({{4, a}, {3, b}, {3, c}}), b);
}

TEST(Cover, OfLessThan17BytesIsIgnored) {
  EXPECT_EQ(read_tag(id3_with("APIC", apic_data(3, std::string(16, 'x'))))["AlbumCover"], "none");
  EXPECT_EQ(read_tag(id3_with("APIC", apic_data(3, std::string(17, 'x'))))["AlbumCover"], std::string(17, 'x'));
}

TEST(Cover, StandsBehindADescriptionInItsEncoding) {
  const std::string image(20, 'i');
  EXPECT_EQ(read_tag(id3_with("APIC", "\0image/png\0\3front\0"s + image))["AlbumCover"], image);
  EXPECT_EQ(read_tag(id3_with("APIC", "\3image/png\0\3front\0"s + image))["AlbumCover"], image);
  EXPECT_EQ(read_tag(id3_with("APIC",
                              "\1image/png\0\3\xFF\xFE"
                              "f\0\0\0"s +
                                  image))["AlbumCover"],
            image);
  EXPECT_EQ(read_tag(id3_with("APIC", "\2image/png\0\3\0f\0\0"s + image))["AlbumCover"], image);
  EXPECT_EQ(read_tag(id3_with("APIC", "\1\0\3\0\0"s + image))["AlbumCover"], image) << "no MIME type";
}

TEST(Cover, OfABrokenFrameIsNone) {
  for (const std::string &data : {"\0"s, "\0image"s, "\0image\0"s, "\0image\0\3"s, "\0image\0\3description"s}) {
    EXPECT_EQ(read_tag(id3_with("APIC", data + std::string(30, 'x')))["AlbumCover"], "none") << data;
  }
  EXPECT_EQ(read_tag(id3_tag(2, id3_frame(2, "PIC", "\0PN"s)))["AlbumCover"], "none");
  EXPECT_EQ(read_tag(id3_tag(2, id3_frame(2, "PIC", "\0PNG"s)))["AlbumCover"], "none");
}

TEST(Podcast, IsAFrameOfAtLeast4Bytes) {
  EXPECT_EQ(read_tag(id3_with("PCST", "\0\0\0\0"s))["ID3Podcast"], "true");
  EXPECT_EQ(read_tag(id3_with("PCST", "\0\0\0"s))["ID3Podcast"], "none");
}

TEST(TrackLength, IsNotRead) {
  EXPECT_EQ(audict_count(read_tag(id3_with("TLEN", "\0001000"s)).dict.get()), 0u);
}

}  // namespace
}  // namespace auspool::tags
