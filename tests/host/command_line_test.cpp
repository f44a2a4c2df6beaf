// What auspool-record takes on its command line, and what it prints for people and for programs.
#include <gtest/gtest.h>

#include <chrono>

#include "host/recordings.h"
#include "support/programs.h"
#include "support/temp_dir.h"

namespace auspool::testing {
namespace {

class CommandLine : public ::testing::Test {
protected:
  void SetUp() override { write_source(input(), 44100, 2, noise(2 * 44100, 1)); }
  std::string input() const { return dir_.file("in.wav"); }
  std::string out() const { return dir_.file("out"); }
  std::string program() const { return quoted(AUSPOOL_RECORD) + " " + input() + " --out " + out() + " "; }

  const TempDir dir_;
};

TEST_F(CommandLine, ThatIsWrongGivesTwoAndSaysWhy) {
  const std::pair<const char *, const char *> wrong[] = {
      {"", "no input"},
      {"--wrong", "no option --wrong"},
      {"-x", "no option -x"},
      {"in.wav --bits", "--bits needs a value"},
      {"in.wav --json=1", "no option --json=1"},
      {"in.wav --type ogg", "--type ogg: aiff or wave or mp3 or flac or aac or alac is wanted"},
      {"in.wav --bits 8", "--bits 8: 16 or 24 is wanted"},
      {"in.wav --mono both", "mix or left or right is wanted"},
      {"in.wav --silence yes", "skip or split or stop is wanted"},
      {"in.wav --rate 3999", "--rate 3999: a number from 4000 to 192000 is wanted"},
      {"in.wav --rate 44100Hz", "a number from 4000 to 192000 is wanted"},
      {"in.wav --rate nan", "a number from 4000 to 192000 is wanted"},
      {"in.wav --silence-db 3", "a number from -200 to 0 is wanted"},
      {"in.wav --silence-seconds -1", "a number from 0 to 86400 is wanted"},
      {"in.wav --block 0", "a number from 1 to 65536 is wanted"},
      {"in.wav --block 65537", "a number from 1 to 65536 is wanted"},
      {"in.wav --limit 90", "a length as 90s or a size as 5MiB is wanted"},
      {"in.wav --limit s", "--limit s: a number from 0 to 1000000 is wanted"},
      {"in.wav --limit 5MB", "a length as 90s or a size as 5MiB is wanted"}};
  for (const auto &[arguments, reason] : wrong) {
    SCOPED_TRACE(arguments);
    const auto result = run("cd " + dir_.path().string() + " && " + quoted(AUSPOOL_RECORD) + " " + arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_NE(result.errors.find(reason), std::string::npos) << result.errors;
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1);
  }
}

TEST_F(CommandLine, WithInputsThatCannotBeReadGivesOneAndRecordsNothing) {
  write_file(dir_.file("text.wav"), "this is no audio");
  write_file(dir_.file("empty.wav"), "");
  for (const char *name : {"missing.wav", "text.wav", "empty.wav", "."}) {
    SCOPED_TRACE(name);
    const auto result = run(program() + dir_.file(name));
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.errors.find(dir_.file(name)), std::string::npos) << result.errors;
    EXPECT_FALSE(std::filesystem::exists(out()));
  }
}

TEST_F(CommandLine, HelpNamesEveryOption) {
  const auto result = run(quoted(AUSPOOL_RECORD) + " --help");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors, "");
  for (const char *option : {"--out", "--type", "--bits", "--mono", "--rate", "--limit", "--silence", "--silence-db",
                             "--silence-seconds", "--block", "--realtime", "--json", "Exit status"})
    EXPECT_NE(result.output.find(option), std::string::npos) << option;
}

TEST_F(CommandLine, JsonIsOneObjectAFileAndOneAtTheEnd) {
  write_source(input(), 8000, 2, noise(2 * 8000 * 100, 1));
  const auto result = run(program() + "--json --type wave --limit 1min");
  ASSERT_EQ(result.status, 0) << result.errors;
  const std::string first = R"({"path":")" + out() + R"(/recording-001.wav","frames":)";
  EXPECT_EQ(result.output.substr(0, first.size()), first);
  std::istringstream lines(result.output);
  std::vector<nlohmann::ordered_json> objects;
  for (std::string line; std::getline(lines, line);) objects.push_back(nlohmann::ordered_json::parse(line));
  ASSERT_EQ(objects.size(), 3u);
  std::int64_t frames = 0;
  for (std::size_t i = 0; i < 2; ++i) {
    const auto &file = objects[i];
    std::vector<std::string> keys;
    for (const auto &item : file.items()) keys.push_back(item.key());
    EXPECT_EQ(keys, (std::vector<std::string>{"path", "frames", "seconds", "bytes", "index"}));
    EXPECT_EQ(file["index"], i);
    EXPECT_EQ(file["bytes"], std::filesystem::file_size(file["path"].get<std::string>()));
    EXPECT_EQ(file["bytes"], 44 + 4 * file["frames"].get<std::int64_t>());
    EXPECT_DOUBLE_EQ(file["seconds"], file["frames"].get<double>() / 8000);
    frames += file["frames"].get<std::int64_t>();
  }
  EXPECT_EQ(frames, 800000);
  EXPECT_EQ(objects[2].dump(), R"({"files":2,"frames_pushed":800000,"frames_dropped":0,"errors":0})");
}

