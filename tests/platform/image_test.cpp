#include "platform/image.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "base/byte_order.h"
#include "support/pictures.h"
#include "support/watch.h"

namespace auspool::platform {
namespace {

using namespace auspool::testing;

// The greatest difference of any byte.
int distance(const Bytes &a, const Bytes &b) {
  if (a.size() != b.size()) return 256;
  int most = 0;
  for (std::size_t i = 0; i < a.size(); ++i) most = std::max(most, std::abs(a[i] - b[i]));
  return most;
}

TEST(ImageFormat, IsToldByTheFirstTwoBytes) {
  EXPECT_EQ(image_format(Bytes{0xFF, 0xD8}), ImageFormat::jpeg);
  EXPECT_EQ(image_format(Bytes{0x89, 'P'}), ImageFormat::png);
  EXPECT_EQ(image_format(Bytes{'G', 'I', 'F', '8'}), std::nullopt);
  EXPECT_EQ(image_format(Bytes{0xFF}), std::nullopt);
  EXPECT_EQ(image_format({}), std::nullopt);
}

TEST(ImageInfo, GivesSizeAndDepthOfEveryKind) {
  const struct {
    const char *name;
    Bytes file;
    std::uint32_t bits;
  } rows[] = {
      {"png rgb", png_file(40, 30), 24},
      {"png rgba", png_file(40, 30, PngKind::rgba), 32},
      {"png gray", png_file(40, 30, PngKind::gray), 8},
      {"png gray and alpha", png_file(40, 30, PngKind::gray_alpha), 16},
      {"png palette", png_file(40, 30, PngKind::palette), 8},
      {"png 16 bits a sample", png_file(40, 30, PngKind::rgb16), 48},
      {"jpeg", jpeg_file(40, 30), 24},
      {"jpeg progressive", jpeg_file(40, 30, JpegKind::progressive), 24},
      {"jpeg gray", jpeg_file(40, 30, JpegKind::gray), 8},
      {"jpeg cmyk", jpeg_file(40, 30, JpegKind::cmyk), 32},
  };
  for (const auto &row : rows) {
    const auto info = image_info(row.file);
    ASSERT_TRUE(info) << row.name;
    EXPECT_EQ(info->width, 40u) << row.name;
    EXPECT_EQ(info->height, 30u) << row.name;
    EXPECT_EQ(info->bits_per_pixel, row.bits) << row.name;
  }
}

TEST(ImageInfo, IsNothingForAFileThatEndsInItsHeader) {
  for (const Bytes &file : {png_file(40, 30), jpeg_file(40, 30)}) {
    for (const std::size_t size : {0u, 1u, 2u, 9u, 20u, 32u}) {
      EXPECT_FALSE(image_info(std::span(file).first(size))) << size;
    }
  }
}

TEST(ImageInfo, IsNothingForASizeOfZero) {
  Bytes file = png_file(40, 30);
  store_be<std::uint32_t>(&file[16], 0);
  EXPECT_FALSE(image_info(file));
}

TEST(DecodeImage, GivesThePixelsOfAPng) {
  const auto bitmap = decode_image(png_file(40, 30));
  ASSERT_TRUE(bitmap);
  EXPECT_EQ(bitmap->width, 40u);
  EXPECT_EQ(bitmap->height, 30u);
  EXPECT_EQ(bitmap->rgb, gradient(40, 30));
}

TEST(DecodeImage, PutsTransparentPixelsOverBlack) {
  const auto bitmap = decode_image(png_file(40, 30, PngKind::rgba));
  ASSERT_TRUE(bitmap);
  const std::uint8_t *last_row = &bitmap->rgb[29 * 40 * 3];
  EXPECT_EQ(Bytes(last_row, last_row + 20 * 3), Bytes(20 * 3, 0));
  EXPECT_GT(last_row[30 * 3], 100);
}

TEST(DecodeImage, GivesGrayAndPaletteAsColours) {
  for (const PngKind kind : {PngKind::gray, PngKind::palette}) {
    const auto bitmap = decode_image(png_file(40, 30, kind));
    ASSERT_TRUE(bitmap);
    const std::uint8_t *pixel = &bitmap->rgb[20 * 3];
    EXPECT_EQ(Bytes(pixel, pixel + 3), Bytes(3, 20 * 255 / 40));
  }
}

TEST(DecodeImage, GivesThePixelsOfAJpegNearly) {
  for (const JpegKind kind : {JpegKind::baseline, JpegKind::progressive}) {
    const auto bitmap = decode_image(jpeg_file(40, 30, kind));
    ASSERT_TRUE(bitmap);
    EXPECT_LE(distance(bitmap->rgb, gradient(40, 30)), 8);
  }
}

TEST(DecodeImage, TurnsTheInksOfACmykJpegIntoColours) {
  const auto bitmap = decode_image(jpeg_file(40, 30, JpegKind::cmyk));
  ASSERT_TRUE(bitmap);
  EXPECT_LE(bitmap->rgb[0], 8);
  EXPECT_GE(bitmap->rgb[39 * 3], 236);
}

TEST(DecodeImage, TakesAJpegThatLostItsEnd) {
  const Bytes file = jpeg_file(200, 200);
  EXPECT_TRUE(decode_image(std::span(file).first(file.size() / 2)));
}

TEST(DecodeImage, IsNothingForAPngThatLostItsEnd) {
  const Bytes file = png_file(40, 30);
  EXPECT_FALSE(decode_image(std::span(file).first(file.size() / 2)));
}

TEST(DecodeImage, AllocatesNothingForAPictureThatItsBytesCannotHold) {
  Bytes png = png_file(40, 30);
  store_be<std::uint32_t>(&png[16], 8192);
  store_be<std::uint32_t>(&png[20], 8192);
  constexpr std::uint8_t kFrame[] = {0xFF, 0xC0};
  Bytes jpeg = jpeg_file(40, 30);
  const auto frame = std::search(jpeg.begin(), jpeg.end(), std::begin(kFrame), std::end(kFrame));
  store_be<std::uint32_t>(&*frame + 5, 0x20002000);
  for (const Bytes &bomb : {png, jpeg}) {
    ASSERT_EQ(image_info(bomb)->width, 8192u);
    const long before = allocation_count();
    EXPECT_FALSE(decode_image(bomb));
    EXPECT_EQ(allocation_count(), before);
  }
}

TEST(DecodeImage, RefusesMorePixelsThanTheLimit) {
  Bytes file = png_file(40, 30);
  store_be<std::uint32_t>(&file[16], 8193);
  store_be<std::uint32_t>(&file[20], 8192);
  file.resize(1 << 20);  // enough bytes for so many pixels
  const long before = allocation_count();
  EXPECT_FALSE(decode_image(file));
  EXPECT_EQ(allocation_count(), before);
}

TEST(EncodeJpeg, MakesABaselineFileThatDecodesToNearlyTheSame) {
  const Bitmap bitmap = {64, 48, gradient(64, 48)};
  const auto file = encode_jpeg(bitmap);
  ASSERT_TRUE(file);
  EXPECT_EQ(image_format(*file), ImageFormat::jpeg);
  const auto back = decode_image(*file);
  ASSERT_TRUE(back);
  EXPECT_LE(distance(back->rgb, bitmap.rgb), 16);
}

TEST(EncodeJpeg, RefusesABitmapWithoutPixelsOrWithTooFew) {
  EXPECT_FALSE(encode_jpeg({}));
  EXPECT_FALSE(encode_jpeg({2, 2, Bytes(11)}));
  EXPECT_FALSE(encode_jpeg({70000, 1, Bytes(210000)}));
}

}  // namespace
}  // namespace auspool::platform
