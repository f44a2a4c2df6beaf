// Rewriting the tags of files that other programs have made.
#include <gtest/gtest.h>

#include "auspool/autag2.h"
#include "support/atoms.h"
#include "support/m4a_tags.h"
#include "support/other_programs.h"
#include "support/tag_file.h"
#include "support/watch.h"

using namespace auspool::testing;

namespace {

Ref titled(const std::string &title) {
  Ref tag(audict_create());
  audict_set_string(tag.get(), "Title", title.c_str());
  return tag;
}

class M4aWrite : public ::testing::Test {
protected:
  void SetUp() override { NEED_PROGRAM("ffmpeg"); }

  // Two seconds of audio by another program; `flags` say where the index stands.
  std::string audio(const std::string &flags) const {
    const TempDir folder;
    const std::string path = folder.file("audio.m4a");
    output_of("ffmpeg -v error -f lavfi -i sine=frequency=440:duration=2 -metadata title=old -c:a aac " + flags + " " +
              path);
    return read_file(path);
  }
  static constexpr char kFront[] = "-movflags +faststart", kEnd[] = "";
};

TEST_F(M4aWrite, KeepsTheAudioWhereverTheIndexStands) {
  for (const char *flags : {kFront, kEnd, "-movflags frag_keyframe+empty_moov", "-frag_duration 500000"}) {
    const TagFile file(audio(flags));
    const std::string before = decoded_hash(file.path());
    for (const std::size_t length : {5u, 3000u, 20u, 100u}) {
      const std::string title(length, 'x');
      ASSERT_EQ(file.write(titled(title).get()), 0) << flags;
      EXPECT_EQ(file.read()["Title"], title) << flags;
      EXPECT_EQ(decoded_hash(file.path()), before) << flags << length;
    }
  }
}

TEST_F(M4aWrite, IsReadByMutagen) {
  NEED_MUTAGEN();
  const TagFile file(audio(kFront));
  const Ref tag = titled("Night Train");
  audict_set_string(tag.get(), "Artist", "Oscar");
  audict_set_integer(tag.get(), "TrackNum", 3, AUDICT_INT32);
  audict_set_integer(tag.get(), "TrackTotal", 12, AUDICT_INT32);
  ASSERT_EQ(file.write(tag.get()), 0);
  EXPECT_EQ(python("import sys, mutagen.mp4\nt = mutagen.mp4.MP4(sys.argv[1]).tags\n"
                   "print(t['\xC2\xA9nam'][0], t['\xC2\xA9"
                   "ART'][0], t['trkn'][0])",
                   file.path()),
            "Night Train Oscar (3, 12)\n");
}

TEST_F(M4aWrite, IndexAtTheEndLeavesTheRestAlone) {
  const TagFile file(audio(kEnd));
  const std::string before = file.bytes();
  const std::size_t moov = atom_at(before, "moov").offset;
  ASSERT_EQ(file.write(titled(std::string(3000, 'x')).get()), 0);
  EXPECT_EQ(file.bytes().substr(0, moov), before.substr(0, moov));
}

TEST_F(M4aWrite, ChunkOffsetsGrowWithTheIndexInFront) {
  constexpr char kStco[] = "moov.trak.mdia.minf.stbl.stco";
  const TagFile file(audio(kFront));
  const Atom moov = atom_at(file.bytes(), "moov"), stco = atom_at(file.bytes(), kStco);
  ASSERT_EQ(file.write(titled(std::string(3000, 'x')).get()), 0);
  const Atom new_moov = atom_at(file.bytes(), "moov"), new_stco = atom_at(file.bytes(), kStco);
  const std::uint32_t shift = new_moov.size() - moov.size();
  ASSERT_GT(shift, 2000u);
  for (std::size_t i = 0; i < stco.word(12); ++i) EXPECT_EQ(new_stco.word(16 + 4 * i), stco.word(16 + 4 * i) + shift);
}

// A file of our own: 20 kB of sound, so that 400 bytes of slack are small.
std::string file_with(const std::string &behind_tracks, const std::string &table = atom("stco", words({0, 1, 0}))) {
  const std::string track = atom("trak", atom("mdia", atom("minf", atom("stbl", table))));
  return m4a_file(track + behind_tracks) + atom("mdat", std::string(20000, 's'));
}
std::string old_tag(std::size_t length) {
  return udta(text_item("\xA9nam", std::string(length, 'o')));
}

TEST(M4aRewrite, SmallSlackBecomesAFreeAtom) {
  const TagFile file(file_with(old_tag(300)));
  const std::string before = file.bytes();
  ASSERT_EQ(file.write(titled("new").get()), 0);
  const std::string after = file.bytes();
  EXPECT_EQ(after.size(), before.size()) << "nothing moved";
  EXPECT_EQ(types_in(atom_at(after, "moov").bytes.substr(8)), "trak udta free");
  EXPECT_EQ(atom_at(after, "moov").size(), atom_at(before, "moov").size());
  EXPECT_EQ(atom_at(after, "mdat").offset, atom_at(before, "mdat").offset);
}

TEST(M4aRewrite, WritingTheSameAgainDropsTheFreeAtomAndThenMakesIt) {
  const TagFile file(file_with(old_tag(300)));
  ASSERT_EQ(file.write(titled("new").get()), 0);
  const std::string once = file.bytes();
  ASSERT_EQ(file.write(titled("new").get()), 0);
  EXPECT_EQ(file.bytes(), once);
}

TEST(M4aRewrite, SlackOfAFewBytesMovesTheRest) {
  for (std::size_t slack = 0; slack < 12; ++slack) {
    const TagFile sized(file_with(old_tag(0)));
    ASSERT_EQ(sized.write(titled("new").get()), 0);
    const std::size_t wanted = atom_at(sized.bytes(), "moov.udta").size();
    const TagFile file(file_with(atom("udta", std::string(wanted + slack - 8, 'o'))));
    const std::size_t before = file.bytes().size();
    ASSERT_EQ(file.write(titled("new").get()), 0);
    EXPECT_EQ(file.bytes().size(), slack < 9 ? before - slack : before) << slack;
    EXPECT_EQ(atom_at(file.bytes(), "mdat").size(), 20008u);
  }
}

TEST(M4aRewrite, LargeSlackMovesTheRestAndCutsTheFile) {
  const TagFile file(file_with(old_tag(3000)));
  const std::size_t before = file.bytes().size();
  ASSERT_EQ(file.write(titled("new").get()), 0);
  EXPECT_LT(file.bytes().size(), before - 2500);
  EXPECT_EQ(atom_at(file.bytes(), "mdat").size(), 20008u);
}

TEST(M4aRewrite, OffsetsOf64BitsMoveToo) {
  const std::string path = "moov.trak.mdia.minf.stbl.co64";
  const TagFile file(file_with(old_tag(0), atom("co64", words({0, 2}) + be64(0x100000000) + be64(5))));
  const Atom moov = atom_at(file.bytes(), "moov");
  ASSERT_EQ(file.write(titled(std::string(500, 'x')).get()), 0);
  const std::uint32_t shift = atom_at(file.bytes(), "moov").size() - moov.size();
  const Atom table = atom_at(file.bytes(), path);
  EXPECT_EQ(table.word(16), 1u);
  EXPECT_EQ(table.word(20), shift);
  EXPECT_EQ(table.word(28), 5 + shift);
}

TEST(M4aRewrite, CountsAreBelievedWhereThatIsSafe) {
  const auto after = [](const std::string &table, const char *path) {
    const TagFile file(file_with(old_tag(0), table));
    EXPECT_EQ(file.write(titled(std::string(500, 'x')).get()), 0);
    return atom_at(file.bytes(), std::string("moov.trak.mdia.minf.stbl.") + path);
  };
  EXPECT_EQ(after(atom("stco", words({0, 1, 7, 9})), "stco").word(20), 9u) << "the count is smaller";
  EXPECT_NE(after(atom("stco", words({0, 100, 7})), "stco").word(16), 7u) << "the atom is smaller";
  EXPECT_NE(after(atom("co64", words({0, 1}) + be64(7) + be64(9)), "co64").word(28), 9u) << "the count is smaller";
  EXPECT_NE(after(atom("co64", words({0, 1000000}) + be64(7)), "co64").word(20), 7u) << "it ends with the index";
}

TEST(M4aRewrite, BaseOffsetsOfFragmentsMove) {
  const auto fragment = [](std::uint32_t flags) {
    return atom("moof", atom("traf", atom("tfhd", words({flags, 1}) + be64(1000) + be32(0))));
  };
  const TagFile file(m4a_file(atom("trak", "x") + old_tag(0)) + fragment(1) + atom("mdat", "s") + fragment(0) +
                     atom("mdat", "s") + fragment(1) + atom("mdat", "s"));
  const std::size_t before = file.bytes().size();
  ASSERT_EQ(file.write(titled(std::string(500, 'x')).get()), 0);
  const auto shift = static_cast<std::uint32_t>(file.bytes().size() - before);
  std::vector<std::uint32_t> bases;
  for (const Atom &each : atoms_in(file.bytes())) {
    if (each.type == "moof") bases.push_back(each.word(8 + 8 + 20));
  }
  EXPECT_EQ(bases, (std::vector<std::uint32_t>{1000 + shift, 1000, 1000 + shift}));
}

TEST(M4aRewrite, BaseOffsetsMoveInEveryTrackOfEveryFragmentHoweverItsSizeIsWritten) {
  const auto traf = [](std::uint32_t base) { return atom("traf", atom("tfhd", words({1, 1}) + be64(base) + be32(0))); };
  const std::string two = traf(1000) + traf(2000);
  const std::string wide = be32(1) + "moof" + be64(16 + two.size()) + two;
  const TagFile file(m4a_file(atom("trak", "x") + old_tag(0)) + wide + atom("mdat", "s") + atom("moof", traf(3000)) +
                     atom("mdat", "s"));
  const std::string before = file.bytes();
  ASSERT_EQ(file.write(titled(std::string(500, 'x')).get()), 0);
  const std::string after = file.bytes();
  const auto shift = static_cast<std::uint32_t>(after.size() - before.size());
  for (const std::uint32_t base : {1000u, 2000u, 3000u}) {
    const std::size_t at = before.find(be64(base));
    EXPECT_EQ(after.substr(at + shift, 8), be64(base + shift)) << base;
  }
}

TEST(M4aRewrite, FragmentsAreLeftAloneWithoutAudioBehindTheIndex) {
  const std::string fragment = atom("moof", atom("traf", atom("tfhd", words({1, 1}) + be64(1000) + be32(0))));
  const TagFile file(atom("ftyp", "M4A ") + atom("mdat", "s") + atom("moov", atom("trak", "x") + old_tag(0)) +
                     fragment);
  ASSERT_EQ(file.write(titled(std::string(500, 'x')).get()), 0);
  EXPECT_EQ(file.bytes().substr(file.bytes().size() - fragment.size()), fragment);
}

TEST(M4aRewrite, OffsetsOfEveryTrackMove) {
  const auto track = [](const std::string &tables) {
    return atom("trak", atom("mdia", atom("minf", atom("stbl", tables))));
  };
  const std::string both = atom("stco", words({0, 1, 300})) + atom("co64", words({0, 1}) + be64(400));
  const TagFile file(m4a_file(track(atom("stco", words({0, 1, 100}))) + track(atom("co64", words({0, 1}) + be64(200))) +
                              track(both) + old_tag(0)) +
                     atom("mdat", std::string(20000, 's')));
  const std::string before = file.bytes();
  ASSERT_EQ(file.write(titled(std::string(500, 'x')).get()), 0);
  const auto shift = static_cast<std::uint32_t>(file.bytes().size() - before.size());
  const auto entry = [&](std::uint32_t offset, std::size_t bytes) {
    const std::string old = bytes == 8 ? be64(offset) : be32(offset);
    return file.bytes().substr(before.find(old), bytes);
  };
  EXPECT_EQ(entry(100, 4), be32(100 + shift));
  EXPECT_EQ(entry(200, 8), be64(200 + shift));
  EXPECT_EQ(entry(300, 4), be32(300 + shift));
  EXPECT_EQ(entry(400, 8), be64(400)) << "a table of 64 bits counts only where there is no other";
}

TEST(M4aRewrite, OffsetsOf64BitsFallWithAShorterIndex) {
  const TagFile file(file_with(old_tag(3000), atom("co64", words({0, 1}) + be64(0x100000000))));
  const std::size_t before = file.bytes().size();
  ASSERT_EQ(file.write(titled("x").get()), 0);
  const std::uint64_t shift = before - file.bytes().size();
  EXPECT_EQ(atom_at(file.bytes(), "moov.trak.mdia.minf.stbl.co64").text(16, 8), be64(0x100000000 - shift));
}

TEST(M4aRewrite, NothingBehindATableIsChanged) {
  for (const std::string &table : {atom("stco", words({0, 100, 7})), atom("co64", words({0, 100}) + be64(7))}) {
    const std::string behind = atom("skip", std::string(50, 'b'));
    const std::string track = atom("trak", atom("mdia", atom("minf", atom("stbl", table))));
    const TagFile file(m4a_file(track + behind + old_tag(0)) + atom("mdat", std::string(20000, 's')));
    ASSERT_EQ(file.write(titled(std::string(500, 'x')).get()), 0);
    EXPECT_EQ(atom_at(file.bytes(), "moov.skip").bytes, behind);
  }
}

// Which atoms lie in front of the index makes no difference to its tables.
TEST(M4aRewrite, AudioOnBothSidesHasAllItsOffsetsMoved) {
  const std::string front = atom("mdat", "front");
  const std::string track =
      atom("trak", atom("mdia", atom("minf", atom("stbl", atom("stco", words({0, 2, 24, 900}))))));
  const TagFile file(atom("ftyp", "M4A " + be32(0)) + front + atom("moov", track + old_tag(0)) +
                     atom("mdat", std::string(20000, 's')) + atom("mfra", atom("tfra", be32(900))));
  const std::string before = file.bytes();
  ASSERT_EQ(file.write(titled(std::string(500, 'x')).get()), 0);
  const auto shift = static_cast<std::uint32_t>(file.bytes().size() - before.size());
  EXPECT_EQ(atom_at(file.bytes(), "moov.trak.mdia.minf.stbl.stco").text(16, 8), words({24 + shift, 900 + shift}));
  EXPECT_EQ(atom_at(file.bytes(), "mfra.tfra").bytes, atom("tfra", be32(900))) << "of random access";
}

TEST(M4aRewrite, EmptyAtomAtTheEndOfTheIndexStays) {
  for (const char *name : {"free", "udta"}) {
    const TagFile file(m4a_file(atom("trak", "x") + atom(name, "")) + atom("mdat", std::string(20000, 's')));
    ASSERT_EQ(file.write(titled("new").get()), 0);
    EXPECT_EQ(types_in(atom_at(file.bytes(), "moov").bytes.substr(8)), std::string("trak ") + name + " udta");
  }
}

TEST(M4aRewrite, AnyNumberOfFreeAtomsGo) {
  std::string children = atom("trak", "x");
  for (int i = 0; i < 100000; ++i) children += atom("free", "y");
  const TagFile file(m4a_file(children + atom("skip", "z")) + atom("mdat", std::string(20000, 's')));
  ASSERT_EQ(file.write(titled("new").get()), 0);
  EXPECT_EQ(types_in(atom_at(file.bytes(), "moov").bytes.substr(8)), "trak skip udta");
}

TEST(M4aRewrite, KeepsNoItemThatTheDictionaryHasNot) {
  const TagFile file(m4a_file(atom("trak", "x") + udta(text_item("\xA9nam", "old") + freeform("iTunNORM", "1") +
                                                       freeform("iTunSMPB", " 0 840 1C0 1000"))) +
                     atom("mdat", std::string(20000, 's')));
  const ReadResult read = file.read();
  ASSERT_EQ(file.write(read.dict.get()), 0);
  EXPECT_EQ(file.bytes().find("----"), std::string::npos);
  EXPECT_EQ(file.read()["Title"], "old");
}

TEST(M4aRewrite, WithoutATagLeavesTheFile) {
  const TagFile file(file_with(old_tag(10)));
  const std::string before = file.bytes();
  EXPECT_EQ(file.write(nullptr), AUTAG2_EUNK);
  EXPECT_EQ(file.bytes(), before);
}

TEST(M4aRewrite, WritesTheIndexOnceAndMovesOnlyWhatIsBehindIt) {
  const auto writes = [](const std::string &bytes) {
    int count = 0;
    for (int nth = 1;; ++nth, ++count) {
      const TagFile file(bytes);
      const CallFailer failer("pwrite", nth, 28 /* ENOSPC */);
      if (file.write(titled(std::string(500, 'x')).get()) == 0) return count;
    }
  };
  EXPECT_EQ(writes(file_with(old_tag(0))), 2);
  EXPECT_EQ(writes(atom("ftyp", "M4A ") + atom("mdat", "s") + atom("moov", atom("trak", "x"))), 1);
}

TEST(M4aRewrite, FailsWithoutAChangeWhenMemoryRunsOut) {
  const TagFile file(file_with(old_tag(0)));
  const std::string before = file.bytes();
  const Ref tag = titled(std::string(500, 'x'));
  const auto write = [&] {
    if (file.write(tag.get()) == 0) return true;
    EXPECT_TRUE(file.bytes() == before);
    return false;
  };
  EXPECT_GT(fail_each_allocation(write), 2);
}

TEST(M4aRewrite, OneOfTwoTagsIsReplacedAndEveryFreeAtomGoes) {
  const TagFile file(file_with(atom("free", "a") + old_tag(5) + atom("free", "b") + old_tag(6) + atom("free", "c")));
  ASSERT_EQ(file.write(titled(std::string(500, 'x')).get()), 0);
  EXPECT_EQ(types_in(atom_at(file.bytes(), "moov").bytes.substr(8)), "trak udta udta");
}

TEST(M4aRewrite, RefusesFilesThatAreNotWhatTheyShouldBe) {
  const auto error_of = [](const std::string &bytes) {
    const TagFile file(bytes);
    const std::int32_t error = file.write(titled("x").get());
    EXPECT_EQ(file.bytes(), bytes) << "unchanged";
    return error;
  };
  const std::string type = atom("ftyp", "M4A ");
  EXPECT_EQ(error_of(type + atom("mdat", "x")), AUTAG2_EPRS) << "no index";
  EXPECT_EQ(error_of(type + atom("moov", "x", 100)), AUTAG2_EPRS) << "an index beyond the file";
  EXPECT_EQ(error_of(type + atom("moov", "x", 0)), AUTAG2_EPRS) << "an index to the end of the file";
  EXPECT_EQ(error_of(type + be32(1) + "moov" + be64(25) + atom("trak", "x")), AUTAG2_EPRS) << "of 64 bits";
  EXPECT_EQ(error_of(m4a_file(atom("free", "x", 100))), AUTAG2_EPRS) << "a child beyond the index";
  EXPECT_EQ(error_of(m4a_file(old_tag(3))), AUTAG2_EPRS) << "nothing but a tag";
}

TEST(M4aRewrite, TellsOfADiskThatFails) {
  for (const char *call : {"pwrite", "ftruncate"}) {
    const TagFile file(file_with(old_tag(0)));
    const CallFailer failer(call, 1, 28 /* ENOSPC */);
    EXPECT_EQ(file.write(titled(std::string(500, 'x')).get()), 28) << call;
    EXPECT_EQ(failer.failures(), 1);
  }
}

}  // namespace
