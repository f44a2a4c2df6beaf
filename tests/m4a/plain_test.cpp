// Plain files, with the index at the end.
#include <gtest/gtest.h>

#include "auspool/audict.h"
#include "m4a/m4a_file.h"
#include "m4a/record.h"
#include "support/big_endian.h"
#include "support/watch.h"

using namespace auspool::testing;

namespace {

struct Format {
  std::uint32_t channels = 2, rate = 44100, frames = 1024, bitrate = 128000;
  std::int32_t profile = M4A_PROFILE_LC;
};

m4a_t *begin(const M4aFile &file, const Format &format = {}, FILE *recovery = nullptr) {
  return m4a_begin(file.stream, recovery, format.channels, format.rate, format.frames, format.bitrate, format.profile);
}

void write_packets(m4a_t *m4a, int count) {
  for (int i = 0; i < count; ++i) m4a_write_sample(m4a, packet(i).data(), static_cast<int>(packet(i).size()));
}

// A finished file of so many packets of 10 bytes.
void write_whole(const M4aFile &file, int packets, std::int32_t kind = M4A_KIND_AAC, const Format &format = {}) {
  m4a_t *const m4a = begin(file, format);
  ASSERT_NE(m4a, nullptr);
  write_packets(m4a, packets);
  EXPECT_EQ(m4a_finish(m4a, nullptr, kind, nullptr), 0);
}

constexpr char kStbl[] = "moov.trak.mdia.minf.stbl";

std::vector<std::uint32_t> rows_of(const Atom &table, std::size_t header, std::size_t words_of_row) {
  std::vector<std::uint32_t> words;
  for (std::size_t i = 0; i < words_of_row * table.word(header - 4); ++i) words.push_back(table.word(header + 4 * i));
  return words;
}

using Rows = std::vector<std::uint32_t>;

Rows chunks_of(const M4aFile &file) {
  return rows_of(file.atom(kStbl + std::string(".stsc")), 16, 3);
}
Rows offsets_of(const M4aFile &file) {
  return rows_of(file.atom(kStbl + std::string(".stco")), 16, 1);
}

TEST(PlainM4a, HasTypeThenDataThenIndex) {
  M4aFile file;
  write_whole(file, 3);
  EXPECT_EQ(types_in(file.bytes()), "ftyp mdat moov");
  EXPECT_EQ(file.atom("ftyp").bytes, std::string("\0\0\0\x20"
                                                 "ftypM4A \0\0\0\0M4A mp42isom\0\0\0\0",
                                                 32));
  EXPECT_EQ(file.atom("mdat").bytes.substr(8), packet(0) + packet(1) + packet(2));
}

TEST(PlainM4a, HoldsTheAtomsOfATrackInTheirOrder) {
  M4aFile file;
  write_whole(file, 3);
  const std::string bytes = file.bytes();
  EXPECT_EQ(types_in(atom_at(bytes, "moov").bytes.substr(8)), "mvhd trak");
  EXPECT_EQ(types_in(atom_at(bytes, "moov.trak").bytes.substr(8)), "tkhd mdia");
  EXPECT_EQ(types_in(atom_at(bytes, "moov.trak.mdia").bytes.substr(8)), "mdhd hdlr minf");
  EXPECT_EQ(types_in(atom_at(bytes, "moov.trak.mdia.minf").bytes.substr(8)), "smhd dinf stbl");
  EXPECT_EQ(types_in(atom_at(bytes, kStbl).bytes.substr(8)), "stsd stts stsc stsz stco");
}

std::string with_size(const std::string &type, const std::string &content) {
  return words({static_cast<std::uint32_t>(8 + content.size())}) + type + content;
}

// What every track has between the index's head and the description of its samples.
std::string head_of_track(std::uint32_t time, std::uint32_t rate, std::uint32_t duration) {
  const std::string matrix = words({0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000});
  return with_size("tkhd", words({7, time, time, 1, 0, duration, 0, 0, 0, 0x01000000}) + matrix + words({0, 0})) +
         "(mdia)" + with_size("mdhd", words({0, time, time, rate, duration, 0})) +
         with_size("hdlr", words({0, 0}) + "soun" + words({0, 0, 0, 0})) + "(minf)" + with_size("smhd", words({0, 0})) +
         with_size("dinf", with_size("dref", words({0, 1}) + with_size("url ", words({1}))));
}

// The bytes of a moov, where headers of atoms that hold others stand as "(type)".
std::string flattened(const Atom &moov) {
  std::string flat;
  for (const Atom &atom : atoms_in(moov.bytes.substr(8))) {
    const bool holds_atoms = atom.type == "trak" || atom.type == "mdia" || atom.type == "minf" || atom.type == "stbl";
    flat += holds_atoms ? "(" + atom.type + ")" + flattened(atom) : atom.bytes;
  }
  return flat;
}

// Byte by byte, but for the sizes of what holds others: that those are right shows in that the atoms are found.
TEST(PlainM4a, HoldsWhatADecoderNeedsAndNothingElse) {
  for (const std::int32_t kind : {M4A_KIND_AAC, M4A_KIND_ALAC}) {
    M4aFile file;
    write_whole(file, 3, kind, {.rate = 44100, .frames = 1024});
    const Atom moov = file.atom("moov");
    const std::uint32_t time = file.atom("moov.mvhd").word(12), rate = 44100, duration = 3 * 1024;
    const std::string entry =
        kind == M4A_KIND_AAC
            ? with_size("mp4a", words({0, 1, 0, 0, 2 << 16 | 16, 0, rate << 16}) +
                                    with_size("esds", std::string("\0\0\0\0\3\x80\x80\x80\x22\0\0\0\4\x80\x80\x80\x14"
                                                                  "\x40\x15\0\x18\0\0\1\xF4\0\0\1\xF4\0\5\x80\x80"
                                                                  "\x80\2\x12\x10\6\x80\x80\x80\1\2",
                                                                  43)) +
                                    with_size("free", std::string(1, '\0')))
            : with_size("alac", words({0, 1, 0, 0, 2 << 16 | 16, 0, rate << 16}) +
                                    with_size("alac", words({0, 1024, 0x0010280A, 0x0E0200FF, 10, 0, rate})));
    EXPECT_EQ(
        flattened(moov),
        with_size("mvhd", words({0,       time, time, rate, duration,   0x10000, 0x01000000, 0, 0, 0x10000, 0, 0, 0,
                                 0x10000, 0,    0,    0,    0x40000000, 0,       0,          0, 0, 0,       0, 2})) +
            "(trak)" + head_of_track(time, rate, duration) + "(stbl)" + with_size("stsd", words({0, 1}) + entry) +
            with_size("stts", words({0, 1, 3, 1024})) + with_size("stsc", words({0, 1, 1, 3, 1})) +
            with_size("stsz", words({0, 0, 3, 10, 10, 10})) + with_size("stco", words({0, 1, 40})));
    EXPECT_EQ(moov.size(), (kind == M4A_KIND_AAC ? 496u : 472u) + 28 + 32 + 20);
  }
}

TEST(PlainM4a, RatesAndDurationsWrapWhereTheirFieldsEnd) {
  M4aFile file;
  write_whole(file, 3, M4A_KIND_ALAC, {.rate = 96000, .frames = 0x60000000});
  EXPECT_EQ(file.atom(kStbl + std::string(".stsd.alac")).word(32), 0x77000000u);
  EXPECT_EQ(file.atom(kStbl + std::string(".stsd.alac")).word(68), 96000u);
  EXPECT_EQ(file.atom("moov.mvhd").word(20), 96000u);
  EXPECT_EQ(file.atom("moov.mvhd").word(24), 0x20000000u) << "of 0x120000000";
}

TEST(PlainM4a, HighEfficiencyHalvesTheRateForTheDecoderAlone) {
  M4aFile file;
  write_whole(file, 1, M4A_KIND_AAC, {.profile = M4A_PROFILE_HE});
  EXPECT_EQ(file.atom("moov.mvhd").word(20), 44100u);
  EXPECT_EQ(file.atom("moov.trak.mdia.mdhd").word(20), 44100u);
  EXPECT_EQ(file.atom(kStbl + std::string(".stsd.mp4a")).word(32), 44100u << 16);
  EXPECT_EQ(file.atom(kStbl + std::string(".stsd.mp4a")).text(79, 2), "\x13\x90");
}

TEST(PlainM4a, AacHasNoUseForAnAlacCookie) {
  M4aFile plain, told;
  write_whole(plain, 1);
  m4a_t *const m4a = begin(told);
  m4a_alac_setinfo(m4a, std::string(48, 'x').data(), 48);
  write_packets(m4a, 1);
  EXPECT_EQ(m4a_finish(m4a, nullptr, M4A_KIND_AAC, nullptr), 0);
  EXPECT_EQ(told.atom(kStbl + std::string(".stsd")).bytes, plain.atom(kStbl + std::string(".stsd")).bytes);
}

// Its wrong size shifts all offsets behind it.
TEST(PlainM4a, OffsetsFollowTheSizesAsTheyAreStored) {
  M4aFile file;
  m4a_t *const m4a = begin(file);
  m4a_write_sample(m4a, packet(0, 40000).data(), 40000);
  write_packets(m4a, 21);
  EXPECT_EQ(m4a_finish(m4a, nullptr, M4A_KIND_AAC, nullptr), 0);
  EXPECT_EQ(offsets_of(file), (Rows{40, 40 + 20 * 10 + 40000u - 65536}));
}

TEST(PlainM4a, TellsDurationInFramesEverywhere) {
  M4aFile file;
  write_whole(file, 5);
  EXPECT_EQ(file.atom("moov.mvhd").word(20), 44100u);
  EXPECT_EQ(file.atom("moov.mvhd").word(24), 5u * 1024);
  EXPECT_EQ(file.atom("moov.trak.tkhd").word(28), 5u * 1024);
  EXPECT_EQ(file.atom("moov.trak.mdia.mdhd").word(20), 44100u);
  EXPECT_EQ(file.atom("moov.trak.mdia.mdhd").word(24), 5u * 1024);
  const Atom stts = file.atom(kStbl + std::string(".stts"));
  EXPECT_EQ(rows_of(stts, 16, 2), (Rows{5, 1024}));
}

TEST(PlainM4a, TellsTheTimeOfItsMaking) {
  const auto now = static_cast<std::uint32_t>(time(nullptr) + 2082859200);
  M4aFile file;
  write_whole(file, 1);
  for (const char *path : {"moov.mvhd", "moov.trak.tkhd", "moov.trak.mdia.mdhd"}) {
    EXPECT_NEAR(file.atom(path).word(12), now, 5) << path;
    EXPECT_EQ(file.atom(path).word(12), file.atom(path).word(16)) << path;
  }
}

TEST(PlainM4a, DescribesAac) {
  M4aFile file;
  write_whole(file, 1, M4A_KIND_AAC, {.channels = 1, .rate = 48000, .bitrate = 0x01020304});
  const Atom entry = file.atom(kStbl + std::string(".stsd.mp4a"));
  EXPECT_EQ(entry.bytes.size(), 96u);
  EXPECT_EQ(entry.word(24), 1u << 16 | 16);
  EXPECT_EQ(entry.word(32), 48000u << 16);
  EXPECT_EQ(types_in(entry.bytes.substr(36)), "esds free");
  EXPECT_EQ(entry.text(48, 39), std::string("\3\x80\x80\x80\x22\0\0\0\4\x80\x80\x80\x14\x40\x15\0\x18\0"
                                            "\1\2\3\4\1\2\3\4\5\x80\x80\x80\2\x11\x88\6\x80\x80\x80\1\2",
                                            39));
}

TEST(PlainM4a, DescribesAlacFromItsNumbers) {
  M4aFile file;
  m4a_t *const m4a = begin(file, {.channels = 2, .rate = 44100, .frames = 4096, .bitrate = 0});
  m4a_write_sample(m4a, packet(0, 300).data(), 300);
  m4a_write_sample(m4a, packet(1, 200).data(), 200);
  EXPECT_EQ(m4a_finish(m4a, nullptr, M4A_KIND_ALAC, nullptr), 0);
  const Atom entry = file.atom(kStbl + std::string(".stsd.alac"));
  EXPECT_EQ(entry.bytes.size(), 72u);
  EXPECT_EQ(entry.text(36, 12), std::string("\0\0\0\x24"
                                            "alac\0\0\0\0",
                                            12));
  EXPECT_EQ(entry.text(48, 24), std::string("\0\0\x10\0"
                                            "\0\x10\x28\x0A"
                                            "\x0E\2\0\xFF"
                                            "\0\0\1\x2C"
                                            "\0\0\0\0"
                                            "\0\0\xAC\x44",
                                            24));
}

TEST(PlainM4a, TakesTheConfigurationOfAnAlacCookie) {
  M4aFile file;
  m4a_t *const m4a = begin(file);
  const std::string cookie =
      "twenty-four bytes of it "
      "the configuration is 24!"
      "and more";
  m4a_alac_setinfo(m4a, cookie.data(), static_cast<int>(cookie.size()));
  EXPECT_EQ(m4a_finish(m4a, nullptr, M4A_KIND_ALAC, nullptr), 0);
  EXPECT_EQ(file.atom(kStbl + std::string(".stsd.alac")).text(48, 24), "the configuration is 24!");
}

TEST(PlainM4a, ShortCookieClearsTheConfiguration) {
  for (const int size : {0, 23, 24, 47}) {
    M4aFile file;
    m4a_t *const m4a = begin(file);
    const std::string cookie(48, 'x');
    m4a_alac_setinfo(m4a, cookie.data(), 48);
    m4a_alac_setinfo(m4a, cookie.data(), size);
    EXPECT_EQ(m4a_finish(m4a, nullptr, M4A_KIND_ALAC, nullptr), 0);
    EXPECT_EQ(file.atom(kStbl + std::string(".stsd.alac")).word(48), 1024u) << size;
  }
}

TEST(PlainM4a, WithoutPacketsHasEmptyTables) {
  M4aFile file;
  write_whole(file, 0);
  EXPECT_EQ(file.atom(kStbl + std::string(".stsz")).size(), 20u);
  EXPECT_EQ(file.atom(kStbl + std::string(".stsc")).size(), 16u);
  EXPECT_EQ(file.atom(kStbl + std::string(".stco")).size(), 16u);
  EXPECT_TRUE(offsets_of(file).empty());
}

TEST(PlainM4a, DividesPacketsIntoChunksOf21) {
  const auto chunks = [](int packets) {
    M4aFile file;
    write_whole(file, packets);
    return std::pair(chunks_of(file), offsets_of(file));
  };
  EXPECT_EQ(chunks(20), std::pair(Rows({1, 20, 1}), Rows({40})));
  EXPECT_EQ(chunks(21), std::pair(Rows({1, 21, 1}), Rows({40})));
  EXPECT_EQ(chunks(22), std::pair(Rows({1, 21, 1, 2, 1, 1}), Rows({40, 250})));
  EXPECT_EQ(chunks(42), std::pair(Rows({1, 21, 1}), Rows({40, 250})));
  EXPECT_EQ(chunks(43), std::pair(Rows({1, 21, 1, 3, 1, 1}), Rows({40, 250, 460})));
}

TEST(PlainM4a, KeepsThousandsOfPacketsInOrder) {
  constexpr int kPackets = 5000;  // several nodes of sizes
  M4aFile file;
  m4a_t *const m4a = begin(file);
  std::string all;
  Rows sizes;
  for (int i = 0; i < kPackets; ++i) {
    const std::string data = packet(i, 5 + static_cast<std::size_t>(i) % 90);
    m4a_write_sample(m4a, data.data(), static_cast<int>(data.size()));
    all += data;
    sizes.push_back(static_cast<std::uint32_t>(data.size()));
  }
  EXPECT_EQ(m4a_finish(m4a, nullptr, M4A_KIND_AAC, nullptr), 0);
  EXPECT_EQ(file.atom("mdat").bytes.substr(8), all);
  EXPECT_EQ(rows_of(file.atom(kStbl + std::string(".stsz")), 20, 1), sizes);
}

TEST(PlainM4a, PacketBeyondTheFormatIsWrittenWholeWithAWrongSize) {
  M4aFile file;
  m4a_t *const m4a = begin(file);
  m4a_write_sample(m4a, packet(0, 40000).data(), 40000);
  EXPECT_EQ(m4a->max_sample_size, 40000);
  EXPECT_EQ(m4a_finish(m4a, nullptr, M4A_KIND_AAC, nullptr), 0);
  EXPECT_EQ(file.atom("mdat").size(), 40008u);
  EXPECT_EQ(file.atom(kStbl + std::string(".stsz")).word(20), static_cast<std::uint32_t>(40000 - 65536));
}

TEST(PlainM4a, EmptyPacketLeavesNoTrace) {
  M4aFile file;
  m4a_t *const m4a = begin(file);
  m4a_write_sample(m4a, "", 0);
  m4a_write_sample(m4a, "abc", 3);
  EXPECT_EQ(m4a_finish(m4a, nullptr, M4A_KIND_AAC, nullptr), 0);
  EXPECT_EQ(rows_of(file.atom(kStbl + std::string(".stsz")), 20, 1), Rows{3});
}

TEST(PlainM4a, MirrorsSizesForRecovery) {
  M4aFile file, recovery;
  std::fwrite("head", 1, 4, recovery.stream);
  m4a_t *const m4a = begin(file, {}, recovery.stream);
  m4a_write_sample(m4a, packet(0, 300).data(), 300);
  EXPECT_EQ(read_file(recovery.path), std::string("head"
                                                  "\0\0\0\2"
                                                  "\0\0\xAC\x44"
                                                  "\0\0\4\0"
                                                  "\0\1\xF4\0"
                                                  "\0\0\1\x2C",
                                                  24))
      << "on the disk as soon as the packet is";
  m4a_write_sample(m4a, packet(1, 40000).data(), 40000);
  EXPECT_EQ(read_file(recovery.path).substr(24), std::string("\0\0\x9C\x40", 4));
  m4a_finish(m4a, nullptr, M4A_KIND_AAC, nullptr);
}

TEST(PlainM4a, TagsAreTheLastChildOfTheIndex) {
  audict *const tags = audict_create();
  audict_set_string(tags, "Title", "Night Train");
  M4aFile file;
  EXPECT_EQ(m4a_finish(begin(file), tags, M4A_KIND_AAC, nullptr), 0);
  audict_release(tags);
  const Atom moov = file.atom("moov");
  EXPECT_EQ(types_in(moov.bytes.substr(8)), "mvhd trak udta");
  EXPECT_NE(atom_at(moov.bytes.substr(8), "udta.meta.ilst").bytes.find("Night Train"), std::string::npos);
}

TEST(PlainM4a, UnknownKindLeavesTheRecordAlive) {
  M4aFile file;
  m4a_t *const m4a = begin(file);
  EXPECT_EQ(m4a_finish(m4a, nullptr, 2, nullptr), -1);
  EXPECT_EQ(m4a_finish(m4a, nullptr, -1, nullptr), -1);
  write_packets(m4a, 1);
  EXPECT_EQ(m4a_finish(m4a, nullptr, M4A_KIND_AAC, nullptr), 0);
}

TEST(PlainM4a, WithoutAFileThereIsNoRecord) {
  EXPECT_EQ(m4a_begin(nullptr, nullptr, 2, 44100, 1024, 128000, 0), nullptr);
}

TEST(PlainM4a, RefusesAStreamThatTakesNoHeader) {
  FILE *const full = std::fopen("/dev/full", "w");
  std::setvbuf(full, nullptr, _IONBF, 0);
  EXPECT_EQ(m4a_begin(full, nullptr, 2, 44100, 1024, 128000, 0), nullptr);
  std::fclose(full);
}

TEST(PlainM4a, FailsToBeginWhereMemoryIsOut) {
  M4aFile file;
  EXPECT_GT(fail_each_allocation([&file] {
              m4a_t *const m4a = begin(file);
              auspool::m4a::release_record(m4a);
              return m4a != nullptr;
            }),
            1);
}

TEST(PlainM4a, FailsToFinishWhereMemoryIsOut) {
  int failures = 0;
  for (bool failed = true; failed; failures += failed) {
    M4aFile file;
    m4a_t *const m4a = begin(file);
    write_packets(m4a, 3);
    const AllocationFailer failer(failures + 1);
    const std::int32_t result = m4a_finish(m4a, nullptr, M4A_KIND_ALAC, nullptr);
    failed = failer.failed();
    EXPECT_EQ(result, failed ? -1 : 0);
  }
  EXPECT_GT(failures, 2);
}

TEST(PlainM4a, LosesOnlyThePacketForWhichThereIsNoMemory) {
  M4aFile file;
  m4a_t *const m4a = begin(file);
  write_packets(m4a, 1021);
  {
    const AllocationFailer failer(1);
    write_packets(m4a, 1);
    EXPECT_TRUE(failer.failed());
  }
  m4a_write_sample(m4a, "last", 4);
  EXPECT_EQ(m4a_finish(m4a, nullptr, M4A_KIND_AAC, nullptr), 0);
  EXPECT_EQ(file.atom(kStbl + std::string(".stsz")).word(16), 1022u);
  EXPECT_EQ(file.atom("mdat").size(), 8u + 1021 * 10 + 4);
}

TEST(PlainM4a, ReportsAnIndexThatCouldNotBeWritten) {
  M4aFile file;
  m4a_t *const m4a = begin(file);
  write_packets(m4a, 3);
  const CallFailer full("fwrite", 3, 28 /* ENOSPC */);
  EXPECT_EQ(m4a_finish(m4a, nullptr, M4A_KIND_AAC, nullptr), -1);
  EXPECT_EQ(full.failures(), 1);
}

TEST(PlainM4a, ReportsAStreamThatCannotSeek) {
  for (const int nth : {1, 2}) {
    M4aFile file;
    m4a_t *const m4a = begin(file);
    const CallFailer failer("fseek", nth);
    EXPECT_EQ(m4a_finish(m4a, nullptr, M4A_KIND_AAC, nullptr), -1) << nth;
    EXPECT_EQ(failer.failures(), 1);
  }
}

}  // namespace
