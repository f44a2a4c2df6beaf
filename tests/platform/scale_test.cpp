#include <gtest/gtest.h>

#include "platform/image.h"

using namespace auspool::platform;

namespace {

// Its left half red, its right half blue.
Bitmap halves(std::uint32_t width, std::uint32_t height) {
  Bitmap bitmap{width, height, std::vector<std::uint8_t>(std::size_t{3} * width * height)};
  for (std::size_t i = 0; i < std::size_t{width} * height; ++i)
    bitmap.rgb[3 * i + (i % width < width / 2 ? 0 : 2)] = 255;
  return bitmap;
}

class ScaledImage : public ::testing::Test {
protected:
  void SetUp() override {
    if (!scale_image(halves(2, 2), 1, 1)) GTEST_SKIP() << "this build has no libswscale";
  }
};

TEST_F(ScaledImage, HasTheSizeAskedForAndTheSamePicture) {
  for (const auto &[width, height] : {std::pair{50u, 20u}, {7u, 3u}, {128u, 128u}, {1u, 40u}, {300u, 1u}}) {
    const auto scaled = scale_image(halves(100, 40), width, height);
    ASSERT_TRUE(scaled) << width;
    EXPECT_EQ(scaled->width, width);
    EXPECT_EQ(scaled->height, height);
    ASSERT_EQ(scaled->rgb.size(), std::size_t{3} * width * height);
    for (std::size_t row = 0; row < height && width > 1; ++row) {
      const std::uint8_t *const pixels = &scaled->rgb[3 * row * width];
      EXPECT_GT(pixels[0], 240) << "red on the left";
      EXPECT_LT(pixels[2], 15);
      EXPECT_GT(pixels[3 * width - 1], 240) << "blue on the right";
      EXPECT_LT(pixels[3 * width - 3], 15);
    }
  }
}

TEST_F(ScaledImage, OfNothingOrToNothingIsNone) {
  EXPECT_FALSE(scale_image(Bitmap(), 10, 10));
  EXPECT_FALSE(scale_image(halves(4, 4), 0, 10));
  EXPECT_FALSE(scale_image(halves(4, 4), 10, 0));
}

}  // namespace
