// What other programs make of our tags, and we of theirs. The files are made here, by encoders.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <random>

#include "auspool/autag2.h"
#include "support/id3.h"
#include "support/other_programs.h"
#include "support/pictures.h"
#include "support/tag_file.h"

namespace auspool::tags {
namespace {

using namespace auspool::testing;
using nlohmann::json;

// Two seconds of a tone, as an encoder writes them, with its tag or without.
std::string encoded(const std::string &options) {
  const TempDir folder;
  const std::string path = folder.file("tone.mp3");
  output_of("ffmpeg -v error -f lavfi -i sine=frequency=440:duration=2 -b:a 64k " + options + " " + quoted(path));
  return read_file(path);
}

Ref full_tag(const std::string &suffix) {
  Ref tag = make_dictionary();
  for (const char *key : {"Title", "Artist", "Album", "Sidekick", "Genre", "Grouping", "Composer", "Encoder",
                          "EncoderSettings", "Comment", "Lyrics"}) {
    set(*tag, key, make_string(key + suffix));
  }
  const std::pair<const char *, int> numbers[] = {{"Year", 1999},       {"BPM", 120},   {"TrackNum", 3},
                                                  {"TrackTotal", 12},   {"DiscNum", 1}, {"DiscTotal", 2},
                                                  {"TrackLength", 2000}};
  for (const auto &[key, value] : numbers) set(*tag, key, make_integer(value, AUDICT_INT32));
  set(*tag, "Compilation", make_boolean(true));
  set(*tag, "ID3Podcast", make_boolean(true));
  set(*tag, "AlbumCover", make_data(jpeg_file(40, 30)));
  return tag;
}

constexpr const char *kMutagenDump = R"(
import json, sys
from mutagen.id3 import ID3
tag = ID3(sys.argv[1], translate=False)
shown = {f.FrameID: f.data.hex() if f.FrameID == 'APIC' else getattr(f, 'text', None) for f in tag.values()}
shown = {k: str(v[0]) if isinstance(v, list) else v for k, v in shown.items()}
picture = tag.getall('APIC')[0]
shown['mime'], shown['type'], shown['version'] = picture.mime, picture.type, list(tag.version)
print(json.dumps(shown))
)";

TEST(OtherPrograms, MutagenReadsWhatWeWrite) {
  NEED_PROGRAM("ffmpeg");
  NEED_MUTAGEN();
  for (const char *suffix : {" caf\u00E9", " Žluťoučký 😀"}) {
    const TagFile file(encoded("-id3v2_version 3"));
    const Ref tag = full_tag(suffix);
    ASSERT_EQ(file.write(tag.get()), 0);
    const json shown = json::parse(python(kMutagenDump, file.path()));
    const std::pair<const char *, const char *> texts[] = {
        {"TIT2", "Title"},   {"TPE1", "Artist"},   {"TALB", "Album"},          {"TPE2", "Sidekick"},
        {"TCON", "Genre"},   {"TIT1", "Grouping"}, {"TCOM", "Composer"},       {"TENC", "Encoder"},
        {"COMM", "Comment"}, {"USLT", "Lyrics"},   {"TSSE", "EncoderSettings"}};
    for (const auto &[id, key] : texts) {
      EXPECT_EQ(shown[id], key + std::string(suffix)) << id;
    }
    const std::pair<const char *, const char *> numbers[] = {{"TYER", "1999"}, {"TBPM", "120"},  {"TLEN", "2000"},
                                                             {"TCMP", "1"},    {"TRCK", "3/12"}, {"TPOS", "1/2"}};
    for (const auto &[id, text] : numbers) EXPECT_EQ(shown[id], text) << id;
    const auto cover = jpeg_file(40, 30);
    EXPECT_EQ(shown["APIC"].get<std::string>().size(), 2 * cover.size());
    EXPECT_EQ(shown["mime"], "image/jpeg");
    EXPECT_EQ(shown["type"], 0);
    EXPECT_EQ(shown["version"], (json{2, 3, 0}));
    EXPECT_TRUE(shown.contains("PCST"));
  }
}

TEST(OtherPrograms, FfprobeReadsWhatWeWrite) {
  NEED_PROGRAM("ffprobe");
  const TagFile file(encoded("-id3v2_version 4"));
  const std::string audio = decoded_hash(file.path());
  const Ref tag = full_tag(" Žluťoučký");
  ASSERT_EQ(file.write(tag.get()), 0);
  const json shown =
      json::parse(output_of("ffprobe -v error -show_format -show_streams -of json " + quoted(file.path())));
  const std::pair<const char *, const char *> texts[] = {
      {"title", "Title"},           {"artist", "Artist"},      {"album", "Album"},
      {"album_artist", "Sidekick"}, {"genre", "Genre"},        {"composer", "Composer"},
      {"comment", "Comment"},       {"encoded_by", "Encoder"}, {"encoder", "EncoderSettings"},
      {"lyrics-eng", "Lyrics"}};
  for (const auto &[name, key] : texts)
    EXPECT_EQ(shown["format"]["tags"][name], key + std::string(" Žluťoučký")) << name;
  EXPECT_EQ(shown["format"]["tags"]["track"], "3/12");
  EXPECT_EQ(shown["format"]["tags"]["disc"], "1/2");
  EXPECT_EQ(shown["format"]["tags"]["date"], "1999");
  EXPECT_EQ(shown["streams"][1]["codec_name"], "mjpeg");
  EXPECT_EQ(shown["streams"][1]["width"], 40);
  EXPECT_EQ(decoded_hash(file.path()), audio);
}

TEST(OtherPrograms, Id3v2ListsWhatWeWrite) {
  NEED_PROGRAM("ffmpeg");
  NEED_PROGRAM("id3v2");
  const TagFile file(encoded("-id3v2_version 3"));
  ASSERT_EQ(file.write(full_tag(" text").get()), 0);
  const std::string listed = output_of("id3v2 -l " + quoted(file.path()));
  for (const char *line : {"): Title text", "): Artist text", "): Album text", "): Sidekick text", "): Composer text",
                           "): Grouping text", "): 1999", "): 3/12", "): 120", "Comment text", "image/jpeg"}) {
    EXPECT_NE(listed.find(line), std::string::npos) << line << " in\n" << listed;
  }
}

// Chapters of all three kinds, in a tag of their own.
std::string chaptered() {
  const Ref chapters = make_dictionary();
  for (const char *track : {"Autag2ChapterTOCTrack", "Autag2ChapterImageTrack", "Autag2ChapterHRefTrack"}) {
    Ref array = make_array();
    for (int i = 0; i < 2; ++i) {
      Ref element = make_dictionary();
      set(*element, "Autag2ChapterElementStartTime", make_float(i));
      set(*element, "Autag2ChapterElementDuration", make_float(1));
      set(*element, "Autag2ChapterElementTitle", make_string("Žába " + std::to_string(i)));
      set(*element, "Autag2ChapterElementURL", make_string("http://example.com/" + std::to_string(i)));
      set(*element, "Autag2ChapterElementImage", make_data(png_file(24, 16)));
      append(*array, std::move(element));
    }
    set(*chapters, track, std::move(array));
  }
  const Ref frames(autag2_chapter_create(chapters.get(), AUTAG2_MP3));
  return id3_tag(3, bytes_of(frames.get()));
}

constexpr const char *kMutagenChapters = R"(
import json, sys
from mutagen.id3 import ID3
tag = ID3(sys.argv[1], translate=False)
toc = tag.getall('CTOC')[0]
print(json.dumps({'ids': toc.child_element_ids, 'flags': int(toc.flags), 'chapters': [
    [c.start_time, c.end_time, str(c.sub_frames['TIT2']), c.sub_frames.getall('WXXX')[0].url,
     c.sub_frames.getall('WXXX')[0].desc, c.sub_frames.getall('APIC')[0].mime]
    for c in (tag['CHAP:' + i] for i in toc.child_element_ids)]}))
)";

