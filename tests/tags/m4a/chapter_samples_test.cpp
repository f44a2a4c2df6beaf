#include "tags/m4a/chapter_samples.h"

#include <gtest/gtest.h>

#include "platform/image.h"
#include "support/m4a_tags.h"
#include "support/pictures.h"

namespace auspool::tags {
namespace {

using namespace auspool::testing;

Ref with_texts(const char *title, const char *url = nullptr) {
  Ref element = make_dictionary();
  if (title != nullptr) set(*element, "Autag2ChapterElementTitle", make_string(title));
  if (url != nullptr) set(*element, "Autag2ChapterElementURL", make_string(url));
  return element;
}

Ref with_picture(const testing::Bytes &picture, double duration = 1) {
  Ref element = make_dictionary();
  set(*element, "Autag2ChapterElementDuration", make_float(duration));
  set(*element, "Autag2ChapterElementImage", make_data(picture));
  return element;
}

template <typename... Elements>
Ref array_of(Elements... elements) {
  Ref array = make_array();
  (append(*array, std::move(elements)), ...);
  return array;
}

std::string text_sample_of(const char *title, const char *url = nullptr) {
  const Bytes bytes = create_text_sample(*with_texts(title, url));
  return {bytes.begin(), bytes.end()};
}

platform::Bitmap decoded_sample(const testing::Bytes &picture, PictureSize size) {
  const auto sample = create_image_sample(*with_picture(picture), size);
  const auto bitmap = platform::decode_image(sample.value_or(Bytes()));
  EXPECT_TRUE(bitmap);
  return bitmap.value_or(platform::Bitmap());
}

bool is_black(const platform::Bitmap &bitmap, std::uint32_t x, std::uint32_t y) {
  const std::uint8_t *const pixel = &bitmap.rgb[3 * (std::size_t{y} * bitmap.width + x)];
  return pixel[0] < 24 && pixel[1] < 24 && pixel[2] < 24;
}

// A picture without a dark pixel.
testing::Bytes bright_jpeg(std::uint32_t width, std::uint32_t height) {
  return platform::encode_jpeg({width, height, Bytes(std::size_t{3} * width * height, 250)}).value();
}

const std::string kEmptyText("\0\0\0\0\0\x0Fhref\0\0\0\0\0 \0", 17);

TEST(ChapterTextSample, IsALengthAndTheText) {
  EXPECT_EQ(text_sample_of("Caf\xC3\xA9"), text_sample("Caf\xC3\xA9"));
}

TEST(ChapterTextSample, WithoutTitleAndLinkIsTheEmptyText) {
  EXPECT_EQ(text_sample_of(nullptr), kEmptyText);
  EXPECT_EQ(text_sample_of(nullptr, ""), kEmptyText) << "an empty link is none";
}

TEST(ChapterTextSample, OfAnEmptyTitleLosesTheLink) {
  EXPECT_EQ(text_sample_of("", "http://a"), kEmptyText);
}

TEST(ChapterTextSample, HasTheLinkBehindTheTextAndInItsPlace) {
  EXPECT_EQ(text_sample_of("Title", "http://a"), text_sample("Title", link_atom("http://a")));
  EXPECT_EQ(text_sample_of(nullptr, "http://a"), text_sample("http://a", link_atom("http://a")));
  EXPECT_EQ(text_sample_of("Title", ""), text_sample("Title"));
}

TEST(ChapterTextSample, CutsALinkAt255Bytes) {
  const std::string longest(255, 'l');
  EXPECT_EQ(text_sample_of("t", (longest + "more").c_str()), text_sample("t", link_atom(longest)));
}

TEST(ChapterTextSample, CutsALinkAtAWholeCharacter) {
  const std::string fits(254, 'l');
  EXPECT_EQ(text_sample_of("t", (fits + "\xC3\xA9").c_str()), text_sample("t", link_atom(fits)));
}

TEST(ChapterTextSample, CapsTheLengthOfATextAndKeepsItsBytes) {
  const std::string text(65540, 't');
  EXPECT_EQ(text_sample_of(text.c_str()), "\xFF\xFF" + text);
}

TEST(ChapterImageSample, KeepsABaselineJpegOfTheTracksSize) {
  const testing::Bytes jpeg = jpeg_file(140, 90);
  EXPECT_EQ(create_image_sample(*with_picture(jpeg), {140, 90}), jpeg);
  EXPECT_NE(create_image_sample(*with_picture(jpeg), {141, 90}), jpeg);
}

TEST(ChapterImageSample, EncodesAProgressiveJpegOfTheTracksSizeAgain) {
  const testing::Bytes jpeg = jpeg_file(140, 90, JpegKind::progressive);
  const auto sample = create_image_sample(*with_picture(jpeg), {140, 90});
  ASSERT_TRUE(sample);
  EXPECT_NE(*sample, jpeg);
  EXPECT_EQ(platform::image_info(*sample)->width, 140u);
}

TEST(ChapterImageSample, EncodesAPngAsJpeg) {
  const auto sample = create_image_sample(*with_picture(png_file(140, 90)), {140, 90});
  EXPECT_EQ(platform::image_format(sample.value_or(Bytes())), platform::ImageFormat::jpeg);
}

TEST(ChapterImageSample, CentresASmallPictureAtItsOwnSize) {
  const platform::Bitmap bitmap = decoded_sample(bright_jpeg(16, 32), {128, 128});
  EXPECT_EQ(bitmap.width, 128u);
  EXPECT_EQ(bitmap.height, 128u);
  EXPECT_FALSE(is_black(bitmap, 64, 64));
  EXPECT_FALSE(is_black(bitmap, 57, 49));
  EXPECT_FALSE(is_black(bitmap, 70, 78));
  for (const auto &[x, y] : {std::pair{40u, 64u}, {88u, 64u}, {64u, 32u}, {64u, 96u}})
    EXPECT_TRUE(is_black(bitmap, x, y));
}

TEST(ChapterImageSample, ScalesALargePictureToFit) {
  if (!platform::scale_image({1, 1, {1, 2, 3}}, 2, 2)) GTEST_SKIP() << "this build has no libswscale";
  const platform::Bitmap wide = decoded_sample(bright_jpeg(400, 100), {128, 128});  // 128 by 32
  EXPECT_FALSE(is_black(wide, 2, 64));
  EXPECT_FALSE(is_black(wide, 125, 64));
  EXPECT_TRUE(is_black(wide, 64, 40));
  EXPECT_TRUE(is_black(wide, 64, 88));
  const platform::Bitmap high = decoded_sample(bright_jpeg(100, 400), {128, 128});  // 32 by 128
  EXPECT_FALSE(is_black(high, 64, 2));
  EXPECT_FALSE(is_black(high, 64, 125));
  EXPECT_TRUE(is_black(high, 40, 64));
  EXPECT_TRUE(is_black(high, 88, 64));
}

TEST(ChapterImageSample, WithoutAUsablePictureIsBlack) {
  for (const testing::Bytes &picture :
       {testing::Bytes(), testing::Bytes{'G', 'I', 'F', '8'}, testing::Bytes{0xFF, 0xD8, 0xFF}}) {
    const platform::Bitmap bitmap = decoded_sample(picture, {128, 96});
    EXPECT_EQ(bitmap.width, 128u);
    EXPECT_EQ(bitmap.height, 96u);
    for (const std::uint8_t value : bitmap.rgb) ASSERT_LT(value, 8);
  }
}

std::string size_text(const Ref &elements) {
  const PictureSize size = size_of_track(elements.get());
  return std::to_string(size.width) + "x" + std::to_string(size.height);
}

TEST(ChapterPictureSize, IsThatOfTheLargestByArea) {
  EXPECT_EQ(size_text(array_of(with_picture(jpeg_file(40, 40)), with_picture(png_file(20, 90)))), "20x90");
  EXPECT_EQ(size_text(array_of(with_picture(jpeg_file(40, 50)), with_picture(png_file(50, 40)))), "40x50")
      << "of two alike the first";
}

TEST(ChapterPictureSize, StaysAt128WithoutAPictureOfMoreThan1024Pixels) {
  EXPECT_EQ(size_text(make_array()), "128x128");
  EXPECT_EQ(size_text(array_of(with_picture(png_file(32, 32)))), "128x128");
  EXPECT_EQ(size_text(array_of(with_picture(png_file(20, 60)))), "20x60") << "the sides do not count";
  EXPECT_EQ(size_text(array_of(with_picture({'G', 'I', 'F', '8'}))), "128x128");
}

TEST(ChapterPictureSize, LooksAtPicturesThatCanBeReadAlone) {
  testing::Bytes claiming = png_file(64, 64);
  claiming.resize(33);  // the header alone
  EXPECT_EQ(size_text(array_of(with_picture(claiming), with_picture(png_file(40, 40)))), "40x40");
}

double duration_at(const Ref &elements, std::size_t index) {
  double duration = -1;
  audict_get_float(audict_at(elements.get(), index), "Autag2ChapterElementDuration", &duration);
  return duration;
}

TEST(ChapterPictures, NeighboursWithTheSamePictureAreOne) {
  const testing::Bytes one(5000, 1), two(5000, 2);
  const Ref merged = merge_images(
      array_of(with_picture(one, 1), with_picture(one, 2), with_picture(two, 4), with_picture(one, 8)).get());
  ASSERT_EQ(audict_count(merged.get()), 3u);
  EXPECT_EQ(duration_at(merged, 0), 3.0);
  EXPECT_EQ(duration_at(merged, 1), 4.0);
  EXPECT_EQ(duration_at(merged, 2), 8.0);
}

TEST(ChapterPictures, AreToldApartByTheirLengthAndFirst4096Bytes) {
  testing::Bytes one(5000, 1), behind = one, within = one;
  behind[4096] = 2;
  within[4095] = 2;
  const auto count = [&](const testing::Bytes &other) {
    return audict_count(merge_images(array_of(with_picture(one), with_picture(other)).get()).get());
  };
  EXPECT_EQ(count(behind), 1u);
  EXPECT_EQ(count(within), 2u);
  EXPECT_EQ(count(testing::Bytes(5001, 1)), 2u);
}

TEST(ChapterPictures, ElementsWithoutOneAreAlike) {
  Ref none = make_dictionary();
  set(*none, "Autag2ChapterElementDuration", make_float(2.0));
  const Ref merged = merge_images(array_of(with_picture({}, 1), std::move(none), with_picture({1}, 4)).get());
  ASSERT_EQ(audict_count(merged.get()), 2u);
  EXPECT_EQ(duration_at(merged, 0), 3.0);
}

TEST(ChapterPictures, WithoutADurationAreNotMerged) {
  Ref none = with_picture({1});
  audict_remove(none.get(), "Autag2ChapterElementDuration");
  const Ref merged = merge_images(array_of(with_picture({1}), Ref(audict_copy(none.get())), with_picture({1})).get());
  ASSERT_EQ(audict_count(merged.get()), 3u);
  EXPECT_EQ(duration_at(merged, 1), -1.0);
}

TEST(ChapterPictures, AreMergedInACopy) {
  const Ref elements = array_of(with_picture({1}, 1), with_picture({1}, 2));
  merge_images(elements.get());
  EXPECT_EQ(audict_count(elements.get()), 2u);
  EXPECT_EQ(duration_at(elements, 0), 1.0);
}

// Values of the hash as its definition gives them by hand.
TEST(ChapterPictures, HaveTheElfHash) {
  const auto hash = [](const std::string &text) {
    return hash_bytes(reinterpret_cast<const std::uint8_t *>(text.data()), static_cast<std::uint32_t>(text.size()));
  };
  EXPECT_EQ(hash(""), 0u);
  EXPECT_EQ(hash("a"), 0x61u);
  EXPECT_EQ(hash("ab"), 0x672u);
  EXPECT_EQ(hash("printf"), 0x077905a6u) << "the example of the ELF documents";
  EXPECT_EQ(hash(std::string(20, '\xFF')) & 0xF0000000, 0u);
}

}  // namespace
}  // namespace auspool::tags
