#include "base/four_cc.h"

#include <gtest/gtest.h>

namespace auspool {
namespace {

TEST(FourCC, TheFirstCharacterIsTheHighestByte) {
  EXPECT_EQ(four_cc("RIFF"), 0x52494646u);
}

TEST(FourCC, CharactersAboveAsciiAreBytes) {
  EXPECT_EQ(four_cc("\xa9nam"), 0xa96e616du);
}

TEST(FourCC, IsAConstantOfTheCompiler) {
  static_assert(four_cc("    ") == 0x20202020u);
}

}  // namespace
}  // namespace auspool
