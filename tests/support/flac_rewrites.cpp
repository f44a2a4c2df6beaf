#include "support/flac_rewrites.h"

#include <random>

#include "support/flac_file.h"
#include "support/other_programs.h"
#include "support/pictures.h"
#include "support/tag_file.h"

namespace auspool::testing {
namespace {

// A second of noise, coded once.
std::string coded() {
  const TempDir folder;
  std::string raw(44100 * 4, '\0');
  std::minstd_rand random(1);
  for (char &byte : raw) byte = static_cast<char>(random() >> 8);
  write_file(folder.file("raw"), raw);
  output_of("flac -s --force-raw-format --endian=little --sign=signed --channels=2 --bps=16 --sample-rate=44100 -o " +
            quoted(folder.file("a.flac")) + " " + quoted(folder.file("raw")));
  return read_file(folder.file("a.flac"));
}

class Source {
public:
  explicit Source(unsigned seed) : random_(seed) {}

  unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

  std::string text() {
    static const char *const kPieces[] = {"Night Train ", "é", "π≈3 ", "日本", "“q” ", "x"};
    std::string text;
    for (unsigned count = below(60); count > 0; --count) text += kPieces[below(6)];
    return text;
  }

  // The blocks of another writer, in any order behind the first.
  std::string file(const std::string &from) {
    std::vector<std::string> blocks = {flac_block(kStreamInfo, blocks_of(from).at(0).data)};
    if (below(2)) blocks.push_back(flac_block(kApplication, "test" + text()));
    if (below(2)) blocks.push_back(flac_block(kPicture, flac_picture(below(8), std::string(1 + below(3000), 'p'))));
    if (below(4))
      blocks.push_back(flac_block(kVorbisComment, vorbis_comments({"TITLE=" + text(), "MOOD=x"}, "someone")));
    if (below(3)) blocks.push_back(flac_block(kPadding, std::string(below(9000), '\0')));
    if (below(4) == 0) blocks.push_back(flac_block(kPicture, flac_picture(3, std::string(1 + below(3000), 'q'))));
    blocks.back()[0] = static_cast<char>(blocks.back()[0] | 0x80);
    std::string whole = "fLaC";
    for (const std::string &block : blocks) whole += block;
    return whole + audio_of(from);
  }

  Ref tag() {
    Ref tag(audict_create());
    for (const char *key : {"Title", "Artist", "Comment", "Encoder", "Album", "Genre", "Composer", "Grouping"}) {
      if (below(2)) audict_set_string(tag.get(), key, text().c_str());
    }
    for (const char *key : {"Year", "TrackNum", "TrackTotal", "DiscNum", "BPM", "Compilation"}) {
      if (below(2)) audict_set_integer(tag.get(), key, below(3000), AUDICT_INT32);
    }
    if (below(3) == 0) {
      const std::string cover = "\xFF\xD8" + std::string(20 + below(9000), 'c');
      audict_set_data(tag.get(), "AlbumCover", cover.data(), cover.size());
    }
    return tag;
  }

private:
  std::minstd_rand random_;
};

std::size_t metadata_size(const std::string &file) {
  return file.size() - audio_of(file).size();
}

// All blocks but the padding, headers included.
std::size_t needed(const std::string &file) {
  std::size_t size = 4;
  for (const FoundBlock &block : blocks_of(file)) size += block.type == kPadding ? 0 : 4 + block.data.size();
  return size;
}

void expect_tag(const ReadResult &read, const audict *tag) {
  EXPECT_EQ(read.error, 0);
  for (const char *key : {"Title", "Artist", "Comment", "Album", "Genre", "Composer", "Grouping", "Year", "TrackNum",
                          "TrackTotal", "DiscNum", "BPM", "Compilation", "AlbumCover"}) {
    const std::string wanted = shown(audict_get(tag, key));
    EXPECT_EQ(read[key], wanted.empty() ? "none" : wanted) << key;
  }
}

void rewrite_one(Source &source, const std::string &from, bool decode) {
  const TagFile file(source.file(from));
  const std::string before = file.bytes();
  const Ref tag = source.tag();
  ASSERT_EQ(file.write(tag.get()), 0);
  const std::string after = file.bytes();
  ASSERT_EQ(audio_of(after), audio_of(from));
  const std::size_t room = metadata_size(before), need = needed(after);
  const bool fits = need == room || need + 4 <= room;
  EXPECT_EQ(metadata_size(after) == room, fits) << need << " bytes into " << room;
  expect_tag(file.read(), tag.get());
  EXPECT_TRUE(!decode || run("flac -s -t " + quoted(file.path())).status == 0);
}

}  // namespace

void rewrite_flac_at_random(int count, unsigned seed) {
  const std::string from = coded();
  Source source(seed);
  for (int round = 0; round < count && !::testing::Test::HasFailure(); ++round) {
    SCOPED_TRACE(round);
    rewrite_one(source, from, round % 10 == 0);
  }
}

}  // namespace auspool::testing
