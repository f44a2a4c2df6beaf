// What goes wrong around a recording: files that are in the way, folders that cannot be written, disks that are full.
#include <auspool/aurec.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "host/recordings.h"
#include "support/other_programs.h"
#include "support/temp_dir.h"
#include "support/tiny_disk.h"

namespace auspool::testing {
namespace {

class Faults : public ::testing::Test {
protected:
  // Ten minutes at 8000 Hz, 19 megabytes once recorded.
  void SetUp() override { write_source(source(), 8000, 2, samples_); }
  std::string source() const { return dir_.file("in.wav"); }

  const TempDir dir_;
  const Samples samples_ = noise(2 * 8000 * 600, 1);
};

TEST_F(Faults, AFileInTheWayIsLeftAloneAndTheNextNameTaken) {
  std::filesystem::create_directory(dir_.file("out"));
  write_file(dir_.file("out/recording-001.aiff"), "mine");
  write_file(dir_.file("out/recording-002.aiff"), "mine too");
  const Recording recording = record(source() + " --out " + dir_.file("out"));
  ASSERT_EQ(recording.status, 0) << recording.errors;
  EXPECT_EQ(recording.path(0), dir_.file("out/recording-003.aiff"));
  EXPECT_EQ(recording.files[0]["index"], 0);
  EXPECT_EQ(read_file(dir_.file("out/recording-001.aiff")), "mine");
  EXPECT_EQ(read_file(dir_.file("out/recording-002.aiff")), "mine too");
  EXPECT_TRUE(recording.joined() == stored(samples_, 16));
}

// The folder is renamed, so the file in hand is written on; the next one has nowhere to go, which ends the recording.
TEST_F(Faults, AFolderThatVanishesEndsTheRecordingAtTheNextSplit) {
  const std::string out = dir_.file("out"), gone = dir_.file("gone");
  std::string inputs;
  for (int i = 0; i < 200; ++i) inputs += " in.wav";  // more than will be read
  const auto result =
      run("cd " + dir_.path().string() + "\n" + quoted(AUSPOOL_RECORD) + " --json --type wave --limit 1MiB --out " +
          out + inputs + " &\nwhile [ ! -e out/recording-001.wav ]; do sleep 0.01; done; mv out gone; wait $!");
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.errors.find("The file failed to open for writing. Error: 2"), std::string::npos) << result.errors;
  EXPECT_GT(read_by_libsndfile(gone + "/recording-001.wav").frames(), 200000u);
}

TEST_F(Faults, APathThatIsTooLongIsToldAndRecordsNothing) {
  std::string folder = dir_.path().string();
  while (folder.size() < 2048) folder += "/" + std::string(200, 'x');
  const Recording recording = record(source() + " --out " + folder);
  EXPECT_EQ(recording.status, 1);
  EXPECT_NE(recording.errors.find("the path is too long"), std::string::npos) << recording.errors;
  EXPECT_TRUE(std::filesystem::is_empty(folder));
}

// The recorder loses what does not fit without a message; the file keeps what did, and the program notices the rest.
TEST_F(Faults, AFullDiskKeepsWhatFitted) {
  const TinyDisk disk(dir_.file("disk"), "1m");
  if (!disk.mounted()) GTEST_SKIP() << "mounting a small disk is not allowed here";
  for (const char *type : {"aiff", "wave"}) {
    SCOPED_TRACE(type);
    const Recording recording = record(source() + " --out " + dir_.file("disk") + " --type " + type);
    EXPECT_EQ(recording.status, 1);
    EXPECT_NE(recording.errors.find("seconds are missing"), std::string::npos) << recording.errors;
    ASSERT_EQ(recording.files.size(), 1u);
    const Audio audio = read_by_libsndfile(recording.path(0));
    EXPECT_GT(audio.frames(), 250000u);
    const auto expected = stored(Samples(samples_.begin(), samples_.begin() + 500000), 16);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), audio.samples.begin()));
    std::filesystem::remove(recording.path(0));
  }
}

// FLAC loses all that comes after the first block that does not fit, MP3 what does not.
TEST_F(Faults, AFullDiskKeepsWhatFittedOfCompressedFormatsToo) {
  const TinyDisk disk(dir_.file("disk"), "1m");
  if (!disk.mounted()) GTEST_SKIP() << "mounting a small disk is not allowed here";
  for (const auto &[name, type] : {std::pair("flac", AuRecOutputTypeFLAC), {"mp3", AuRecOutputTypeMP3}}) {
    if (!aurec_can_output_type(type)) continue;
    SCOPED_TRACE(name);
    const Recording recording = record(source() + " --out " + dir_.file("disk") + " --type " + name);
    EXPECT_EQ(recording.status, 1);
    EXPECT_NE(recording.errors, "");
    ASSERT_TRUE(std::filesystem::exists(dir_.file("disk/recording-001.") + name));
    const ProgramResult decoded =
        run("ffmpeg -v quiet -i " + dir_.file("disk/recording-001.") + name + " -f s16le - | wc -c");
    EXPECT_GT(std::stol(decoded.output), 4 * 200000) << "about a megabyte of it";
    std::filesystem::remove(dir_.file("disk/recording-001.") + name);
  }
}

