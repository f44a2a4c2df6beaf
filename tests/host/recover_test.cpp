#include "host/killed_m4a.h"
#include "support/big_endian.h"
#include "support/tiny_disk.h"

namespace auspool::testing {
namespace {

TEST_F(KilledM4a, PlainRecordingsAreWholeAgainAfterRecovery) {
  for (unsigned seed = 0; seed < 3 && !HasFailure(); ++seed) {
    expect_recovery("alac", seed);
    expect_recovery("aac", seed);
  }
}

TEST_F(KilledM4a, FragmentedRecordingsPlayToTheirLastWholeFragment) {
  std::size_t frames = 0;
  for (unsigned seed = 0; seed < 3 && !HasFailure(); ++seed) {
    frames += expect_whole_fragments("alac", seed);
    frames += expect_whole_fragments("aac", seed);
  }
  EXPECT_GT(frames, 0u);
}

class Recover : public ::testing::Test {
protected:
  // The program's words about a file of these bytes beside a record of those.
  ProgramResult recover(const std::string &bytes, const std::string &record) const {
    write_file(folder.file("a.m4a"), bytes);
    write_file(folder.file(".a.m4a.recovery"), record);
    const ProgramResult result = run(quoted(AUSPOOL_RECOVER) + " " + quoted(folder.file("a.m4a")));
    EXPECT_EQ(read_file(folder.file("a.m4a")) == bytes, result.status != 0);
    EXPECT_FALSE(std::filesystem::exists(folder.file(".a.m4a.recovered")));
    return result;
  }
  void expect_refusal(const std::string &record, const std::string &reason) const {
    expect_refusal(file_of(std::string(60, 'x')), record, reason);
  }
  void expect_refusal(const std::string &bytes, const std::string &record, const std::string &reason) const {
    const ProgramResult result = recover(bytes, record);
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.errors.find(reason), std::string::npos) << result.errors;
  }
  bool has_record() const { return std::filesystem::exists(folder.file(".a.m4a.recovery")); }

  static std::string file_type() { return words({32}) + "ftypM4A " + words({0}) + "M4A mp42isom" + words({0}); }
  // A file of these packets. Their size is noted once the recording has ended.
  static std::string file_of(const std::string &packets, bool ended = false) {
    return file_type() + words({ended ? static_cast<std::uint32_t>(8 + packets.size()) : 0}) + "mdat" + packets;
  }

  const TempDir folder;
  const std::string header = "sound siphon bulletproof data v1alac" + words({2, 44100, 4096, 0});
};

TEST_F(Recover, SaysThatThereIsNothingToRecover) {
  write_file(folder.file("whole.m4a"), "x");
  const ProgramResult result = run(quoted(AUSPOOL_RECOVER) + " " + quoted(folder.file("whole.m4a")));
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.errors.find("there is nothing to recover"), std::string::npos) << result.errors;
  expect_refusal(std::string(1, '\0') + header.substr(1) + words({10}),
                 "there is nothing to recover: its recovery record was given up");
  expect_refusal(header, "there is nothing to recover: no whole packet");
  expect_refusal(header + words({61}), "there is nothing to recover: no whole packet");
}

TEST_F(Recover, RefusesADamagedRecord) {
  const std::string damaged = "its recovery record is damaged";
  expect_refusal("", damaged);
  expect_refusal(header.substr(0, 51), damaged);
  expect_refusal("S" + header.substr(1) + words({10}), damaged);
  expect_refusal(header.substr(0, 32) + "opus" + header.substr(36) + words({10}), damaged);
  expect_refusal(header.substr(0, 36) + words({2, 44100, 0, 0, 10}), damaged);
}

TEST_F(Recover, TakesThePacketsThatAreWhole) {
  const ProgramResult result =
      recover(file_of(std::string(10, 'a') + std::string(20, 'b') + "ccc"), header + words({10, 20, 4}) + "\0\0");
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_NE(result.output.find("recovered 2 packets, 0.186 s"), std::string::npos) << result.output;
  const std::string file = read_file(folder.file("a.m4a"));
  EXPECT_EQ(file.substr(40, 30), std::string(10, 'a') + std::string(20, 'b'));
  EXPECT_EQ(atom_at(file, "moov.trak.mdia.minf.stbl.stsz").word(16), 2u);
  EXPECT_FALSE(has_record());
}

