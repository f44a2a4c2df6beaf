#include "tags/id3/text.h"

#include <gtest/gtest.h>

#include "support/id3.h"

namespace auspool::tags {
namespace {

using namespace auspool::testing;

std::span<const std::uint8_t> view(const std::string &bytes) {
  return {reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size()};
}

TEST(TagString, ReadsEveryEncodingUpToItsNulOrTheEnd) {
  const struct {
    const char *name;
    std::uint8_t encoding;
    std::string bytes;
    std::optional<std::string> text;
  } rows[] = {
      {"Latin-1", 0, "Caf\xE9", "Café"},
      {"Latin-1 up to a NUL", 0, "Caf\xE9\0junk"s, "Café"},
      {"control characters of Latin-1", 0, "\x80", "\u0080"},
      {"UTF-16, little-endian by its mark", 1, "\xFF\xFEH\0\xE9\0"s, "Hé"},
      {"UTF-16, big-endian by its mark", 1, "\xFE\xFF\0H\0\xE9"s, "Hé"},
      {"UTF-16 without a mark is big-endian", 1, "\0H\0i"s, "Hi"},
      {"UTF-16 up to a zero unit", 1, "\xFF\xFEH\0\0\0x\0"s, "H"},
      {"a zero byte at an odd place ends nothing", 1, "\xFE\xFF\x48\0\0H"s, "\u4800H"},
      {"UTF-16 of one half character loses it", 1, "\xFF\xFEH\0\x41"s, "H"},
      {"a mark alone is the empty string", 1, "\xFF\xFE", ""},
      {"a surrogate pair", 1, "\xFF\xFE\x3D\xD8\x00\xDE"s, "😀"},
      {"half a surrogate pair is no text", 1, "\xFF\xFE\x3D\xD8"s, std::nullopt},
      {"UTF-16 big-endian", 2, "\0H\0i"s, "Hi"},
      {"UTF-8", 3, "Žluťoučký", "Žluťoučký"},
      {"UTF-8 up to a NUL", 3, "a\0b"s, "a"},
      {"broken UTF-8 is no text", 3, "a\xFF", std::nullopt},
      {"no bytes", 0, "", std::nullopt},
      {"a NUL first", 0, "\0a"s, std::nullopt},
      {"a zero unit first", 1, "\0\0\0a"s, std::nullopt},
      {"half a unit", 1, "a", std::nullopt},
      {"another encoding", 4, "abc", std::nullopt},
      {"another encoding still", 255, "abc", std::nullopt},
  };
  for (const auto &row : rows) EXPECT_EQ(create_tag_string_data(view(row.bytes), row.encoding), row.text) << row.name;
}

TEST(TagText, IsLatin1WhenThatHasEveryCharacter) {
  const EncodedText text = encode_tag_text("Café");
  EXPECT_EQ(text.encoding, kLatin1);
  EXPECT_EQ(text.bytes, "Caf\xE9");
}

TEST(TagText, IsLittleEndianUtf16BehindAMarkOtherwise) {
  const EncodedText text = encode_tag_text("Ž😀");
  EXPECT_EQ(text.encoding, kUtf16);
  EXPECT_EQ(text.bytes, "\xFF\xFE\x7D\x01\x3D\xD8\x00\xDE"s);
}

TEST(TagText, IsCutAt4096Bytes) {
  EXPECT_EQ(encode_tag_text(std::string(4096, 'a')).bytes.size(), 4096u);
  EXPECT_EQ(encode_tag_text(std::string(4097, 'a')).bytes.size(), 4096u);
}

TEST(TagText, ChoosesItsEncodingByTheWholeTextBeforeTheCut) {
  std::string utf8(5000, 'a');
  utf8 += "Ž";
  const EncodedText text = encode_tag_text(utf8);
  EXPECT_EQ(text.encoding, kUtf16);
  EXPECT_EQ(text.bytes.size(), 4096u) << "the mark included";
}

TEST(TagText, IsNotCutInsideASurrogatePair) {
  std::string text;
  for (int i = 0; i < 1024; ++i) text += "😀";
  EXPECT_EQ(encode_tag_text(text).bytes.size(), 2u + 1023 * 4);
}

TEST(TakeString, MovesBehindTheTerminator) {
  const std::string bytes = "ab\0cd"s;
  auto rest = view(bytes);
  ASSERT_TRUE(take_string(rest, kUtf8));
  EXPECT_EQ(rest.size(), 2u);
  EXPECT_FALSE(take_string(rest, kLatin1)) << "no terminator is left";
  EXPECT_EQ(rest.size(), 2u);
}

TEST(TakeString, LooksForAZeroUnitInWideEncodings) {
  const std::string bytes = "a\0\0b\0\0c\0"s;
  auto rest = view(bytes);
  const auto string = take_string(rest, kUtf16);
  ASSERT_TRUE(string);
  EXPECT_EQ(string->size(), 4u);
  EXPECT_EQ(rest.size(), 2u);
}

}  // namespace
}  // namespace auspool::tags
