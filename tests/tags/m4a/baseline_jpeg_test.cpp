#include "tags/m4a/baseline_jpeg.h"

#include <gtest/gtest.h>

#include "support/pictures.h"

using namespace auspool::testing;
using auspool::tags::is_baseline_jpeg;

namespace {

using File = std::vector<std::uint8_t>;

// A start of image, then these markers.
bool is_baseline(File markers) {
  markers.insert(markers.begin(), {0xFF, 0xD8});
  return is_baseline_jpeg(markers);
}

TEST(BaselineJpeg, TellsRealFilesApart) {
  EXPECT_TRUE(is_baseline_jpeg(jpeg_file(20, 10)));
  EXPECT_TRUE(is_baseline_jpeg(jpeg_file(20, 10, JpegKind::gray)));
  EXPECT_FALSE(is_baseline_jpeg(jpeg_file(20, 10, JpegKind::progressive)));
  EXPECT_FALSE(is_baseline_jpeg(png_file(20, 10)));
}

TEST(BaselineJpeg, NeedsTheStartOfAnImageInFrontOfItsFrame) {
  EXPECT_TRUE(is_baseline({0xFF, 0xC0, 0, 0}));
  EXPECT_FALSE(is_baseline_jpeg(File{0xFF, 0xC0, 0, 0}));
}

TEST(BaselineJpeg, SkipsSegmentsByTheirLength) {
  EXPECT_TRUE(is_baseline({0xFF, 0xE0, 0, 4, 'x', 'y', 0xFF, 0xC0, 0, 0}));
  EXPECT_FALSE(is_baseline({0xFF, 0xE0, 0, 5, 'x', 'y', 0xFF, 0xC0, 0, 0})) << "lands beside the next marker";
  EXPECT_FALSE(is_baseline({0xFF, 0xE0, 0xFF, 0xFF, 'x', 'y'})) << "lands beyond the file";
}

TEST(BaselineJpeg, SkipsTablesWhoseNumbersLieAmongThoseOfFrames) {
  for (const int marker : {0xC4, 0xCC})
    EXPECT_TRUE(is_baseline({0xFF, static_cast<std::uint8_t>(marker), 0, 2, 0xFF, 0xC0, 0, 0}));
}

TEST(BaselineJpeg, EndsAtOtherFramesAndAtWhatMayNotStandInFront) {
  for (const int marker : {0xC1, 0xC2, 0xC3, 0xC5, 0xC6, 0xC7, 0xC8, 0xC9, 0xCA, 0xCB,
                           0xCD, 0xCE, 0xCF, 0xD0, 0xD3, 0xD7, 0xD9, 0xDA, 0xDE, 0x01}) {
    EXPECT_FALSE(is_baseline({0xFF, static_cast<std::uint8_t>(marker), 0, 2, 0xFF, 0xC0, 0, 0})) << marker;
  }
}

TEST(BaselineJpeg, StepsOverFillByOneByteAndOverStuffingByTwo) {
  EXPECT_TRUE(is_baseline({0xFF, 0xFF, 0xC0, 0, 0}));
  EXPECT_TRUE(is_baseline({0xFF, 0x00, 0xFF, 0xC0, 0, 0}));
  EXPECT_FALSE(is_baseline({0xFF, 0x00, 0xC0, 0, 0}));
}

TEST(BaselineJpeg, CountsWhatRemainsFromTheMarkersFirstByte) {
  EXPECT_TRUE(is_baseline({0xFF, 0xC0, 0, 0}));
  EXPECT_FALSE(is_baseline({0xFF, 0xC0, 0})) << "three bytes";
  EXPECT_FALSE(is_baseline({}));
}

}  // namespace
