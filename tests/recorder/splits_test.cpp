// Splits lose no frame and repeat none.
#include <sys/mount.h>

#include <random>

#include "recorder/bare_recorder.h"
#include "support/pcm_file.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

// What all finished files hold, one behind the other.
std::vector<std::int32_t> joined(const Host &host) {
  std::vector<std::int32_t> all;
  for (const std::string &path : host.finished()) {
    const PcmFile file = read_pcm_file(path);
    EXPECT_TRUE(file.valid) << path;
    all.insert(all.end(), file.samples.begin(), file.samples.end());
  }
  return all;
}

TEST(Splits, ATimeLimitLosesNoFrame) {
  Host host(AuRecOutputTypeWAVE);
  aurec_set_limit(host, 60, 1);
  ASSERT_EQ(host.start(1000), 0);
  const Samples left = noise(200000, 1), right = noise(200000, 2);
  host.feed(left, right, 1000);
  host.wait_until_ring_is_empty();  // once the end is asked for, nothing is split any more
  aurec_stop(host);
  EXPECT_EQ(host.finished().size(), 4u);
  for (std::size_t i = 0; i < 3; ++i) {
    const std::int64_t frames = read_pcm_file(host.finished()[i]).frames;
    EXPECT_GT(frames, 60000);
    EXPECT_LE(frames, 61024);
  }
  EXPECT_EQ(joined(host), integers_of(left, right, 16));
}

TEST(Splits, ASizeLimitLosesNoFrame) {
  Host host;
  aurec_set_limit(host, 1048576, 0);
  ASSERT_EQ(host.start(), 0);
  const Samples left = noise(700000, 1), right = noise(700000, 2);
  host.feed(left, right);
  host.wait_until_ring_is_empty();
  aurec_stop(host);
  EXPECT_EQ(host.finished().size(), 3u);
  for (std::size_t i = 0; i < 2; ++i) {
    // It closes once the disk has more than 997376 bytes; one stream buffer and one block may come on top.
    const std::size_t bytes = read_file(host.finished()[i]).size();
    EXPECT_GT(bytes, 997376u);
    EXPECT_LE(bytes, 997376u + 2 * 4096u + 4096u);
  }
  EXPECT_EQ(joined(host), integers_of(left, right, 16));
}

TEST(Splits, NewFilesAtRandomMomentsAndBlocksOfAnySizeLoseNoFrame) {
  for (const std::uint32_t bit_depth : {0u, 1u}) {
    Host host;
    aurec_set_pcm_options(host, {0, bit_depth, 0, 0});
    ASSERT_EQ(host.start(), 0);
    std::mt19937 random(bit_depth + 11);
    std::uniform_int_distribution<std::size_t> sizes(1, 8192);
    Samples left, right;
    for (std::uint32_t block = 1; block <= 200; ++block) {
      const std::size_t frames = sizes(random);
      const Samples l = noise(frames, block), r = noise(frames, block + 1000);
      host.feed(l, r, 44100, frames);
      left.insert(left.end(), l.begin(), l.end());
      right.insert(right.end(), r.begin(), r.end());
      if (random() % 8 == 0) aurec_make_new_file(host);
      // Now and then the worker catches up, so that requests meet rings of every fill.
      if (random() % 16 == 0) host.wait_until_ring_is_empty();
    }
    host.wait_until_ring_is_empty();
    aurec_stop(host);
    EXPECT_GT(host.finished().size(), 5u);
    EXPECT_EQ(joined(host), integers_of(left, right, bit_depth ? 24 : 16));
  }
}

// On a full disk audio is lost without a message, and the recording goes on. What there is room for again is in step.
TEST(Splits, AFullDiskLosesWhatDoesNotFitAndNothingElse) {
  TempDir mount_point;
  if (mount("tmpfs", mount_point.path().c_str(), "tmpfs", 0, "size=256k") != 0) {
    GTEST_SKIP() << "a small file system cannot be mounted here";
  }
  {
    Host host(AuRecOutputTypeWAVE);
    aurec_set_pcm_options(host, {0, 1, 0, 0});
    const std::string ballast = mount_point.file("ballast");
    write_file(ballast, std::string(64 * 1024, 'x'));
    host.on_path = [&](char *to, void *&, void *, audict **) {
      std::snprintf(to, AUREC_PATH_BYTES, "%s", mount_point.file("take").c_str());
    };
    ASSERT_EQ(host.start(), 0);
    // Counting frames: each sample says where it belongs.
    const auto ramp = [](std::size_t from, std::size_t count) {
      Samples samples(count);
      for (std::size_t i = 0; i < count; ++i) samples[i] = static_cast<float>(from + i) / 8388608.0f;
      return samples;
    };
    const auto feed = [&](std::size_t from, std::size_t count) {
      const Samples samples = ramp(from, count);
      host.feed(samples, samples);
      host.wait_until(
          [&] {
            wake_worker(host);
            return aurec_buffer_available_space(host) == aurec_buffer_size(host);
          },
          "the worker");
    };
    feed(1, 50000);
    std::filesystem::remove(ballast);
    feed(50001, 5000);
    aurec_stop(host);
    EXPECT_EQ(host.errors().size(), 0u);
    ASSERT_EQ(host.count("done"), 1u);
    const PcmFile file = read_pcm_file(mount_point.file("take"));
    ASSERT_GT(file.samples.size(), 2 * 30000u);
    std::int32_t last = 0;
    std::size_t holes = 0, torn = 0, found_after = 0;
    for (std::size_t i = 0; i < file.samples.size(); i += 2) {
      const std::int32_t value = file.samples[i];
      torn += file.samples[i + 1] != value;
      holes += value == 0;
      if (value == 0 || file.samples[i + 1] != value) continue;
      ASSERT_GT(value, last) << "at frame " << i / 2;
      last = value;
      found_after += value > 50000;
    }
    EXPECT_LE(holes, 4096u / 6 + 2) << "what the stream dropped";
    EXPECT_LE(torn, 1u) << "where the disk was full";
    EXPECT_GT(found_after, 4000u);
    host.on_path = nullptr;
    EXPECT_EQ(host.start(), 0) << "the next start works";
  }
  umount(mount_point.path().c_str());
}

}  // namespace