TEST(OtherPrograms, MutagenReadsTheChaptersThatWeBuild) {
  NEED_MUTAGEN();
  const TagFile file(chaptered() + silent_mp3(100));
  const json shown = json::parse(python(kMutagenChapters, file.path()));
  EXPECT_EQ(shown["ids"], (json{"ch0", "ch1"}));
  EXPECT_EQ(shown["flags"], 3);
  EXPECT_EQ(shown["chapters"][0], (json{0, 1000, "Žába 0", "http://example.com/0", "Žába 0", "image/jpeg"}));
  EXPECT_EQ(shown["chapters"][1], (json{1000, 2000, "Žába 1", "http://example.com/1", "Žába 1", "image/jpeg"}));
}

TEST(OtherPrograms, FfprobeReadsTheChaptersThatWeBuild) {
  NEED_PROGRAM("ffprobe");
  const TagFile file(chaptered() + silent_mp3(100));
  const json shown = json::parse(output_of("ffprobe -v error -show_chapters -of json " + quoted(file.path())));
  ASSERT_EQ(shown["chapters"].size(), 2u);
  EXPECT_EQ(shown["chapters"][1]["tags"]["title"], "Žába 1");
  EXPECT_EQ(shown["chapters"][1]["start_time"], "1.000000");
  EXPECT_EQ(shown["chapters"][1]["end_time"], "2.000000");
}

