// Tags of MPEG-4 files: reading them beside TagLib, which is told to leave the audio alone, and giving a long file a
// larger tag beside mutagen, which is told to leave no padding, so that it moves the audio too. Files lie in the page
// cache.
#include <benchmark/benchmark.h>
#include <taglib/mp4file.h>
#include <taglib/tpropertymap.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <semaphore>
#include <string>
#include <vector>

#include "auspool/autag2.h"
#include "auspool/m4a.h"

namespace {

using Clock = std::chrono::steady_clock;

audict *make_tag(std::size_t cover_bytes) {
  audict *tag = audict_create();
  for (const char *key : {"Title", "Artist", "Album", "Genre", "Composer", "Comment", "Encoder"}) {
    audict_set_string(tag, key, "Some text of the usual length, with a ž in it");
  }
  for (const char *key : {"Year", "TrackNum", "TrackTotal"}) audict_set_integer(tag, key, 12, AUDICT_INT32);
  std::vector<char> cover(cover_bytes, 'c');
  cover[0] = '\xFF';
  cover[1] = '\xD8';
  audict_set_data(tag, "AlbumCover", cover.data(), cover.size());
  return tag;
}

// Packets of 372 bytes, as AAC of 128 kbit/s has, and the index in front of them or behind.
void write_file(const std::string &path, std::size_t cover_bytes, std::size_t audio_bytes, bool index_in_front) {
  const std::vector<char> packet(372, 'p');
  std::FILE *const file = std::fopen(path.c_str(), "w+");
  m4a_t *const m4a = m4a_begin(file, nullptr, 2, 44100, 1024, 128000, M4A_PROFILE_LC);
  for (std::size_t i = 0; i < audio_bytes / packet.size(); ++i) {
    m4a_write_sample(m4a, packet.data(), static_cast<int>(packet.size()));
  }
  std::binary_semaphore done{0};
  fs_fix_th_data_t fix = {};
  fix.file = file;
  fix.post_proc = &done;
  fix.done_proc = [](fs_fix_th_data_t *of) { static_cast<std::binary_semaphore *>(of->post_proc)->release(); };
  audict *const tag = make_tag(cover_bytes);
  if (m4a_finish(m4a, tag, M4A_KIND_AAC, index_in_front ? &fix : nullptr) != 0) std::abort();
  audict_release(tag);
  if (index_in_front) done.acquire();
  std::fclose(file);
}

class Folder {
public:
  Folder() {
    std::string folder = (std::filesystem::temp_directory_path() / "auspool-bench-XXXXXX").string();
    if (!mkdtemp(folder.data())) std::abort();
    path_ = folder;
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder &) = delete;
  Folder &operator=(const Folder &) = delete;

  std::string file(int number) const { return path_ / (std::to_string(number) + ".m4a"); }

private:
  std::filesystem::path path_;
};

// ---- Reading ----

std::size_t auspool(const std::string &path) {
  audict *const tag = autag2_read(path.c_str(), nullptr, nullptr);
  std::size_t cover = 0;
  audict_get_data(tag, "AlbumCover", &cover);
  audict_release(tag);
  return cover;
}

std::size_t taglib(const std::string &path) {
  TagLib::MP4::File file(path.c_str(), false);
  benchmark::DoNotOptimize(file.properties());
  const auto pictures = file.tag()->item("covr").toCoverArtList();
  return pictures.isEmpty() ? 0 : pictures.front().data().size();
}

void read_tags(benchmark::State &state, std::size_t (*read)(const std::string &)) {
  constexpr int kFiles = 64;
  const auto cover_bytes = static_cast<std::size_t>(state.range(0));
  const Folder folder;
  for (int i = 0; i < kFiles; ++i) write_file(folder.file(i), cover_bytes, 100000, true);
  int next = 0;
  for (auto _ : state) {
    if (read(folder.file(next++ % kFiles)) != cover_bytes) state.SkipWithError("no cover");
  }
}
BENCHMARK_CAPTURE(read_tags, auspool, auspool)->Arg(4000)->Arg(60000)->Arg(300000)->Arg(1000000);
BENCHMARK_CAPTURE(read_tags, taglib, taglib)->Arg(4000)->Arg(60000)->Arg(300000)->Arg(1000000);

// ---- Rewriting: each time the tag grows by 10 kB ----

constexpr std::size_t kLongFile = 200000000, kMore = 10000;
constexpr int kTimes = 21;

std::vector<double> rewrite_with_auspool(const std::string &path) {
  std::vector<double> seconds;
  for (std::size_t i = 1; i <= kTimes; ++i) {
    audict *const tag = make_tag((i + 1) * kMore);
    const auto before = Clock::now();
    if (autag2_write(path.c_str(), tag) != 0) std::abort();
    seconds.push_back(std::chrono::duration<double>(Clock::now() - before).count());
    audict_release(tag);
  }
  return seconds;
}

// Python's own start and the making of the tag are not counted.
std::vector<double> rewrite_with_mutagen(const std::string &path) {
  constexpr char kScript[] =
      "import sys, time\n"
      "from mutagen.mp4 import MP4, MP4Cover\n"
      "for i in range(1, int(sys.argv[2]) + 1):\n"
      "  cover = MP4Cover(b'\\xff\\xd8' + b'c' * ((i + 1) * int(sys.argv[3])))\n"
      "  before = time.perf_counter()\n"
      "  file = MP4(sys.argv[1])\n"
      "  file['covr'] = [cover]\n"
      "  file.save(padding=lambda info: 0)\n"
      "  print(time.perf_counter() - before)\n";
  const std::string command = "/usr/bin/python3 -c \"" + std::string(kScript) + "\" " + path + " " +
                              std::to_string(kTimes) + " " + std::to_string(kMore);
  std::FILE *const output = popen(command.c_str(), "r");
  std::vector<double> all;
  for (double seconds = 0; std::fscanf(output, "%lf", &seconds) == 1;) all.push_back(seconds);
  pclose(output);
  return all;
}

// The median of one file's rewrites.
void rewrite(benchmark::State &state, std::vector<double> (*rewrites)(const std::string &), bool index_in_front) {
  for (auto _ : state) {
    const Folder folder;
    write_file(folder.file(0), kMore, kLongFile, index_in_front);
    std::vector<double> seconds = rewrites(folder.file(0));
    if (seconds.empty()) return state.SkipWithError("not there");
    std::sort(seconds.begin(), seconds.end());
    state.SetIterationTime(seconds[seconds.size() / 2]);
  }
}
#define REWRITE(name, way, in_front)               \
  BENCHMARK_CAPTURE(rewrite, name, &way, in_front) \
      ->UseManualTime()                            \
      ->Iterations(1)                              \
      ->Repetitions(3)                             \
      ->ReportAggregatesOnly()                     \
      ->Unit(benchmark::kMillisecond)
REWRITE(index_in_front_auspool, rewrite_with_auspool, true);
REWRITE(index_in_front_mutagen, rewrite_with_mutagen, true);
REWRITE(index_at_the_end_auspool, rewrite_with_auspool, false);
REWRITE(index_at_the_end_mutagen, rewrite_with_mutagen, false);

}  // namespace

BENCHMARK_MAIN();
