// Reading the tags of MP3, AIFF, WAVE and FLAC files with a cover beside TagLib, which is told to leave the audio
// alone, and rewriting them beside copying the same file. Files lie in the page cache.
#include <benchmark/benchmark.h>
#include <taglib/aifffile.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/tag.h>
#include <taglib/tpropertymap.h>
#include <taglib/wavfile.h>
#include <taglib/xiphcomment.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "auspool/autag2.h"
#include "base/byte_order.h"

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

// The number as 4 bytes.
std::string bytes_of(std::uint32_t number, bool big_endian) {
  std::array<std::uint8_t, 4> bytes;
  big_endian ? auspool::store_be(bytes.data(), number) : auspool::store_le(bytes.data(), number);
  return {bytes.begin(), bytes.end()};
}

// Frames of 417 bytes that start with the header of MPEG-1 layer III, 128 kbit/s at 44.1 kHz.
std::string mp3_file(const std::string &tag, std::size_t audio_bytes) {
  std::string file = tag, frame(417, '\0');
  frame.replace(0, 4, "\xFF\xFB\x90\xC4");
  while (file.size() < tag.size() + audio_bytes) file += frame;
  return file;
}

std::string chunk(const char *id, const std::string &data, bool big_endian) {
  return id + bytes_of(static_cast<std::uint32_t>(data.size()), big_endian) + data;
}

// Mono of 16 bits, with the tag behind the sound.
std::string chunk_file(const std::string &tag, std::size_t audio_bytes, bool aiff) {
  const std::string sound(audio_bytes, 's');
  const std::string rate("\x40\x0E\xAC\x44\0\0\0\0\0\0", 10);
  const auto frames = static_cast<std::uint32_t>(audio_bytes / 2);
  const std::string chunks =
      aiff ? "AIFF" +
                 chunk("COMM", std::string("\0\1", 2) + bytes_of(frames, true) + std::string("\0\20", 2) + rate, true) +
                 chunk("SSND", std::string(8, '\0') + sound, true) + tag
           : "WAVE" + chunk("fmt ", std::string("\1\0\1\0\x44\xAC\0\0\x88\x58\1\0\2\0\20\0", 16), false) +
                 chunk("data", sound, false) + tag;
  return chunk(aiff ? "FORM" : "RIFF", chunks, aiff);
}

// STREAMINFO of 44100 Hz, stereo, 16 bits, and the blocks of the tag, which libFLAC puts in.
std::string flac_file(const audict *tag, std::size_t audio_bytes) {
  std::string info(34, '\0');
  info.replace(0, 4, "\x10\0\x10\0", 4).replace(10, 4, "\x0A\xC4\x42\xF0");
  const std::string path = (std::filesystem::temp_directory_path() / "auspool-bench.flac").string();
  std::ofstream(path, std::ios::binary) << "fLaC" + std::string("\x80\0\0\x22", 4) + info + "\xFF\xF8" +
                                               std::string(audio_bytes, 's');
  if (autag2_write(path.c_str(), tag) != 0) std::abort();
  std::ifstream file(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), {}};
  std::filesystem::remove(path);
  return bytes;
}

std::string whole_file(std::uint32_t format, std::size_t cover_bytes, std::size_t audio_bytes) {
  audict *tag = make_tag(cover_bytes, "Title"), *data = autag2_create(tag, format);
  const std::string flac = format == AUTAG2_FLAC ? flac_file(tag, audio_bytes) : "";
  std::size_t size = 0;
  const auto *bytes = static_cast<const char *>(audict_data(data, &size));
  const std::string block(bytes, size);
  audict_release(data);
  audict_release(tag);
  if (format == AUTAG2_FLAC) return flac;
  return format == AUTAG2_MP3 ? mp3_file(block, audio_bytes) : chunk_file(block, audio_bytes, format == AUTAG2_AIFF);
}

class Files {
public:
  Files(std::uint32_t format, int count, std::size_t cover_bytes, std::size_t audio_bytes) {
    std::string folder = (std::filesystem::temp_directory_path() / "auspool-bench-XXXXXX").string();
    if (!mkdtemp(folder.data())) std::abort();
    folder_ = folder;
    const std::string bytes = whole_file(format, cover_bytes, audio_bytes);
    for (int i = 0; i < count; ++i) {
      paths_.push_back((folder_ / std::to_string(i)).string());
      std::ofstream(paths_.back(), std::ios::binary) << bytes;
    }
  }
  ~Files() { std::filesystem::remove_all(folder_); }
  Files(const Files &) = delete;
  Files &operator=(const Files &) = delete;