constexpr const char *kMutagenWrite = R"(
import sys
from mutagen.id3 import (ID3, APIC, CHAP, COMM, CTOC, PCST, TALB, TBPM, TCMP, TCOM, TCON, TDRC, TENC, TIT1, TIT2, TPE1,
                         TPE2, TPOS, TRCK, TSSE, TYER, USLT)
path, version, encoding = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
tag = ID3()
text = lambda frame, value: tag.add(frame(encoding=encoding, text=[value]))
for frame, value in ((TIT2, 'Title'), (TPE1, 'Artist'), (TALB, 'Album'), (TPE2, 'Sidekick'), (TCON, '(17)'),
                     (TIT1, 'Grouping'), (TCOM, 'Composer'), (TENC, 'Encoder'), (TSSE, 'EncoderSettings'),
                     (TBPM, '120'), (TRCK, '3/12'), (TPOS, '1/2'), (TCMP, '1')):
    text(frame, value)
tag.add(TDRC(encoding=encoding, text=['1999-05-06']) if version == 4 else TYER(encoding=encoding, text=['1999']))
tag.add(COMM(encoding=encoding, lang='eng', desc='', text=['A comment']))
tag.add(USLT(encoding=encoding, lang='eng', desc='d', text='Some lyrics'))
tag.add(PCST(value=0))
tag.add(APIC(encoding=encoding, mime='image/jpeg', type=0, desc='d0', data=b'a' * 50))
tag.add(APIC(encoding=encoding, mime='image/jpeg', type=3, desc='d3', data=b'b' * 50))
titled = lambda i: [TIT2(encoding=encoding, text=['Chapter %d' % i])]
tag.add(CTOC(element_id='toc', flags=3, child_element_ids=['a', 'b'], sub_frames=[]))
for i, name in enumerate('ab'):
    tag.add(CHAP(element_id=name, start_time=i * 1000, end_time=i * 1000 + 500, sub_frames=titled(i)))
tag.save(path, v2_version=version, v1=2)
)";

TEST(OtherPrograms, WeReadWhatMutagenWritesInEveryVersionAndEncoding) {
  NEED_MUTAGEN();
  const std::pair<int, int> kinds[] = {{3, 0}, {3, 1}, {4, 0}, {4, 1}, {4, 2}, {4, 3}};
  for (const auto &[version, encoding] : kinds) {
    const TagFile file(silent_mp3(10));
    output_of(kPython + std::string(" -c ") + quoted(kMutagenWrite) + " " + quoted(file.path()) + " " +
              std::to_string(version) + " " + std::to_string(encoding));
    const auto tag = file.read();
    EXPECT_EQ(tag.error, 0);
    for (const char *key :
         {"Title", "Artist", "Album", "Sidekick", "Grouping", "Composer", "Encoder", "EncoderSettings"}) {
      EXPECT_EQ(tag[key], key) << version << " " << encoding;
    }
    const std::pair<const char *, std::string> values[] = {
        {"Genre", "Rock"},         {"Year", "1999"},        {"BPM", "120"},
        {"TrackNum", "3"},         {"TrackTotal", "12"},    {"DiscNum", "1"},
        {"DiscTotal", "2"},        {"Compilation", "true"}, {"Comment", "A comment"},
        {"Lyrics", "Some lyrics"}, {"ID3Podcast", "true"},  {"AlbumCover", std::string(50, 'b')}};
    for (const auto &[key, value] : values) EXPECT_EQ(tag[key], value) << key << " " << version << " " << encoding;
    const auto chapters = file.chapters();
    EXPECT_EQ(chapters.error, 0);
    const audict *table = audict_get(chapters.dict.get(), "Autag2ChapterTOCTrack");
    EXPECT_STREQ(audict_get_string(audict_at(table, 1), "Autag2ChapterElementTitle"), "Chapter 1");
  }
}

TEST(OtherPrograms, WeReadWhatLameWrites) {
  NEED_PROGRAM("ffmpeg");
  NEED_PROGRAM("lame");
  const TempDir folder;
  const std::string path = folder.file("tone.mp3");
  const struct {
    const char *options, *comment;
  } rows[] = {{"--add-id3v2", "A comment"}, {"--id3v1-only", "A comment"}, {"--id3v2-utf16", "A comment"}};
  for (const auto &row : rows) {
    output_of(
        "ffmpeg -v error -f lavfi -i sine=duration=1 -f wav - | lame --quiet --tt Title --ta Artist --tl Album "
        "--ty 1999 --tn 3 --tg Rock --tc 'A comment' " +
        std::string(row.options) + " - " + quoted(path));
    const TagFile file(read_file(path));
    const auto tag = file.read();
    EXPECT_EQ(tag["Title"], "Title") << row.options;
    EXPECT_EQ(tag["Artist"], "Artist") << row.options;
    EXPECT_EQ(tag["Album"], "Album") << row.options;
    EXPECT_EQ(tag["Year"], "1999") << row.options;
    EXPECT_EQ(tag["TrackNum"], "3") << row.options;
    EXPECT_EQ(tag["Comment"], row.comment) << row.options;
  }
}

