// Fragmented files.
#include <gtest/gtest.h>

#include <algorithm>

#include "auspool/audict.h"
#include "m4a/m4a_file.h"
#include "m4a/record.h"
#include "support/big_endian.h"
#include "support/watch.h"

using namespace auspool::testing;

namespace {

struct Format {
  std::uint32_t rate = 44100, frames = 1024;
};

// A record and its file; the record is released with it.
class Fragmented {
public:
  explicit Fragmented(const Format &format = {}, std::int32_t kind = M4A_KIND_AAC, const audict *tags = nullptr)
      : m4a(m4a_begin_fragmented(file.stream, tags, kind, 2, format.rate, format.frames, 128000, 0)) {
    EXPECT_NE(m4a, nullptr);
  }
  ~Fragmented() { auspool::m4a::release_record(m4a); }
  Fragmented(const Fragmented &) = delete;
  Fragmented &operator=(const Fragmented &) = delete;

  void write(int count) {
    for (int i = 0; i < count; ++i, ++written_) {
      m4a_write_sample_fragmented(m4a, packet(written_).data(), static_cast<int>(packet(written_).size()));
    }
  }
  std::vector<Atom> atoms() const { return atoms_in(file.bytes()); }
  std::string types() const { return types_in(file.bytes()); }

  M4aFile file;
  m4a_t *const m4a;

private:
  int written_ = 0;
};

TEST(FragmentedM4a, HoldsAboutFiveSecondsAFragment) {
  const auto packets = [](std::uint32_t rate, std::uint32_t frames) {
    return Fragmented({rate, frames}).m4a->fragment_samples;
  };
  EXPECT_EQ(packets(44100, 1024), 215);
  EXPECT_EQ(packets(8000, 4096), 10) << "9 is too few";
  EXPECT_EQ(packets(192000, 352), 1021) << "2727 are too many";
  EXPECT_EQ(packets(44100, 0), 1021);
  EXPECT_EQ(packets(0, 0), 10);
}

TEST(FragmentedM4a, BeginsWithAnIndexWithoutPackets) {
  const Fragmented of;
  EXPECT_EQ(of.types(), "ftyp moov");
  const Atom moov = of.atoms()[1];
  EXPECT_EQ(moov.size(), 496u + 16 + 20 + 16 + 40);
  EXPECT_EQ(types_in(moov.bytes.substr(8)), "mvhd trak mvex");
  EXPECT_EQ(of.file.atom("moov.mvhd").word(24), 0u);
  const Atom stts = of.file.atom("moov.trak.mdia.minf.stbl.stts");
  EXPECT_EQ(stts.size(), 24u);
  EXPECT_EQ(stts.word(12), 0u) << "no entry";
  EXPECT_EQ(stts.word(16), 0u);
  EXPECT_EQ(stts.word(20), 1024u);
  EXPECT_EQ(of.file.atom("moov.mvex").bytes,
            std::string("\0\0\0\x28mvex\0\0\0\x20trex\0\0\0\0\0\0\0\1\0\0\0\1\0\0\4\0\0\0\0\0\0\0\0\0", 40));
}

TEST(FragmentedM4a, AlacHasNoLargestPacketYet) {
  const Fragmented of({44100, 4096}, M4A_KIND_ALAC);
  const Atom entry = of.file.atom("moov.trak.mdia.minf.stbl.stsd.alac");
  EXPECT_EQ(entry.word(48), 4096u);
  EXPECT_EQ(entry.word(60), 0u);
}

TEST(FragmentedM4a, AlacsIndexIsTheShorterOne) {
  const Fragmented of({44100, 4096}, M4A_KIND_ALAC);
  EXPECT_EQ(of.types(), "ftyp moov");
  EXPECT_EQ(of.atoms()[1].size(), 472u + 16 + 20 + 16 + 40);
}

TEST(FragmentedM4a, TagsAreInTheFileFromTheStart) {
  audict *const tags = audict_create();
  audict_set_string(tags, "Title", "Night Train");
  const Fragmented of({}, M4A_KIND_AAC, tags);
  audict_release(tags);
  const Atom moov = of.file.atom("moov");
  EXPECT_EQ(types_in(moov.bytes.substr(8)), "mvhd trak mvex udta");
  EXPECT_NE(atom_at(moov.bytes.substr(8), "udta.meta.ilst").bytes.find("Night Train"), std::string::npos);
}

TEST(FragmentedM4a, DataSizeIsTheSumOfTheSizesAsTheyAreStored) {
  Fragmented of({44100, 22050});
  const std::size_t moof = of.file.bytes().size();
  m4a_write_sample_fragmented(of.m4a, packet(0, 40000).data(), 40000);
  of.write(9);
  const std::string bytes = of.file.bytes();
  EXPECT_EQ(bytes.substr(moof + 4, 4), "moof");
  EXPECT_EQ(bytes.substr(moof + 68 + 80, 8), be32(static_cast<std::uint32_t>(8 + 40000 - 65536 + 9 * 10)) + "mdat");
}

TEST(FragmentedM4a, OpenFragmentIsSkippedByReaders) {
  Fragmented of;
  of.write(3);
  std::fflush(of.file.stream);
  const std::string bytes = of.file.bytes();
  EXPECT_EQ(types_in(bytes), "ftyp moov free mdat");
  EXPECT_EQ(of.atoms()[2].size(), 68u + 8 * 215);
  EXPECT_EQ(of.atoms()[3].word(0), 0u) << "it reaches to the end of the file";
  EXPECT_EQ(of.atoms()[3].bytes.substr(8), packet(0) + packet(1) + packet(2));
}

TEST(FragmentedM4a, FullFragmentHasItsIndexInFront) {
  Fragmented of;
  of.write(215);
  EXPECT_EQ(of.types(), "ftyp moov moof mdat");
  const Atom moof = of.atoms()[2], mdat = of.atoms()[3];
  EXPECT_EQ(moof.size(), 68u + 8 * 215);
  EXPECT_EQ(mdat.size(), 8u + 215 * 10);
  EXPECT_EQ(types_in(moof.bytes.substr(8)), "mfhd traf");
  EXPECT_EQ(atom_at(moof.bytes.substr(8), "mfhd").word(12), 1u);
  const std::string traf = atom_at(moof.bytes.substr(8), "traf").bytes.substr(8);
  EXPECT_EQ(types_in(traf), "tfhd trun");
  EXPECT_EQ(atom_at(traf, "tfhd").bytes, std::string("\0\0\0\x10tfhd\0\2\0\0\0\0\0\1", 16));
  const Atom trun = atom_at(traf, "trun");
  EXPECT_EQ(trun.word(8), 0x301u);
  EXPECT_EQ(trun.word(12), 215u);
  EXPECT_EQ(trun.word(16), moof.size() + 8);
  for (std::size_t i = 0; i < 215; ++i) {
    EXPECT_EQ(trun.word(20 + 8 * i), 1024u);
    EXPECT_EQ(trun.word(24 + 8 * i), 10u);
  }
}

TEST(FragmentedM4a, NumbersItsFragmentsAndLosesNoPacket) {
  Fragmented of({44100, 22050});  // 10 packets a fragment
  of.write(37);
  EXPECT_EQ(m4a_finish_fragmented(of.m4a, M4A_KIND_AAC), 0);
  std::string data, expected;
  std::uint32_t sequence = 0;
  for (const Atom &atom : of.atoms()) {
    if (atom.type == "moof") {
      EXPECT_EQ(atom.word(20), ++sequence);
    }
    if (atom.type == "mdat") data += atom.bytes.substr(8);
  }
  for (int i = 0; i < 37; ++i) expected += packet(i);
  EXPECT_EQ(sequence, 4u);
  EXPECT_EQ(data, expected);
  EXPECT_EQ(of.m4a->fragment_duration, 37 * 22050);
}

TEST(FragmentedM4a, LastFragmentKeepsTheRoomOfItsIndex) {
  Fragmented of;
  of.write(3);
  EXPECT_EQ(m4a_finish_fragmented(of.m4a, M4A_KIND_AAC), 0);
  const Atom moof = of.atoms()[2];
  EXPECT_EQ(moof.size(), 1788u);
  EXPECT_EQ(types_in(moof.bytes.substr(8)), "mfhd traf free");
  const Atom traf = atom_at(moof.bytes.substr(8), "traf"), trun = atom_at(traf.bytes.substr(8), "trun");
  EXPECT_EQ(traf.size(), 68u);
  EXPECT_EQ(trun.size(), 44u);
  EXPECT_EQ(trun.word(12), 3u);
  EXPECT_EQ(trun.word(16), 1796u);
  EXPECT_EQ(atom_at(moof.bytes.substr(8), "free").size(), 1696u);
  EXPECT_EQ(of.atoms()[3].offset, moof.offset + 1788);
}

TEST(FragmentedM4a, OneMissingPacketLeavesAnEmptyFree) {
  Fragmented of({44100, 22050});
  of.write(9);
  m4a_finish_fragmented(of.m4a, M4A_KIND_AAC);
  EXPECT_EQ(atom_at(of.atoms()[2].bytes.substr(8), "free").size(), 8u);
}

TEST(FragmentedM4a, FinishingBehindAWholeFragmentChangesNothing) {
  Fragmented of({44100, 22050});
  of.write(10);
  const std::string before = of.file.bytes();
  EXPECT_EQ(m4a_finish_fragmented(of.m4a, M4A_KIND_AAC), 0);
  EXPECT_EQ(of.file.bytes(), before);
}

TEST(FragmentedM4a, EmptyPacketLeavesNoTrace) {
  Fragmented of;
  const std::string before = of.file.bytes();
  m4a_write_sample_fragmented(of.m4a, "", 0);
  m4a_write_sample_fragmented(of.m4a, "", -1);
  EXPECT_EQ(of.file.bytes(), before);
}

// A file in memory that keeps what it was after each write that reached it.
struct NotedFile {
  std::string bytes;
  std::size_t at = 0;
  std::vector<std::string> states;

