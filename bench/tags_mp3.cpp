// Reading the tags of MP3 files with a cover beside TagLib, which is told to leave the audio alone, and rewriting them
// beside copying the same file. Files lie in the page cache.
#include <benchmark/benchmark.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/tag.h>
#include <taglib/tpropertymap.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "auspool/autag2.h"

namespace {

constexpr int kFiles = 64;

// A tag with the usual texts, all in UTF-16 because of one letter, and a cover.
audict *make_tag(std::size_t cover_bytes, const std::string &title) {
  audict *tag = audict_create();
  for (const char *key : {"Artist", "Album", "Genre", "Composer", "Comment", "Encoder"}) {
    audict_set_string(tag, key, "Some text of the usual length, with a ž in it");
  }
  audict_set_string(tag, "Title", title.c_str());
  for (const char *key : {"Year", "TrackNum", "TrackTotal"}) audict_set_integer(tag, key, 12, AUDICT_INT32);
  std::vector<char> cover(cover_bytes, 'c');
  cover[0] = '\xFF';
  cover[1] = '\xD8';
  audict_set_data(tag, "AlbumCover", cover.data(), cover.size());
  return tag;
}

class Files {
public:
  Files(int count, std::size_t cover_bytes, std::size_t audio_bytes) {
    std::string folder = (std::filesystem::temp_directory_path() / "auspool-bench-XXXXXX").string();
    if (!mkdtemp(folder.data())) std::abort();
    folder_ = folder;
    audict *tag = make_tag(cover_bytes, "Title");
    audict *data = autag2_create(tag, AUTAG2_MP3);
    std::size_t size = 0;
    const auto *bytes = static_cast<const char *>(audict_data(data, &size));
    for (int i = 0; i < count; ++i) {
      paths_.push_back((folder_ / (std::to_string(i) + ".mp3")).string());
      std::ofstream file(paths_.back(), std::ios::binary);
      file.write(bytes, static_cast<std::streamsize>(size));
      write_audio(file, audio_bytes);
    }
    audict_release(data);
    audict_release(tag);
  }
  ~Files() { std::filesystem::remove_all(folder_); }
  Files(const Files &) = delete;
  Files &operator=(const Files &) = delete;

  const std::vector<std::string> &paths() const { return paths_; }

private:
  // Frames of 417 bytes that start with the header of MPEG-1 layer III, 128 kbit/s at 44.1 kHz.
  static void write_audio(std::ofstream &file, std::size_t bytes) {
    std::string frame(417, '\0');
    frame.replace(0, 4, "\xFF\xFB\x90\xC4");
    for (std::size_t written = 0; written < bytes; written += frame.size()) file << frame;
  }

  std::filesystem::path folder_;
  std::vector<std::string> paths_;
};

std::size_t read_with_auspool(const std::string &path) {
  audict *tag = autag2_read(path.c_str(), nullptr, nullptr);
  std::size_t cover = 0;
  audict_get_data(tag, "AlbumCover", &cover);
  audict_release(tag);
  return cover;
}

std::size_t read_with_taglib(const std::string &path) {
  TagLib::MPEG::File file(path.c_str(), false);
  const TagLib::ID3v2::Tag *tag = file.ID3v2Tag();
  benchmark::DoNotOptimize(tag->properties());
  const auto &pictures = tag->frameListMap()["APIC"];
  if (pictures.isEmpty()) return 0;
  return static_cast<const TagLib::ID3v2::AttachedPictureFrame *>(pictures.front())->picture().size();
}

template <std::size_t (*Read)(const std::string &)>
void read_tags(benchmark::State &state) {
  const auto cover_bytes = static_cast<std::size_t>(state.range(0));
  const Files files(kFiles, cover_bytes, 100000);
  std::size_t next = 0;
  for (auto _ : state) {
    if (Read(files.paths()[next++ % kFiles]) != cover_bytes) state.SkipWithError("no cover");
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK_TEMPLATE(read_tags, read_with_auspool)->Name("read, auspool")->Arg(4000)->Arg(60000)->Arg(1000000);
BENCHMARK_TEMPLATE(read_tags, read_with_taglib)->Name("read, TagLib")->Arg(4000)->Arg(60000)->Arg(1000000);

constexpr std::size_t kLargeFile = 100000000;

// Every rewrite moves the audio, up and down in turn: a difference of more than 2 % of the file does not stay in place.
void rewrite(benchmark::State &state) {
  const Files files(1, 4000, kLargeFile);
  const std::string &path = files.paths()[0];
  const std::array<audict *, 2> tags = {make_tag(4000, "Title"), make_tag(3000000, "Title")};
  std::size_t next = 0;
  for (auto _ : state) {
    if (autag2_write(path.c_str(), tags[++next % 2]) != 0) state.SkipWithError("not written");
  }
  for (audict *tag : tags) audict_release(tag);
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kLargeFile));
}
BENCHMARK(rewrite)->Name("rewrite with a move of 100 MB, auspool")->Unit(benchmark::kMillisecond)->UseRealTime();

void copy_with_cp(benchmark::State &state) {
  const Files files(1, 4000, kLargeFile);
  const std::string &path = files.paths()[0];
  const std::string command = "cp " + path + " " + path + ".copy";
  for (auto _ : state) {
    if (std::system(command.c_str()) != 0) state.SkipWithError("not copied");
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kLargeFile));
}
BENCHMARK(copy_with_cp)->Name("cp of the same file")->Unit(benchmark::kMillisecond)->UseRealTime();

void rewrite_in_place(benchmark::State &state) {
  const Files files(1, 4000, kLargeFile);
  const std::array<audict *, 2> tags = {make_tag(4000, "one"), make_tag(4000, "two")};
  std::size_t next = 0;
  for (auto _ : state) {
    if (autag2_write(files.paths()[0].c_str(), tags[++next % 2]) != 0) state.SkipWithError("not written");
  }
  for (audict *tag : tags) audict_release(tag);
}
BENCHMARK(rewrite_in_place)->Name("rewrite in place, auspool");

}  // namespace

BENCHMARK_MAIN();
