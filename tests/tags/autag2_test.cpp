// What the public calls share: finding the format, results, and what they do with nothing.
#include "auspool/autag2.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>

#include "support/chunk_file.h"
#include "support/id3.h"
#include "support/tag_file.h"
#include "support/watch.h"
#include "tags/formats.h"

namespace auspool::testing {
namespace {

constexpr std::uint32_t kUntouched = 77;

// The format that autag2_read finds, which writing and building go by too.
std::uint32_t format_of(const std::string &bytes) {
  const TagFile file(bytes);
  std::uint32_t format = kUntouched;
  const Ref tag(autag2_read(file.path(), nullptr, &format));
  return format;
}

std::string with_id3v1(std::string bytes) {
  return bytes + std::string(200, '\0') + id3v1_tag({.title = "old"});
}

TEST(Autag2Formats, AreFoundByTheirFirstBytes) {
  EXPECT_EQ(format_of(aiff_file(aiff_sound(1))), AUTAG2_AIFF);
  EXPECT_EQ(format_of(wave_file(wave_sound(1))), AUTAG2_WAVE);
  EXPECT_EQ(format_of(caf_file(caf_sound(1))), AUTAG2_CAF);
  EXPECT_EQ(format_of(id3_with("TIT2", "\0x"s)), AUTAG2_MP3);
  EXPECT_EQ(format_of(silent_mp3(1)), AUTAG2_MP3);
  EXPECT_EQ(format_of("RIFX....WAVE"), kUntouched);
  EXPECT_EQ(format_of("FOR"), kUntouched);
}

TEST(Autag2Formats, AreTriedInOrder) {
  EXPECT_EQ(format_of(with_id3v1(aiff_file(aiff_sound(1)))), AUTAG2_AIFF) << "before MP3";
  EXPECT_EQ(format_of(with_id3v1(wave_file(wave_sound(1)))), AUTAG2_MP3) << "before WAVE";
  EXPECT_EQ(format_of(with_id3v1(caf_file(caf_sound(1)))), AUTAG2_MP3) << "and before CAF";
  EXPECT_EQ(format_of("FORM\0\0"s), AUTAG2_AIFF) << "whatever follows";
}

TEST(Autag2Formats, StandInTheOrderOfTheirDetection) {
  std::uint32_t numbers[6] = {};
  std::size_t count = 0;
  for (const tags::Format &row : tags::formats()) numbers[count++] = row.number;
  const std::uint32_t order[] = {AUTAG2_AIFF, AUTAG2_M4A, AUTAG2_MP3, AUTAG2_WAVE, AUTAG2_CAF, AUTAG2_FLAC};
  const std::uint32_t *next = order;
  for (std::size_t i = 0; i < count; ++i) {
    next = std::find(next, std::end(order), numbers[i]);
    ASSERT_NE(next, std::end(order)) << numbers[i];
  }
}

TEST(Autag2Formats, AFileOfNoBytesIsOfNone) {
  const TagFile empty("");
  std::int32_t error = 1;
  std::uint32_t format = kUntouched;
  EXPECT_EQ(autag2_read(empty.path(), &error, &format), nullptr);
  EXPECT_EQ(error, 0);
  EXPECT_EQ(format, kUntouched);
  EXPECT_EQ(autag2_write(empty.path(), Ref(audict_create()).get()), AUTAG2_ETAG);
  EXPECT_EQ(autag2_chapter_read(empty.path(), &error), nullptr);
  EXPECT_EQ(error, 0);
}

TEST(Autag2Formats, AFolderIsOfNone) {
  const TempDir folder;
  std::int32_t error = 1;
  EXPECT_EQ(autag2_read(folder.path().c_str(), &error, nullptr), nullptr);
  EXPECT_EQ(error, 0);
}

TEST(Autag2, AFileThatWillNotOpenGivesErrno) {
  std::int32_t error = 0;
  std::uint32_t format = kUntouched;
  EXPECT_EQ(autag2_read("/no/such/file", &error, &format), nullptr);
  EXPECT_EQ(error, ENOENT);
  EXPECT_EQ(format, kUntouched);
  EXPECT_EQ(autag2_read("/no/such/file", nullptr, nullptr), nullptr);
  EXPECT_EQ(autag2_chapter_read("/no/such/file", &error), nullptr);
  EXPECT_EQ(error, ENOENT);
  EXPECT_EQ(autag2_write("/no/such/file", nullptr), ENOENT);
  EXPECT_EQ(autag2_chapter_write("/no/such/file", nullptr), ENOENT);
}

TEST(Autag2, NullPathsAreInvalid) {
  std::int32_t error = 0;
  EXPECT_EQ(autag2_read(nullptr, &error, nullptr), nullptr);
  EXPECT_EQ(error, EINVAL);
  EXPECT_EQ(autag2_chapter_read(nullptr, nullptr), nullptr);
  EXPECT_EQ(autag2_write(nullptr, nullptr), EINVAL);
  EXPECT_EQ(autag2_chapter_write(nullptr, nullptr), EINVAL);
}

TEST(Autag2, UnknownFormatNumbersBuildNothing) {
  const Ref tag(audict_create());
  for (const std::uint32_t format : {6u, 77u, UINT32_MAX}) {
    EXPECT_EQ(autag2_create(tag.get(), format), nullptr);
    EXPECT_EQ(autag2_chapter_create(tag.get(), format), nullptr);
  }
  for (const std::int32_t format : {-1, 0, 1, 2, 3, 4, 6}) EXPECT_EQ(autag2_create_data(tag.get(), format), nullptr);
}

TEST(Autag2, OnlySomeFormatsHaveChapters) {
  for (const std::string &file : {aiff_file(aiff_sound(1)), wave_file(wave_sound(1)), caf_file(caf_sound(1))}) {
    const TagFile on_disk(file);
    const ReadResult result = on_disk.chapters();
    EXPECT_EQ(result.dict, nullptr);
    EXPECT_EQ(result.error, 0);
    EXPECT_EQ(autag2_chapter_write(on_disk.path(), nullptr), AUTAG2_ETAG);
  }
  for (const std::uint32_t format : {AUTAG2_AIFF, AUTAG2_WAVE, AUTAG2_CAF, AUTAG2_FLAC}) {
    EXPECT_EQ(autag2_chapter_create(nullptr, format), nullptr);
  }
}

TEST(Autag2, ResultCodesAreTheirLetters) {
  EXPECT_EQ(AUTAG2_ETAG, 0x45746167);
  EXPECT_EQ(AUTAG2_EPRS, 0x45707273);
  EXPECT_EQ(AUTAG2_EUNK, 0x45756E6B);
  EXPECT_EQ(AUTAG2_EMEM, 0x456D656D);
  EXPECT_EQ(AUTAG2_EIMP, 0x45696D70);
  EXPECT_EQ(AUTAG2_ESND, 0x45736E64);
}

int disposed = 0;

autag2_data *block(std::uint32_t count, void *first, void *second) {
  auto *data = static_cast<autag2_data *>(std::calloc(1, sizeof(autag2_data)));
  *data = {[](void *) { ++disposed; }, count, {first, second}};
  return data;
}

TEST(Autag2Data, EachPointerIsDisposedOfOnce) {
  int one = 0, two = 0;
  disposed = 0;
  autag2_dispose_data(block(2, &one, &two));
  EXPECT_EQ(disposed, 2);
  autag2_dispose_data(block(2, nullptr, &two));
  EXPECT_EQ(disposed, 3) << "null pointers are not";
  autag2_dispose_data(block(1, &one, &two));
  EXPECT_EQ(disposed, 4) << "nor those beyond the count";
  autag2_dispose_data(block(0, &one, &two));
  EXPECT_EQ(disposed, 4);
}

TEST(Autag2Data, NullAndBlocksWithoutFunctionAreAccepted) {
  int one = 0;
  autag2_dispose_data(nullptr);
  autag2_data *data = block(1, &one, nullptr);
  data->dispose = nullptr;
  const long before = live_allocations();
  autag2_dispose_data(data);
  EXPECT_EQ(live_allocations(), before - 1) << "the block itself is freed";
}

TEST(Autag2, ReadingSurvivesEachFailedAllocation) {
  const TagFile file(
      wave_file(info_list(wave_chunk("INAM", "na\xEFve")) + wave_chunk("id3 ", id3_with("TPE1", "\0x"s))));
  const long before = live_allocations();
  for (int nth = 1;; ++nth) {
    const AllocationFailer failer(nth);
    std::int32_t error = 0;
    const Ref tag(autag2_read(file.path(), &error, nullptr));
    if (!failer.failed()) break;
  }
  EXPECT_EQ(live_allocations(), before);
}

}  // namespace
}  // namespace auspool::testing