  static ssize_t write(void *self, const char *data, std::size_t size) {
    auto &file = *static_cast<NotedFile *>(self);
    if (file.bytes.size() < file.at + size) file.bytes.resize(file.at + size);
    file.bytes.replace(file.at, size, data, size);
    file.at += size;
    file.states.push_back(file.bytes);
    return static_cast<ssize_t>(size);
  }
  static int seek(void *self, off64_t *offset, int from) {
    auto &file = *static_cast<NotedFile *>(self);
    const std::size_t start = from == SEEK_SET ? 0 : from == SEEK_CUR ? file.at : file.bytes.size();
    *offset += static_cast<off64_t>(start);
    file.at = static_cast<std::size_t>(*offset);
    return 0;
  }
  FILE *open() { return fopencookie(this, "w", {nullptr, write, seek, nullptr}); }
};

// A reader of a file that was cut off finds an index whole, or none: one that is torn would cost it the whole file.
TEST(FragmentedM4a, IndexGetsItsNameOnceTheRestIsWritten) {
  NotedFile file;
  FILE *const stream = file.open();
  m4a_t *const m4a = m4a_begin_fragmented(stream, nullptr, M4A_KIND_AAC, 2, 44100, 22050, 128000, 0);
  for (int i = 0; i < 10; ++i) m4a_write_sample_fragmented(m4a, packet(i).data(), 10);
  auspool::m4a::release_record(m4a);
  std::fclose(stream);
  const Atom moof = atom_at(file.bytes, "moof");
  int named = 0, unnamed = 0;
  for (const std::string &state : file.states) {
    if (state.size() < moof.offset + moof.size()) continue;
    const bool has_name = state.substr(moof.offset + 4, 4) == "moof";
    ++(has_name ? named : unnamed);
    if (has_name) {
      EXPECT_EQ(state.substr(moof.offset, moof.size()), moof.bytes);
      EXPECT_EQ(atom_at(state, "mdat").size(), 8u + 10 * 10);
    }
  }
  EXPECT_GT(named, 0);
  EXPECT_GT(unnamed, 1) << "before the index, and with all of it but the name";
}

// It would hide all fragments that follow.
TEST(FragmentedM4a, FragmentWhoseIndexCannotBeWrittenIsGivenUp) {
  for (const auto &[call, nth] : {std::pair("fwrite", 2),
                                  {"fwrite", 3},
                                  {"fseek", 1},
                                  {"fseek", 2},
                                  {"fseek", 3},
                                  {"fflush", 2},
                                  {"fflush", 3}}) {
    SCOPED_TRACE(call + std::to_string(nth));
    Fragmented torn({44100, 22050});
    torn.write(9);
    {
      const CallFailer failer(call, nth, 28 /* ENOSPC */);  // the first write is the packet's
      torn.write(1);
      ASSERT_EQ(failer.failures(), 1);
    }
    EXPECT_EQ(torn.types(), "ftyp moov");
    torn.write(10);
    EXPECT_EQ(torn.types(), "ftyp moov moof mdat");
    EXPECT_EQ(torn.atoms()[2].word(20), 1u);
    EXPECT_EQ(torn.m4a->packets_lost, 10u);
  }
}

TEST(FragmentedM4a, FragmentThatCannotBeBegunLeavesNoTrace) {
  Fragmented of({44100, 22050});
  {
    const CallFailer failer("fwrite", 1, 28 /* ENOSPC */);
    of.write(1);
    ASSERT_EQ(failer.failures(), 1);
  }
  EXPECT_EQ(of.types(), "ftyp moov");
  of.write(10);
  EXPECT_EQ(of.types(), "ftyp moov moof mdat");
  EXPECT_EQ(of.m4a->packets_lost, 1u);
}

TEST(FragmentedM4a, LostPacketIsNotInTheIndex) {
  Fragmented of({44100, 22050});
  of.write(4);
  {
    const CallFailer failer("fwrite", 1, 28 /* ENOSPC */);
    of.write(1);
    ASSERT_EQ(failer.failures(), 1);
  }
  of.write(6);
  EXPECT_EQ(of.types(), "ftyp moov moof mdat");
  EXPECT_EQ(of.atoms()[3].size(), 8u + 10 * 10);
}

TEST(FragmentedM4a, NeedsNoMemoryOnceBegun) {
  Fragmented of({44100, 22050});
  const long before = allocation_count();
  for (int i = 0; i < 25; ++i) m4a_write_sample_fragmented(of.m4a, "0123456789", 10);
  m4a_finish_fragmented(of.m4a, M4A_KIND_AAC);
  EXPECT_EQ(allocation_count(), before);
}

TEST(FragmentedM4a, FailsToBeginWhereItCannot) {
  EXPECT_EQ(m4a_begin_fragmented(nullptr, nullptr, 0, 2, 44100, 1024, 0, 0), nullptr);
  FILE *const full = std::fopen("/dev/full", "w");
  std::setvbuf(full, nullptr, _IONBF, 0);
  EXPECT_EQ(m4a_begin_fragmented(full, nullptr, 0, 2, 44100, 1024, 0, 0), nullptr);
  std::fclose(full);
  const M4aFile file;
  EXPECT_EQ(m4a_begin_fragmented(file.stream, nullptr, 2, 2, 44100, 1024, 0, 0), nullptr);
  EXPECT_GT(fail_each_allocation([&file] {
              m4a_t *const m4a = m4a_begin_fragmented(file.stream, nullptr, 0, 2, 44100, 1024, 0, 0);
              auspool::m4a::release_record(m4a);
              return m4a != nullptr;
            }),
            3);
}

}  // namespace