  const std::vector<std::string> &paths() const { return paths_; }

private:
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

const TagLib::ID3v2::Tag *tag_of(TagLib::MPEG::File &file) {
  return file.ID3v2Tag();
}
const TagLib::ID3v2::Tag *tag_of(TagLib::RIFF::AIFF::File &file) {
  return file.tag();
}
const TagLib::ID3v2::Tag *tag_of(TagLib::RIFF::WAV::File &file) {
  return file.ID3v2Tag();
}

template <typename File>
std::size_t read_with_taglib(const std::string &path) {
  File file(path.c_str(), false);
  const TagLib::ID3v2::Tag *tag = tag_of(file);
  benchmark::DoNotOptimize(tag->properties());
  const auto &pictures = tag->frameListMap()["APIC"];
  if (pictures.isEmpty()) return 0;
  return static_cast<const TagLib::ID3v2::AttachedPictureFrame *>(pictures.front())->picture().size();
}

std::size_t read_flac_with_taglib(const std::string &path) {
  TagLib::FLAC::File file(path.c_str(), false);
  benchmark::DoNotOptimize(file.xiphComment()->properties());
  const auto &pictures = file.pictureList();
  return pictures.isEmpty() ? 0 : pictures.front()->data().size();
}

template <std::uint32_t Format, std::size_t (*Read)(const std::string &)>
void read_tags(benchmark::State &state) {
  const auto cover_bytes = static_cast<std::size_t>(state.range(0));
  const Files files(Format, kFiles, cover_bytes, 100000);
  std::size_t next = 0;
  for (auto _ : state) {
    if (Read(files.paths()[next++ % kFiles]) != cover_bytes) state.SkipWithError("no cover");
  }
  state.SetItemsProcessed(state.iterations());
}
#define READ_BESIDE_TAGLIB(name, format, taglib)           \
  BENCHMARK_TEMPLATE(read_tags, format, read_with_auspool) \
      ->Name("read " name ", auspool")                     \
      ->Arg(4000)                                          \
      ->Arg(60000)                                         \
      ->Arg(300000)                                        \
      ->Arg(1000000);                                      \
  BENCHMARK_TEMPLATE(read_tags, format, taglib)            \
      ->Name("read " name ", TagLib")                      \
      ->Arg(4000)                                          \
      ->Arg(60000)                                         \
      ->Arg(300000)                                        \
      ->Arg(1000000)
READ_BESIDE_TAGLIB("MP3", AUTAG2_MP3, read_with_taglib<TagLib::MPEG::File>);
READ_BESIDE_TAGLIB("AIFF", AUTAG2_AIFF, read_with_taglib<TagLib::RIFF::AIFF::File>);
READ_BESIDE_TAGLIB("WAVE", AUTAG2_WAVE, read_with_taglib<TagLib::RIFF::WAV::File>);
READ_BESIDE_TAGLIB("FLAC", AUTAG2_FLAC, read_flac_with_taglib);

constexpr std::size_t kLargeFile = 100000000;

// Every rewrite moves the audio, up and down in turn: a difference of more than 2 % of the file does not stay in place.
void rewrite(benchmark::State &state) {
  const Files files(AUTAG2_MP3, 1, 4000, kLargeFile);
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
  const Files files(AUTAG2_MP3, 1, 4000, kLargeFile);
  const std::string &path = files.paths()[0];
  const std::string command = "cp " + path + " " + path + ".copy";
  for (auto _ : state) {
    if (std::system(command.c_str()) != 0) state.SkipWithError("not copied");
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kLargeFile));
}
BENCHMARK(copy_with_cp)->Name("cp of the same file")->Unit(benchmark::kMillisecond)->UseRealTime();

template <std::uint32_t Format>
void rewrite_in_place(benchmark::State &state) {
  const Files files(Format, 1, 4000, kLargeFile);
  const std::array<audict *, 2> tags = {make_tag(4000, "one"), make_tag(4000, "two")};
  std::size_t next = 0;
  for (auto _ : state) {
    if (autag2_write(files.paths()[0].c_str(), tags[++next % 2]) != 0) state.SkipWithError("not written");
  }
  for (audict *tag : tags) audict_release(tag);
}
BENCHMARK_TEMPLATE(rewrite_in_place, AUTAG2_MP3)->Name("rewrite MP3 in place, auspool");
BENCHMARK_TEMPLATE(rewrite_in_place, AUTAG2_AIFF)->Name("rewrite AIFF, tag at the end, auspool");
BENCHMARK_TEMPLATE(rewrite_in_place, AUTAG2_WAVE)->Name("rewrite WAVE, tag at the end, auspool");

}  // namespace

BENCHMARK_MAIN();
