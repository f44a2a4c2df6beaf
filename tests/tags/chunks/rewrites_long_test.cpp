// A thousand rewrites a format, each of a fresh copy: the sound stays as it was.
#include <gtest/gtest.h>

#include <random>

#include "support/chunk_file.h"
#include "support/tag_file.h"

namespace auspool::testing {
namespace {

std::minstd_rand random_number(3);

std::string random_text() {
  static const char *const kPieces[] = {"Night Train ", "é", "π≈3 ", "日本", "“q” ", "x"};
  std::string text;
  for (auto count = random_number() % 40; count > 0; --count) text += kPieces[random_number() % std::size(kPieces)];
  return text;
}

Ref random_tag() {
  Ref tag(audict_create());
  for (const char *key : {"Title", "Artist", "Comment", "Encoder", "Album", "Lyrics", "Genre"}) {
    // ID3 has no room to tell short lyrics from none.
    const std::string start = key == std::string("Lyrics") ? "words " : "";
    if (random_number() % 2 == 0) audict_set_string(tag.get(), key, (start + random_text()).c_str());
  }
  for (const char *key : {"Year", "TrackNum", "BPM"}) {
    if (random_number() % 2 == 0) audict_set_integer(tag.get(), key, 1 + random_number() % 3000, AUDICT_INT32);
  }
  if (random_number() % 3 == 0) {
    const std::string cover = "\xFF\xD8" + std::string(20 + random_number() % 5000, 'c');
    audict_set_data(tag.get(), "AlbumCover", cover.data(), cover.size());
  }
  return tag;
}

std::string block(std::uint32_t format) {
  return bytes_of(Ref(autag2_create(random_tag().get(), format)).get());
}

// What a file of the format holds after a rewrite, by the tag that went in. Empty texts are not written.
void expect_tag(const ReadResult &read, const audict *tag) {
  for (const char *key : {"Album", "Lyrics", "Genre", "Year", "TrackNum", "BPM", "AlbumCover"}) {
    const std::string wanted = shown(audict_get(tag, key));
    EXPECT_EQ(read[key], wanted.empty() ? "none" : wanted) << key;
  }
}

TEST(RewritesLong, OfAiffFilesKeepTheSound) {
  for (int round = 0; round < 1000; ++round) {
    const std::string sound = aiff_sound(100 + static_cast<int>(random_number() % 3000));
    const TagFile file(aiff_file((round % 2 != 0 ? block(AUTAG2_AIFF) : "") + sound));
    const Ref tag = random_tag();
    ASSERT_EQ(file.write(tag.get()), 0) << round;
    ASSERT_EQ(data_of(aiff_chunks(file.bytes()), "SSND"), data_of(aiff_chunks(aiff_file(sound)), "SSND")) << round;
    expect_tag(file.read(), tag.get());
  }
}

TEST(RewritesLong, OfWaveFilesKeepTheSound) {
  for (int round = 0; round < 1000; ++round) {
    const std::string sound = wave_sound(100 + static_cast<int>(random_number() % 3000));
    const TagFile file(wave_file((round % 2 != 0 ? block(AUTAG2_WAVE) : "") + sound));
    const Ref tag = random_tag();
    ASSERT_EQ(file.write(tag.get()), 0) << round;
    ASSERT_EQ(data_of(wave_chunks(file.bytes()), "data"), data_of(wave_chunks(wave_file(sound)), "data")) << round;
    expect_tag(file.read(), tag.get());
  }
}

}  // namespace
}  // namespace auspool::testing
