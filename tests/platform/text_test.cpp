#include "platform/text.h"

#include <gtest/gtest.h>

namespace auspool::platform {
namespace {

std::optional<std::string> decoded(std::string_view bytes, Encoding encoding) {
  return decode_text({reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size()}, encoding);
}

struct Case {
  Encoding encoding;
  std::string_view bytes;
  std::string_view utf8;
};

TEST(Text, EachEncodingGoesBothWays) {
  using namespace std::string_view_literals;
  const Case cases[] = {
      {Encoding::utf8, "na\xC3\xAFve", "naïve"},
      {Encoding::latin1, "na\xEFve \x80", "naïve \xC2\x80"},
      {Encoding::windows_latin1, "na\xEFve \x80 \x93x\x94", "naïve € “x”"},
      {Encoding::mac_roman, "na\x95ve \xB9 \xC5 3 \xDB \xB0 \xDE", "naïve π ≈ 3 € ∞ ﬁ"},
      {Encoding::mac_roman, "\xC6\xF0", "\u2206\uF8FF"},
      {Encoding::utf16_le, "n\0\xEF\0\x3D\xD8\x00\xDE"sv, "nï\U0001F600"},
      {Encoding::utf16_be, "\0n\0\xEF\xD8\x3D\xDE\x00"sv, "nï\U0001F600"},
  };
  for (const Case &it : cases) {
    EXPECT_EQ(decoded(it.bytes, it.encoding), it.utf8);
    EXPECT_EQ(encode_text(it.utf8, it.encoding), it.bytes) << it.utf8;
  }
}

TEST(Text, LongTextsPassInParts) {
  std::string utf8, latin1;
  for (int i = 0; i < 5000; ++i) {
    utf8 += "é";
    latin1 += '\xE9';
  }
  EXPECT_EQ(decoded(latin1, Encoding::latin1), utf8);
  EXPECT_EQ(encode_text(utf8, Encoding::latin1), latin1);
}

TEST(Text, BytesThatAreNotValidGiveNothing) {
  using namespace std::string_view_literals;
  EXPECT_FALSE(decoded("a\xC3", Encoding::utf8));
  EXPECT_FALSE(decoded("\x81", Encoding::windows_latin1));
  EXPECT_FALSE(decoded("\x3D\xD8"sv, Encoding::utf16_le)) << "half a pair";
  EXPECT_FALSE(decoded("a\0b"sv, Encoding::utf16_le)) << "half a unit";
}

TEST(Text, CharactersWithoutPlaceFailOrAreSubstituted) {
  EXPECT_FALSE(encode_text("naïve π", Encoding::latin1));
  EXPECT_EQ(encode_text_with("naïve π 日本", Encoding::latin1, '?'), "na\xEFve ? ??");
  EXPECT_EQ(encode_text_with("\U0001F600é∆\U0001F600", Encoding::mac_roman, '?'), "?\x8E\xC6?");
  EXPECT_EQ(encode_text("\u0394", Encoding::mac_roman), "\xC6") << "the Greek letter passes for the sign";
}

TEST(Text, CuttingKeepsWholeCharacters) {
  using namespace std::string_view_literals;
  EXPECT_EQ(whole_characters("aé", Encoding::utf8, 2), "a");
  EXPECT_EQ(whole_characters("aé", Encoding::utf8, 3), "aé");
  EXPECT_EQ(whole_characters("\U0001F600", Encoding::utf8, 3), "");
  EXPECT_EQ(whole_characters("abc", Encoding::latin1, 2), "ab");
  EXPECT_EQ(whole_characters("a\0\x3D\xD8\x00\xDE"sv, Encoding::utf16_le, 5), "a\0"sv);
  EXPECT_EQ(whole_characters("\0a\xD8\x3D\xDE\x00"sv, Encoding::utf16_be, 5), "\0a"sv);
  EXPECT_EQ(whole_characters("a\0b\0"sv, Encoding::utf16_le, 3), "a\0"sv);
}

}  // namespace
}  // namespace auspool::platform