TEST_F(CommandLine, APersonReadsEachCallbackAndTheEnd) {
  const auto result = run(program());
  ASSERT_EQ(result.status, 0) << result.errors;
  const std::string path = out() + "/recording-001.aiff";
  EXPECT_EQ(result.output, "recording\nstarted   " + path + "\nfinished  " + path +
                               ": 1.000000 s\nnot recording\nnot recording\n"
                               "files: 1, frames pushed: 44100, dropped: 0, errors: 0\n");
}

TEST_F(CommandLine, ProgressIsAShortLineEachQuarterWhereThereIsNoTerminal) {
  const auto result = run(program());
  EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 4) << result.errors;
  EXPECT_EQ(result.errors.find('\r'), std::string::npos);
  EXPECT_NE(result.errors.find("[########################] 100%  1.0 of 1.0 s  level ["), std::string::npos);
  EXPECT_NE(result.errors.find("-10.8 dB"), std::string::npos) << result.errors;  // of noise from -0.5 to 0.5
}

TEST_F(CommandLine, ProgressIsOneLineDrawnAnewOnATerminal) {
  if (!have_program("script")) GTEST_SKIP() << "no script here to make a terminal";
  const auto result = run("script -qec " + quoted(program() + " --realtime >/dev/null") + " /dev/null");
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.output.find("\r\033[K[############"), std::string::npos) << result.output;
  EXPECT_NE(result.output.find(" dB\r\033[K"), std::string::npos);
}

TEST_F(CommandLine, RealtimeTakesAsLongAsTheAudioAndDropsNothing) {
  const auto begin = std::chrono::steady_clock::now();
  const Recording recording = record(input() + " --realtime --out " + out());
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(980));
  ASSERT_EQ(recording.status, 0) << recording.errors;
  EXPECT_TRUE(recording.joined() == stored(read_floats(input()), 16));
}

// An interrupt ends the recording as its end would: the file is complete.
TEST_F(CommandLine, AnInterruptCompletesTheFile) {
  write_source(input(), 44100, 2, noise(2 * 44100 * 60, 1));
  const std::string path = out() + "/recording-001.aiff";
  const auto result =
      run(program() + "--realtime &\nwhile [ ! -s " + path + " ]; do sleep 0.01; done; kill -INT $!; wait $!");
  EXPECT_EQ(result.status, 0) << result.errors;
  const Audio audio = read_by_libsndfile(path);
  EXPECT_GT(audio.frames(), 0u);
  EXPECT_LT(audio.frames(), 60u * 44100);
  EXPECT_EQ(std::filesystem::file_size(path), 54 + 4 * audio.frames());
}

TEST_F(CommandLine, ADamagedInputIsToldAndTheOthersAreRecorded) {
  if (!have_program("sox")) GTEST_SKIP() << "no sox here";
  const std::string damaged = dir_.file("damaged.flac");
  ASSERT_EQ(run("sox " + input() + " -b 16 " + damaged).status, 0);
  std::string bytes = read_file(damaged);
  std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2), bytes.end(), '\xAA');
  write_file(damaged, bytes);
  const Recording recording = record(damaged + " " + input() + " --out " + out());
  EXPECT_EQ(recording.status, 1);
  EXPECT_EQ(recording.summary["errors"], 1);
  EXPECT_NE(recording.errors.find(damaged), std::string::npos) << recording.errors;
  const auto recorded = recording.joined(), last = stored(read_floats(input()), 16);
  ASSERT_GE(recorded.size(), last.size());
  EXPECT_TRUE(std::equal(last.rbegin(), last.rend(), recorded.rbegin()));
}

// The shortest program that records, from the front page.
TEST(Minimal, RecordsTwoSecondsAndNeverOverAnother) {
  const TempDir dir;
  const std::string program = "cd " + dir.path().string() + " && " + quoted(EXAMPLE_MINIMAL);
  EXPECT_EQ(run(program).status, 0);
  const std::string recorded = read_file(dir.file("tone-1.aiff"));
  EXPECT_EQ(read_by_libsndfile(dir.file("tone-1.aiff")).frames(), 2u * 44100);
  EXPECT_EQ(run(program).status, 1);
  EXPECT_TRUE(read_file(dir.file("tone-1.aiff")) == recorded);
}

}  // namespace
}  // namespace auspool::testing
