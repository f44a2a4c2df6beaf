// Rewriting AIFF and WAVE files: where old tags go, what moves, and what stays.
#include <gtest/gtest.h>

#include <cerrno>
#include <random>

#include "support/chunk_file.h"
#include "support/id3.h"
#include "support/tag_file.h"
#include "support/watch.h"
#include "tags/aiff/aiff.h"
#include "tags/caf/caf.h"
#include "tags/chunks/rewrite_model.h"
#include "tags/wave/wave.h"

namespace auspool::testing {
namespace {

Ref tag_with(const char *title) {
  Ref tag(audict_create());
  audict_set_string(tag.get(), "Title", title);
  return tag;
}

std::string block(const audict *tag, std::uint32_t format) {
  return bytes_of(Ref(autag2_create(tag, format)).get());
}

// What each container of chunks is in these tests.
struct Kind {
  std::uint32_t format;
  const ModelContainer &model;
  std::string (*chunk)(const std::string &id, const std::string &data, std::int64_t claimed);
  std::string (*file)(const std::string &chunks, std::int64_t claimed);
  std::vector<FoundChunk> (*chunks_of)(const std::string &file);
  std::string (*sound)(int frames);
  std::int32_t (*write)(const char *path, const audict *tag);
  const char *tag_id, *other_tag_id;

  std::string old_tag(const std::string &title) const {
    return format == AUTAG2_AIFF ? aiff_chunk("NAME", title) : info_list(wave_chunk("INAM", title));
  }
};
const Kind kKinds[] = {
    {AUTAG2_AIFF, kAiffModel, aiff_chunk, aiff_file, aiff_chunks, aiff_sound, tags::autag2_aiff_write, "NAME", "AUTH"},
    {AUTAG2_WAVE, kWaveModel, wave_chunk, wave_file, wave_chunks, wave_sound, tags::autag2_wave_write, "id3 ", "ID3 "},
};

class Rewrite : public ::testing::TestWithParam<Kind> {
protected:
  std::string chunk(const std::string &id, const std::string &data) const { return kind.chunk(id, data, kTrueSize); }
  std::string file(const std::string &chunks, std::int64_t claimed = kTrueSize) const {
    return kind.file(chunks, claimed);
  }
  std::string sound_of(const std::string &bytes) const { return data_of(kind.chunks_of(bytes), kind.model.sound_id); }

