#include "tags/flac/base64.h"

#include <gtest/gtest.h>

#include <string>

#include "support/flac_file.h"

namespace auspool::tags {
namespace {

std::string decoded(std::string_view text) {
  const Bytes bytes = decode_base64(text);
  return {bytes.begin(), bytes.end()};
}

// RFC 4648, section 10.
TEST(Base64, GivesTheExamplesOfItsStandard) {
  EXPECT_EQ(decoded(""), "");
  EXPECT_EQ(decoded("Zg=="), "f");
  EXPECT_EQ(decoded("Zm8="), "fo");
  EXPECT_EQ(decoded("Zm9v"), "foo");
  EXPECT_EQ(decoded("Zm9vYg=="), "foob");
  EXPECT_EQ(decoded("Zm9vYmE="), "fooba");
  EXPECT_EQ(decoded("Zm9vYmFy"), "foobar");
}

TEST(Base64, GivesEveryByteBack) {
  std::string bytes;
  for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i);
  for (std::size_t length = 0; length <= 256; ++length) {
    const std::string part = bytes.substr(256 - length);
    ASSERT_EQ(decoded(testing::base64(part)), part);
  }
}

TEST(Base64, EndsAtWhatIsNone) {
  EXPECT_EQ(decoded("Zm9v YmFy"), "foo");
  EXPECT_EQ(decoded("Zm9v\nYmFy"), "foo");
  EXPECT_EQ(decoded("Zm9v-_"), "foo");
  EXPECT_EQ(decoded("Zm9v\xFFYmFy"), "foo");
  EXPECT_EQ(decoded("Zg==Zm9v"), "f") << "nothing comes behind the padding";
  EXPECT_EQ(decoded("=Zm9v"), "");
  EXPECT_EQ(decoded("Zm9vZ===Zm9v"), "foo");
}

TEST(Base64, KeepsEachWholeByteOfAGroupThatIsCut) {
  EXPECT_EQ(decoded("Zm9vY"), "foo");
  EXPECT_EQ(decoded("Zm9vYg"), "foob");
  EXPECT_EQ(decoded("Zm9vYmE"), "fooba");
}

}  // namespace
}  // namespace auspool::tags