TEST_F(Recover, KeepsTheFilesPermissions) {
  namespace fs = std::filesystem;
  const std::string path = folder.file("a.m4a");
  write_file(path, file_of(std::string(10, 'a')));
  write_file(folder.file(".a.m4a.recovery"), header + words({10}));
  fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write | fs::perms::others_read);
  const fs::perms before = fs::status(path).permissions();
  EXPECT_EQ(run(quoted(AUSPOOL_RECOVER) + " " + quoted(path)).status, 0);
  EXPECT_EQ(fs::status(path).permissions(), before);
}

TEST_F(Recover, TakesARecordingThatEndedWithoutAnIndex) {
  const ProgramResult result = recover(file_of(std::string(30, 'a'), true), header + words({10, 20}));
  EXPECT_NE(result.output.find("recovered 2 packets"), std::string::npos) << result.errors;
  EXPECT_FALSE(has_record());
}

// The record of a file that was finished may outlive it: its audio is not where the record says.
TEST_F(Recover, LeavesACompleteFileAlone) {
  const std::string index = words({16}) + "moov" + words({1, 2}), data = words({38}) + "mdat" + std::string(30, 'a');
  for (const std::string &file : {file_type() + index + data, file_type() + data + index}) {
    expect_refusal(file, header + words({10, 20}), "there is nothing to recover: the file was completed");
    EXPECT_FALSE(has_record()) << "of no use any more";
  }
}

TEST_F(Recover, LeavesAFileAloneWhoseAudioWasBeingMoved) {
  const std::string index = words({16}) + "moov" + words({1, 2}), data = words({38}) + "mdat" + std::string(30, 'a');
  for (const std::string &file :
       {file_type() + data + std::string(16, '\0'), file_type() + data + "x", file_type() + index + data + "x",
        file_type() + index + data.substr(1), file_type() + index}) {
    expect_refusal(file, header + words({10, 20}), "its audio was being moved");
    EXPECT_TRUE(has_record());
  }
}

TEST_F(Recover, LeavesOtherFilesAlone) {
  for (const std::string &file : {std::string(), std::string(100, 'x'), file_type(), file_type() + words({8}) + "free",
                                  words({32}) + "stypM4A " + file_of("audio").substr(12)}) {
    expect_refusal(file, header + words({5}), "it is no recording");
    EXPECT_TRUE(has_record());
  }
}

TEST_F(Recover, RecordEndsAtASizeThatCannotBe) {
  for (const std::uint32_t end : {0u, 0x80000000u, 0xFFFFFFFFu}) {
    const ProgramResult result = recover(file_of(std::string(60, 'a')), header + words({10, 20, end, end, 10}));
    EXPECT_NE(result.output.find("recovered 2 packets, 0.186 s"), std::string::npos) << result.output;
  }
}

TEST_F(Recover, KeepsFileAndRecordWhereTheDiskIsFull) {
  const TinyDisk disk(folder.file("disk"), "64k");
  if (!disk.mounted()) GTEST_SKIP() << "mounting a small disk is not allowed here";
  const std::string path = folder.file("disk/a.m4a"), bytes = file_of(std::string(36000, 'a'));
  std::string record = header;
  for (int i = 0; i < 36; ++i) record += words({1000});
  for (const char *size : {"0", "4000", "16000", "20000"}) {
    write_file(path, bytes);
    write_file(folder.file("disk/.a.m4a.recovery"), record);
    write_file(folder.file("disk/filler"), std::string(static_cast<std::size_t>(std::stoi(size)), 'x'));
    const ProgramResult result = run(quoted(AUSPOOL_RECOVER) + " " + quoted(path));
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.errors.find("cannot be"), std::string::npos) << result.errors;
    EXPECT_EQ(read_file(path), bytes);
    EXPECT_EQ(read_file(folder.file("disk/.a.m4a.recovery")), record);
  }
}

}  // namespace
}  // namespace auspool::testing