TEST(OtherPrograms, WeReadWhatFfmpegAndId3v2Write) {
  NEED_PROGRAM("ffmpeg");
  for (const char *version : {"3", "4"}) {
    const auto tag = read_tag(encoded(
        "-metadata title=Žlutý -metadata artist=Artist -metadata date=1999 -metadata track=3/12 -id3v2_version " +
        std::string(version)));
    EXPECT_EQ(tag["Title"], "Žlutý") << version;
    EXPECT_EQ(tag["Artist"], "Artist") << version;
    EXPECT_EQ(tag["Year"], "1999") << version;
    EXPECT_EQ(tag["TrackTotal"], "12") << version;
  }
  NEED_PROGRAM("id3v2");
  const TagFile file(encoded("-id3v2_version 3"));
  output_of("id3v2 -t Title -A Album -g 17 -T 3/12 -c note:text:eng " + quoted(file.path()));
  const auto tag = file.read();
  EXPECT_EQ(tag["Title"], "Title");
  EXPECT_EQ(tag["Album"], "Album");
  EXPECT_EQ(tag["Genre"], "Rock");
  EXPECT_EQ(tag["TrackTotal"], "12");
}

// A tag of random texts, mostly short, and now and then a cover.
Ref random_tag(std::mt19937 &random) {
  Ref tag = make_dictionary();
  for (const char *key : {"Title", "Artist", "Comment", "Lyrics"}) {
    if (random() % 3 == 0) continue;
    set(*tag, key,
        make_string(std::string(4 + random() % (random() % 4 == 0 ? 2000 : 40), 'x') + (random() % 2 ? "Ž" : "y")));
  }
  if (random() % 3 == 0) set(*tag, "AlbumCover", make_data(tags::Bytes(20 + random() % 60000, 'c')));
  return tag;
}

std::string audio_of(const std::string &file) {
  if (!file.starts_with("ID3")) return file;
  std::size_t size = 0;
  for (const char digit : file.substr(6, 4)) size = size << 7 | static_cast<std::uint8_t>(digit);
  return file.substr(10 + size);
}

TEST(OtherPrograms, AThousandRandomRewritesOfFreshCopiesKeepTheAudio) {
  NEED_PROGRAM("ffmpeg");
  const std::string tagged = encoded("-id3v2_version 3 -metadata title=Title");
  const std::string both = encoded("-id3v2_version 4 -write_id3v1 1 -metadata title=Title");
  const std::string audio = audio_of(tagged);
  ASSERT_EQ(audio_of(both), audio + both.substr(both.size() - 128));
  const TagFile original(tagged);
  const std::string hash = decoded_hash(original.path());
  std::mt19937 random(1);
  for (int i = 0; i < 1000; ++i) {
    const TagFile file(random() % 2 ? tagged : both);
    const Ref tag = random_tag(random);
    ASSERT_EQ(file.write(tag.get()), 0);
    ASSERT_TRUE(audio_of(file.bytes()) == audio) << i;
    const auto read = file.read();
    for (std::size_t k = 0; k < audict_count(tag.get()); ++k) {
      const char *key = audict_key_at(tag.get(), k);
      ASSERT_TRUE(read[key] == shown(audict_at(tag.get(), k))) << key << " " << i;
    }
    if (i % 250 == 0) {
      EXPECT_EQ(decoded_hash(file.path()), hash);
    }
  }
}

TEST(OtherPrograms, AFileWithoutATagKeepsAllButTheStartOfItsFirstFrame) {
  NEED_PROGRAM("ffmpeg");
  const std::string bare = encoded("-id3v2_version 0 -write_xing 0");
  ASSERT_FALSE(bare.starts_with("ID3"));
  const TagFile before(bare), after(bare);
  ASSERT_EQ(after.write(full_tag("").get()), 0);
  EXPECT_TRUE(audio_of(after.bytes()) == bare.substr(10) + std::string(10, '\0'));
  const auto decoded_bytes = [](const TagFile &file) {
    return output_of("ffmpeg -v error -i " + quoted(file.path()) + " -map 0:a -f s16le -").size();
  };
  const std::size_t frame = 1152 * 2;
  EXPECT_GE(decoded_bytes(after) + frame, decoded_bytes(before));
}

}  // namespace
}  // namespace auspool::tags