  const Kind &kind = GetParam();
  const Ref tag = tag_with("Night Train");
  const std::string block_ = block(tag.get(), GetParam().format);
  const std::string sound = GetParam().sound(1000);
};

TEST_P(Rewrite, AnUntaggedFileGetsTheTagAtItsEnd) {
  const TagFile on_disk(file(sound));
  EXPECT_EQ(on_disk.write(tag.get()), 0);
  EXPECT_EQ(on_disk.bytes(), file(sound + block_));
  EXPECT_EQ(on_disk.read()["Title"], "Night Train");
}

TEST_P(Rewrite, OldTagsBeforeTheSoundBecomeFreeChunks) {
  const std::string old = kind.old_tag("old title") + chunk(kind.other_tag_id, "x");
  const TagFile on_disk(file(old + sound));
  EXPECT_EQ(on_disk.write(tag.get()), 0);
  std::string freed = file(old + sound + block_);
  freed.replace(12, 4, kind.model.free_id);
  freed.replace(12 + kind.old_tag("old title").size(), 4, kind.model.free_id);
  EXPECT_EQ(on_disk.bytes(), freed) << "the file only grew by the new tag";
  EXPECT_EQ(on_disk.read()["Title"], "Night Train");
}

TEST_P(Rewrite, OtherChunksStay) {
  const std::string other = chunk("APPL", "host") + chunk("LIST", "adtl");
  const TagFile on_disk(file(other + sound + other));
  EXPECT_EQ(on_disk.write(tag.get()), 0);
  EXPECT_EQ(on_disk.bytes(), file(other + sound + other + block_));
}

TEST_P(Rewrite, TheSecondRewriteZeroesTheLast8BytesOfTheSoundAndLaterOnesNoMore) {
  const TagFile on_disk(file(sound));
  const std::string audio = sound_of(on_disk.bytes());
  EXPECT_EQ(on_disk.write(tag_with("first").get()), 0);
  EXPECT_EQ(sound_of(on_disk.bytes()), audio);
  const std::string without_end = audio.substr(0, audio.size() - 8) + std::string(8, '\0');
  for (const char *title : {"second", "third, which is longer", "4"}) {
    EXPECT_EQ(on_disk.write(tag_with(title).get()), 0);
    EXPECT_EQ(sound_of(on_disk.bytes()), without_end) << title;
    EXPECT_EQ(on_disk.read()["Title"], title);
    const std::string expected = file(sound + block(tag_with(title).get(), kind.format));
    EXPECT_EQ(on_disk.bytes().size(), expected.size());
    EXPECT_EQ(ids_of(kind.chunks_of(on_disk.bytes())), ids_of(kind.chunks_of(expected)));
  }
}

TEST_P(Rewrite, AnOddTagChunkAtTheEndLosesTheTag) {
  const TagFile on_disk(file(sound + chunk(kind.tag_id, "eleven byte")));
  EXPECT_EQ(on_disk.write(tag.get()), EIO) << "its pad byte stays and is taken for the next header";
  const std::string before = file(sound + chunk(kind.tag_id, "eleven byte"));
  EXPECT_EQ(on_disk.bytes(), before.substr(0, before.size() - 20 - 7))
      << "8 bytes less than without the chunk and its 19";
  EXPECT_EQ(on_disk.read()["Title"], "none");
}

TEST_P(Rewrite, AnOddTagChunkBeforeOthersHidesTheNewTag) {
  const TagFile on_disk(file(sound + chunk(kind.tag_id, "eleven byte") + chunk("AUTH", "HHHH") + chunk("APPL", "x")));
  EXPECT_EQ(on_disk.write(tag.get()), 0);
  const auto chunks = kind.chunks_of(on_disk.bytes());
  EXPECT_EQ(chunks[2].id, "\0AUT"s);
  EXPECT_EQ(on_disk.read()["Title"], "none");
  EXPECT_NE(on_disk.bytes().find(block_), std::string::npos);
}

TEST_P(Rewrite, EveryTagChunkBehindTheSoundIsCutOut) {
  const std::string behind = chunk("APPL", "between") + chunk(kind.other_tag_id, "even") + kind.old_tag("olds") +
                             chunk("APPL", "0123456789abcdef");
  const TagFile on_disk(file(sound + chunk(kind.tag_id, "even") + behind));
  EXPECT_EQ(on_disk.write(tag.get()), 0);
  const auto chunks = kind.chunks_of(on_disk.bytes());
  EXPECT_EQ(ids_of(chunks), ids_of(kind.chunks_of(file(sound + chunk("APPL", "") + chunk("APPL", "") + block_))));
  EXPECT_EQ(chunks[2].data, "between");
  EXPECT_EQ(chunks[3].data, "01234567" + std::string(8, '\0'));
  EXPECT_EQ(on_disk.read()["Title"], "Night Train");
}

TEST_P(Rewrite, WhatLiesBehindTheFormIsOverwrittenOrStays) {
  const TagFile short_rest(file(sound) + "rest");
  EXPECT_EQ(short_rest.write(tag.get()), 0);
  EXPECT_EQ(short_rest.bytes(), file(sound + block_));
  const std::string rest(2 * block_.size(), 'r');
  const TagFile long_rest(file(sound) + rest);
  EXPECT_EQ(long_rest.write(tag.get()), 0);
  EXPECT_EQ(long_rest.bytes(), file(sound + block_) + rest.substr(block_.size()));
}

TEST_P(Rewrite, AFileThatEndsInsideItsSoundGetsTheTagWhereTheFormWouldEnd) {
  const std::string whole = file(sound);
  const TagFile on_disk(whole.substr(0, whole.size() - 100));
  EXPECT_EQ(on_disk.write(tag.get()), 0);
  EXPECT_EQ(on_disk.bytes(), file(sound.substr(0, sound.size() - 100) + std::string(100, '\0') + block_));
}

TEST_P(Rewrite, AFormLargerThanTheFileIsAnErrorAndKeepsAll) {
  const std::string bytes = file(sound, 1'000'000);
  const TagFile on_disk(bytes);
  EXPECT_EQ(on_disk.write(tag.get()), EIO);
  EXPECT_EQ(on_disk.bytes(), bytes);
}

TEST_P(Rewrite, AFormOfSize0IsMalformed) {
  const TagFile on_disk(file(sound, 0));
  EXPECT_EQ(on_disk.write(tag.get()), AUTAG2_EPRS);
}

TEST_P(Rewrite, AFormThatBecomesTooLargeIsLeftAlone) {
  const std::int64_t largest = kind.format == AUTAG2_AIFF ? INT32_MAX : UINT32_MAX;
  const std::string bytes =
      file(chunk(kind.tag_id, "old ") + kind.chunk(kind.model.sound_id, "", largest - 30), largest - 20);
  const TagFile on_disk(bytes);
  EXPECT_EQ(on_disk.write(tag.get()), EFBIG);
  EXPECT_EQ(on_disk.bytes(), bytes);
}

TEST_P(Rewrite, ATagChunkThatReachesOutOfTheFormIsNotCut) {
  const std::string bytes = file(sound + kind.chunk(kind.tag_id, "even", 1000));
  const TagFile on_disk(bytes);
  EXPECT_EQ(on_disk.write(tag.get()), AUTAG2_EPRS);
  EXPECT_EQ(on_disk.bytes(), bytes);
}

TEST_P(Rewrite, AFormThatReachesOutOfTheFileIsNotCut) {
  const std::string bytes = file(sound + kind.chunk(kind.tag_id, "even", kTrueSize), 100'000);
  const TagFile on_disk(bytes);
  EXPECT_EQ(on_disk.write(tag.get()), AUTAG2_EPRS);
  EXPECT_EQ(on_disk.bytes(), bytes);
}

TEST_P(Rewrite, WhatWasCutBeforeAnErrorStaysCut) {
  // Of the chunk behind the cut one there is only half a header.
  const std::string bytes = file(chunk(kind.tag_id, "free") + sound + chunk(kind.tag_id, "even") + "APPL");
  const TagFile on_disk(bytes);
  EXPECT_EQ(on_disk.write(tag.get()), EIO);
  std::string expected = bytes.substr(0, bytes.size() - 4 - 12) + "APPL";
  expected.replace(12, 4, kind.model.free_id);
  EXPECT_EQ(on_disk.bytes(), expected.substr(0, expected.size() - 8)) << "the form's size is only changed last";
}

TEST_P(Rewrite, FailedCallsAreReported) {
  const std::string bytes =
      file(chunk(kind.tag_id, "old ") + sound + chunk(kind.tag_id, "even") + chunk("APPL", std::string(100, 'x')));
  for (const char *call : {"pread", "pwrite", "ftruncate"}) {
    int failed = 0;
    for (int nth = 1; nth < 100; ++nth) {
      const TagFile on_disk(bytes);
      const CallFailer failer(call, nth, ENOSPC);
      const std::int32_t result = kind.write(on_disk.path(), tag.get());
      if (failer.failures() == 0) break;
      EXPECT_EQ(result, ENOSPC) << call << nth;
      EXPECT_NE(on_disk.bytes().find(sound.substr(100, 500)), std::string::npos);
      ++failed;
    }
    EXPECT_GT(failed, 0) << call;
  }
}

TEST_P(Rewrite, FailedAllocationsLeaveTheFileOrThePartsOfIt) {
  const std::string bytes = file(sound + chunk(kind.tag_id, "even") + chunk("APPL", std::string(100, 'x')));
  const TagFile on_disk(bytes);
  for (int nth = 1;; ++nth) {
    write_file(on_disk.path(), bytes);
    const AllocationFailer failer(nth);
    const std::int32_t result = on_disk.write(tag.get());
    if (!failer.failed()) break;
    EXPECT_EQ(result, AUTAG2_EUNK) << nth;
    EXPECT_EQ(on_disk.bytes(), bytes) << nth;
  }
}

TEST_P(Rewrite, ANullTagLeavesTheFile) {
  const TagFile on_disk(file(sound));
  EXPECT_EQ(on_disk.write(nullptr), AUTAG2_EUNK);
  EXPECT_EQ(on_disk.bytes(), file(sound));
}

TEST_P(Rewrite, AFileThatMayOnlyBeReadIsAnError) {
  const TempDir folder;
  const std::string path = folder.file("read-only");
  write_file(path, file(sound));
  EXPECT_EQ(autag2_write((path + "/").c_str(), tag.get()), ENOTDIR);
  EXPECT_EQ(autag2_write(folder.file("none").c_str(), tag.get()), ENOENT);
}

// Compares with the plain model over files of random chunks, tags before, between and behind the sound, odd and even.
TEST_P(Rewrite, IsAsDoneChunkByChunk) {
  std::minstd_rand random(5);
  const char *ids[] = {"NAME", "AUTH", "ANNO", "(c) ", "ID3 ", "id3 ", "LIST", "APPL", "SSND", "data"};
  int cut = 0;
  const TempDir folder;
  for (int round = 0; round < 600; ++round) {
    std::string chunks;
    for (int count = static_cast<int>(random() % 8); count > 0; --count) {
      std::string data(random() % 30, '\0');
      for (char &byte : data) byte = static_cast<char>('A' + random() % 50);
      if (random() % 2 == 0) data = "INFO" + data;
      chunks += chunk(ids[random() % std::size(ids)], data);
    }
    const std::string bytes = file(chunks) + std::string(random() % 3 == 0 ? random() % 20 : 0, 'j');
    const Ref new_tag = random() % 4 == 0 ? Ref(audict_create()) : tag_with("a title");
    std::string expected = bytes;
    const std::int32_t code = RewriteModel(kind.model, expected).run(block(new_tag.get(), kind.format));
    const std::string path = folder.file(std::to_string(round));
    write_file(path, bytes);
    ASSERT_EQ(autag2_write(path.c_str(), new_tag.get()), code) << round;
    ASSERT_EQ(read_file(path), expected) << round;
    if (expected.size() < bytes.size()) ++cut;
  }
  EXPECT_GT(cut, 10);
}

INSTANTIATE_TEST_SUITE_P(Containers, Rewrite, ::testing::ValuesIn(kKinds),
                         [](const auto &it) { return it.param.format == AUTAG2_AIFF ? "Aiff" : "Wave"; });

TEST(RewriteAiff, AnEmptyTagLeavesTheFormsSizeAndTheFile8BytesShort) {
  const std::string sound = aiff_sound(100);
  const TagFile on_disk(aiff_file(sound + aiff_chunk("NAME", "even")));
  EXPECT_EQ(on_disk.write(Ref(audict_create()).get()), 0);
  const std::string before = aiff_file(sound + aiff_chunk("NAME", "even"));
  EXPECT_EQ(on_disk.bytes(), before.substr(0, before.size() - 12 - 8));
}

TEST(RewriteWave, AnEmptyTagIsWrittenToo) {
  const TagFile on_disk(wave_file(wave_sound(100)));
  const Ref empty(audict_create());
  EXPECT_EQ(on_disk.write(empty.get()), 0);
  EXPECT_EQ(on_disk.bytes(), wave_file(wave_sound(100) + block(empty.get(), AUTAG2_WAVE)));
}

TEST(RewriteAiff, ANegativeChunkSizeIsMalformed) {
  const std::string bytes = aiff_file(aiff_chunk("NAME", "old ") + aiff_chunk("APPL", "x", -2) + aiff_sound(10));
  const TagFile on_disk(bytes);
  EXPECT_EQ(on_disk.write(tag_with("x").get()), AUTAG2_EPRS);
  EXPECT_EQ(on_disk.bytes(), std::string(bytes).replace(12, 4, "FREE")) << "what was freed stays free";
}

TEST(RewriteWave, TheOldId3ChunkIsReadButNotRemoved) {
  const std::string old = wave_chunk("ID32", id3_with("TIT2", "\0old"s));
  const TagFile on_disk(wave_file(wave_sound(10) + old));
  EXPECT_EQ(on_disk.read()["Title"], "old");
  EXPECT_EQ(on_disk.write(tag_with("new").get()), 0);
  EXPECT_EQ(on_disk.bytes(), wave_file(wave_sound(10) + old + block(tag_with("new").get(), AUTAG2_WAVE)));
}

TEST(RewriteCaf, IsNotImplemented) {
  const std::string bytes = caf_file(caf_sound(10));
  const TagFile on_disk(bytes);
  EXPECT_EQ(on_disk.write(tag_with("x").get()), AUTAG2_EIMP);
  EXPECT_EQ(on_disk.bytes(), bytes);
  EXPECT_EQ(tags::autag2_caf_write("/no/such/file", nullptr), AUTAG2_EIMP);
}

TEST(RewriteWave, WithinALargeFileOnlyWhatMustIsWritten) {
  const TagFile on_disk(wave_file(wave_sound(1'000'000)));
  CallFailer third("pwrite", 3);
  EXPECT_EQ(on_disk.write(tag_with("x").get()), 0);
  EXPECT_EQ(third.failures(), 0) << "the tag and the size are written, nothing moves";
}

}  // namespace
}  // namespace auspool::testing
