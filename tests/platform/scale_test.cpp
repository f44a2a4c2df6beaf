#include <gtest/gtest.h>

#include <malloc.h>
#include <sys/mman.h>

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

// A page that nobody may touch, where a bitmap of one mapping of its own ends: what was mapped before it, and lies
// above it, makes way.
class Guard {
public:
  explicit Guard(const Bitmap &below)
      : page_(
            mmap(page_behind(below.rgb), kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0)) {}
  ~Guard() {
    if (is_there()) munmap(page_, kPage);
  }
  Guard(const Guard &) = delete;
  Guard &operator=(const Guard &) = delete;

  bool is_there() const { return page_ != MAP_FAILED; }

private:
  static constexpr std::size_t kPage = 4096;

  static void *page_behind(const std::vector<std::uint8_t> &bytes) {
    return reinterpret_cast<void *>((reinterpret_cast<std::uintptr_t>(&bytes.back()) | (kPage - 1)) + 1);
  }

  void *page_;
};

TEST_F(ScaledImage, IsMadeOfTheBitmapsBytesAlone) {
  mallopt(M_MMAP_THRESHOLD, 65536);
  int guarded = 0;
  for (const auto &[width, height] : {std::pair{967u, 72u}, {72u, 967u}, {388u, 190u}, {760u, 97u}}) {
    Bitmap above = halves(width, height);
    const Bitmap picture = halves(width, height);  // whole pages less the 24 bytes around a block
    above = Bitmap();
    const Guard guard(picture);
    guarded += guard.is_there();
    for (std::uint32_t i = 1; i <= 20; ++i) EXPECT_TRUE(scale_image(picture, width / 2 + i, height / 2 + i));
  }
  mallopt(M_MMAP_THRESHOLD, 128 * 1024);
  if (guarded == 0) GTEST_SKIP() << "no bitmap ended with its page";
}

TEST_F(ScaledImage, OfNothingOrToNothingIsNone) {
  EXPECT_FALSE(scale_image(Bitmap(), 10, 10));
  EXPECT_FALSE(scale_image(halves(4, 4), 0, 10));
  EXPECT_FALSE(scale_image(halves(4, 4), 10, 0));
}

}  // namespace