// MPEG-4 holds whole packets and an index of them, and leaves no recovery record behind.
TEST_F(Faults, AFullDiskKeepsWhatFittedOfMpeg4Too) {
  if (!aurec_can_output_type(AuRecOutputTypeALAC)) GTEST_SKIP() << "this build has no libavcodec";
  const TinyDisk disk(dir_.file("disk"), "256k");
  if (!disk.mounted()) GTEST_SKIP() << "mounting a small disk is not allowed here";
  const Samples samples(samples_.begin(), samples_.begin() + 2 * 8000 * 100);
  write_source(dir_.file("short.wav"), 8000, 2, samples);
  const auto expected = stored(samples, 16);
  for (const char *options : {"alac", "alac --fragmented", "aac --bitrate 48", "aac --bitrate 48 --fragmented"}) {
    SCOPED_TRACE(options);
    const Recording recording =
        record(dir_.file("short.wav") + " --out " + dir_.file("disk") + " --type " + std::string(options));
    EXPECT_EQ(recording.status, 1);
    EXPECT_NE(recording.errors.find("seconds are missing"), std::string::npos) << recording.errors;
    const std::string path = dir_.file("disk/recording-001.m4a");
    ASSERT_TRUE(std::filesystem::exists(path));
    EXPECT_GT(std::filesystem::file_size(path), 200000u);
    EXPECT_EQ(run("ffmpeg -v error -i " + path + " -f null -").errors, "") << "every packet is whole";
    const Audio audio = read_by_ffmpeg(path);
    EXPECT_GT(audio.frames(), 40000u);
    if (std::string(options).starts_with("alac")) {
      EXPECT_TRUE(std::equal(audio.samples.begin(), audio.samples.end(), expected.begin()));
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir_.file("disk")), {}), 1) << "the record is gone";
    std::filesystem::remove(path);
  }
}

TEST_F(Faults, ADiskThatIsFullFromTheStartFailsAloud) {
  const TinyDisk disk(dir_.file("disk"), "64k");
  if (!disk.mounted()) GTEST_SKIP() << "mounting a small disk is not allowed here";
  run("head -c 1000000 /dev/zero > " + dir_.file("disk/filler"));
  const Recording recording = record(source() + " --out " + dir_.file("disk"));
  EXPECT_EQ(recording.status, 1);
  EXPECT_NE(recording.errors, "");
  EXPECT_EQ(recording.files.size(), 0u);
}

// ---- In a child of this process, which gives up its privileges ----

void *name_file(void *ref, void *, char *path, std::int32_t, std::int32_t, audict **) {
  const std::string whole = *static_cast<std::string *>(ref) + "/x.aiff";
  path[whole.copy(path, AUREC_PATH_BYTES - 1)] = 0;
  return ref;
}

void print_error(void *, void *, std::int32_t code, const char *format, va_list args) {
  std::fprintf(stderr, "%d ", code);
  std::vfprintf(stderr, format, *va_arg(args, va_list *));
}

bool record_a_little(aurec *rec) {
  const std::vector<float> block(1000, 0.5f);
  const float *const channels[2] = {block.data(), block.data()};
  if (aurec_start(rec, 48000) != 0) return false;
  while (!aurec_is_recording(rec) && aurec_is_active(rec)) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  const bool recorded = aurec_is_recording(rec);
  aurec_record(rec, 48000, channels, 1000);
  aurec_stop(rec);
  return recorded;
}

[[noreturn]] void record_where_it_is_not_allowed(std::string denied, const std::string &allowed) {
  if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(3);
  aurec *rec = aurec_create(&denied, name_file, nullptr, nullptr, nullptr, print_error);
  if (record_a_little(rec)) _exit(4);
  denied = allowed;
  if (!record_a_little(rec)) _exit(5);
  aurec_destroy(rec);
  _exit(0);
}

TEST(FaultsDeathTest, AFolderWithoutPermissionIsToldAndTheNextStartWorks) {
  const TempDir dir;
  const std::string denied = dir.file("denied"), allowed = dir.file("allowed");
  ASSERT_EQ(chmod(dir.path().c_str(), 0755), 0);
  for (const auto &[folder, mode] : {std::pair{denied, 0555u}, std::pair{allowed, 0777u}}) {
    ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    ASSERT_EQ(chmod(folder.c_str(), mode), 0);
  }
  EXPECT_EXIT(record_where_it_is_not_allowed(denied, allowed), ::testing::ExitedWithCode(0),
              "^2 Permission was denied. Please check whether you have write access to your recordings folder.$");
  EXPECT_TRUE(std::filesystem::is_empty(denied));
  EXPECT_EQ(read_by_libsndfile(allowed + "/x.aiff").frames(), 1000u);
}

}  // namespace
}  // namespace auspool::testing
