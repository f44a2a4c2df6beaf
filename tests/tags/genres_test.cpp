#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "auspool/autag2.h"
#include "platform/resource.h"
#include "support/temp_dir.h"
#include "tags/dict/node.h"

namespace auspool::tags {
namespace {

std::string name(std::int32_t index) {
  const Ref genre(autag2_copy_genre_for_index(index));
  return genre ? audict_string(genre.get()) : "";
}

bool retries_until_the_list_is_good() {
  const testing::TempDir folder;
  platform::replace_resource_folder(folder.path().c_str());
  bool missing = autag2_genre_list(AUTAG2_GENRES_ID3) == nullptr && autag2_copy_genre_for_index(17) == nullptr;
  for (const char *broken : {"", "bplist00", "<plist><dict><key>id3", "<plist></plist>"}) {
    testing::write_file(folder.file("genres.plist"), broken);
    missing = missing && autag2_genre_list(AUTAG2_GENRES_ID3) == nullptr;
  }
  platform::replace_resource_folder(nullptr);
  return missing && autag2_genre_list(AUTAG2_GENRES_ID3) != nullptr;
}

// In a process of its own: the list is loaded once a process.
TEST(GenresDeathTest, AListThatIsMissingOrBrokenIsTriedAgain) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(std::exit(retries_until_the_list_is_good() ? 0 : 1), ::testing::ExitedWithCode(0), "");
}

TEST(Genres, NumbersAreThoseOfId3) {
  EXPECT_EQ(name(0), "Blues");
  EXPECT_EQ(name(17), "Rock");
  EXPECT_EQ(name(79), "Hard Rock");
  EXPECT_EQ(name(80), "Folk");
  EXPECT_EQ(name(147), "Synthpop");
  EXPECT_EQ(name(148), "Abstract");
  EXPECT_EQ(name(191), "Psybient");
}

TEST(Genres, NumbersOutsideTheListGiveNothing) {
  EXPECT_EQ(autag2_copy_genre_for_index(-1), nullptr);
  EXPECT_EQ(autag2_copy_genre_for_index(192), nullptr);
  EXPECT_EQ(autag2_copy_genre_for_index(INT32_MAX), nullptr);
  EXPECT_EQ(autag2_copy_genre_for_index(INT32_MIN), nullptr);
}

TEST(Genres, ThereAreTwoKindsOfLists) {
  EXPECT_EQ(audict_count(autag2_genre_list(AUTAG2_GENRES_ID3)), 192u);
  const audict *itunes = autag2_genre_list(AUTAG2_GENRES_ITUNES);
  EXPECT_EQ(audict_kind_of(itunes), AUDICT_ARRAY);
  EXPECT_STREQ(audict_string(audict_at(itunes, 0)), "Alternative");
  EXPECT_EQ(autag2_genre_list(2), nullptr);
  EXPECT_EQ(autag2_genre_list(-1), nullptr);
}

}  // namespace
}  // namespace auspool::tags
