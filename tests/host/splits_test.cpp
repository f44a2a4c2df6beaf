// Splits lose and repeat no frame: whatever splits a recording, its files joined are the source.
#include <auspool/aurec.h>
#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <random>
#include <thread>

#include "host/recordings.h"
#include "support/temp_dir.h"

namespace auspool::testing {
namespace {

constexpr std::size_t kBlock = 1024;  // the most that goes to a file at once

TEST(Splits, ByTimeLoseNoFrame) {
  const TempDir dir;
  const Samples source = noise(2 * 8000 * 200, 1);
  write_source(dir.file("in.wav"), 8000, 2, source);
  for (const char *how : {"--limit 60s", "--limit 1.5min --block 3333"}) {
    SCOPED_TRACE(how);
    const Recording recording = record(dir.file("in.wav") + " --type wave " + how + " --out " + dir.file(how + 8));
    ASSERT_EQ(recording.status, 0) << recording.errors;
    const std::size_t limit = how[8] == '6' ? 60 : 90;
    ASSERT_EQ(recording.files.size(), limit == 60 ? 4u : 3u);
    for (std::size_t i = 0; i + 1 < recording.files.size(); ++i) {
      EXPECT_GT(recording.files[i]["frames"], limit * 8000);
      EXPECT_LE(recording.files[i]["frames"], limit * 8000 + kBlock);
    }
    EXPECT_TRUE(recording.joined() == stored(source, 16));
  }
}

TEST(Splits, BySizeLoseNoFrame) {
  const TempDir dir;
  const Samples source = noise(2 * 1100000, 2);
  write_source(dir.file("in.wav"), 44100, 2, source);
  for (const char *how : {"--limit 1MiB", "--limit 1.5MiB --bits 24 --type wave"}) {
    SCOPED_TRACE(how);
    const Recording recording = record(dir.file("in.wav") + " " + how + " --out " + dir.file(how + 8));
    ASSERT_EQ(recording.status, 0) << recording.errors;
    const bool wide = how[9] == '.';
    const int limit = wide ? 3 << 19 : 1 << 20;
    ASSERT_EQ(recording.files.size(), wide ? 5u : 5u);
    for (std::size_t i = 0; i + 1 < recording.files.size(); ++i) {
      EXPECT_LE(recording.files[i]["bytes"], limit);
      EXPECT_GT(recording.files[i]["bytes"], limit - 51200);
      EXPECT_EQ(recording.files[i]["bytes"], std::filesystem::file_size(recording.path(i)));
      EXPECT_EQ(recording.files[i]["index"], i);
    }
    EXPECT_TRUE(recording.joined() == stored(source, wide ? 24 : 16));
  }
}

TEST(Splits, WithBlocksOfEverySizeLoseNoFrame) {
  const TempDir dir;
  const Samples source = noise(2 * 300000, 3);
  write_source(dir.file("in.wav"), 44100, 2, source);
  const auto expected = stored(source, 16);
  for (const char *block : {"1", "63", "1024", "8191", "65536"}) {
    SCOPED_TRACE(block);
    const Recording recording =
        record(dir.file("in.wav") + " --limit 1MiB --block " + block + " --out " + dir.file(block));
    ASSERT_EQ(recording.status, 0) << recording.errors;
    EXPECT_EQ(recording.files.size(), 2u);
    EXPECT_TRUE(recording.joined() == expected);
  }
}

// ---- In this process, where blocks and requests come as a test wants them ----

struct Host {
  const TempDir &dir;
  std::deque<std::string> paths;
  std::vector<std::string> done;
};

void *name_file(void *ref, void *, char *path, std::int32_t, std::int32_t, audict **) {
  Host &host = *static_cast<Host *>(ref);
  host.paths.push_back(host.dir.file(std::to_string(host.paths.size()) + ".wav"));
  host.paths.back().copy(path, AUREC_PATH_BYTES - 1);
  path[host.paths.back().size()] = 0;
  return &host.paths.back();
}

std::int32_t done(void *ref, void *token) {
  static_cast<Host *>(ref)->done.push_back(*static_cast<std::string *>(token));
  return 0;
}

template <typename Condition>
void wait_until(Condition condition) {
  while (!condition()) std::this_thread::sleep_for(std::chrono::microseconds(200));
}

// A thousand blocks of 1 to 8192 frames, and now and then the wish for a new file.
TEST(Splits, AtRandomMomentsLoseNoFrame) {
  const TempDir dir;
  Host host{dir, {}, {}};
  aurec *rec = aurec_create(&host, name_file, nullptr, nullptr, done, nullptr);
  ASSERT_NE(rec, nullptr);
  aurec_set_output_type(rec, AuRecOutputTypeWAVE);
  ASSERT_EQ(aurec_start(rec, 48000), 0);
  wait_until([&] { return aurec_is_recording(rec); });

  std::mt19937 random(4);
  const Samples left = noise(8192 + 1000, 5), right = noise(8192 + 1000, 6);
  Samples source;
  unsigned wishes = 0;
  for (std::size_t block = 0; block < 1000; ++block) {
    const auto frames = std::uniform_int_distribution<std::int32_t>(1, 8192)(random);
    const float *const channels[2] = {left.data() + block, right.data() + block};
    for (std::int32_t i = 0; i < frames; ++i) source.insert(source.end(), {channels[0][i], channels[1][i]});
    wait_until([&] { return aurec_buffer_available_space(rec) >= frames * 8; });
    ASSERT_EQ(aurec_record(rec, 48000, channels, frames), 0);
    if (random() % 40 == 0 && ++wishes) aurec_make_new_file(rec);
  }
  aurec_stop(rec);
  aurec_destroy(rec);

  EXPECT_GT(host.done.size(), 1u);
  EXPECT_LE(host.done.size(), wishes + 1);
  std::vector<std::int32_t> joined;
  for (const std::string &path : host.done) {
    const Audio audio = read_by_libsndfile(path);
    joined.insert(joined.end(), audio.samples.begin(), audio.samples.end());
  }
  EXPECT_TRUE(joined == stored(source, 16));
}

}  // namespace
}  // namespace auspool::testing
