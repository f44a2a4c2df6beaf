#include "host/killed_m4a.h"
#include "support/big_endian.h"

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
    const ProgramResult result = recover(std::string(100, 'x'), record);
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.errors.find(reason), std::string::npos) << result.errors;
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
                 "there is nothing to recover: the file was completed");
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
  const ProgramResult result = recover(std::string(40, 'h') + std::string(10, 'a') + std::string(20, 'b') + "ccc",
                                       header + words({10, 20, 4}) + "\0\0");
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_NE(result.output.find("recovered 2 packets, 0.186 s"), std::string::npos) << result.output;
  const std::string file = read_file(folder.file("a.m4a"));
  EXPECT_EQ(file.substr(40, 30), std::string(10, 'a') + std::string(20, 'b'));
  EXPECT_EQ(atom_at(file, "moov.trak.mdia.minf.stbl.stsz").word(16), 2u);
  EXPECT_FALSE(std::filesystem::exists(folder.file(".a.m4a.recovery")));
}

}  // namespace
}  // namespace auspool::testing
