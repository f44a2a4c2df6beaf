// What other programs make of our tags in AIFF, WAVE and CAF files, and we of theirs. The files are made here.
#include "support/other_programs.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/chunk_file.h"
#include "support/pictures.h"
#include "support/tag_file.h"

namespace auspool::tags {
namespace {

using namespace auspool::testing;
using nlohmann::json;

// A tone as ffmpeg writes it, with its metadata.
std::string encoded(const std::string &extension, const std::string &options = "") {
  const TempDir folder;
  const std::string path = folder.file("tone." + extension);
  output_of("ffmpeg -v error -f lavfi -i sine=frequency=440:duration=0.5 " + options + " " + quoted(path));
  return read_file(path);
}

Ref full_tag(const std::string &suffix = " café") {
  Ref tag = make_dictionary();
  for (const char *key : {"Title", "Artist", "Comment", "Album", "Composer", "Encoder", "Lyrics"}) {
    set(*tag, key, make_string(key + suffix));
  }
  set(*tag, "Genre", make_string("Jazz"));
  for (const char *key : {"Year", "TrackNum", "BPM"}) set(*tag, key, make_integer(1952, AUDICT_INT32));
  set(*tag, "AlbumCover", make_data(jpeg_file(40, 30)));
  return tag;
}

json probed(const std::string &path) {
  const std::string shown = output_of("ffprobe -v error -show_format -show_streams -of json " + quoted(path));
  return json::parse(shown)["format"]["tags"];
}

TEST(OtherProgramsAndChunks, FfprobeReadsWhatWeWriteIntoAiffAndTheAudioStays) {
  NEED_PROGRAM("ffmpeg");
  for (const char *options : {"", "-metadata title=old -metadata comment=old -c:a pcm_s24be"}) {
    const TagFile file(encoded("aiff", options));
    const std::string audio = decoded_hash(file.path());
    ASSERT_EQ(file.write(full_tag().get()), 0);
    EXPECT_EQ(decoded_hash(file.path()), audio) << options;
    const json tags = probed(file.path());
    EXPECT_EQ(tags["title"], "Title café") << options;
    EXPECT_EQ(tags["artist"], "Artist café") << options;
    EXPECT_EQ(tags["album"], "Album café") << options;
    EXPECT_EQ(tags["track"], "1952") << options;
  }
}

// It takes the texts of the list as they are, and does not look at the ID3 chunk.
TEST(OtherProgramsAndChunks, FfprobeReadsWhatWeWriteIntoWaveAndTheAudioStays) {
  NEED_PROGRAM("ffmpeg");
  for (const char *options : {"", "-metadata title=old -metadata comment=old -c:a pcm_s24le"}) {
    const TagFile file(encoded("wav", options));
    const std::string audio = decoded_hash(file.path());
    ASSERT_EQ(file.write(full_tag(" coffee").get()), 0);
    EXPECT_EQ(decoded_hash(file.path()), audio) << options;
    const json tags = probed(file.path());
    EXPECT_EQ(tags["title"], "Title coffee") << options;
    EXPECT_EQ(tags["artist"], "Artist coffee") << options;
    EXPECT_EQ(tags["comment"], "Comment coffee") << options;
    EXPECT_EQ(tags["encoder"], "Encoder coffee") << options;
    EXPECT_EQ(tags["date"], "1952-00-00") << options;
  }
}

TEST(OtherProgramsAndChunks, FfprobeReadsTheTextChunksAlone) {
  NEED_PROGRAM("ffprobe");
  Ref tag = make_dictionary();
  set(*tag, "Title", make_string("Even"));
  set(*tag, "Artist", make_string("Odd"));
  set(*tag, "Year", make_integer(1952, AUDICT_INT32));
  const std::string wave = bytes_of(Ref(autag2_create(tag.get(), AUTAG2_WAVE)).get());
  const TagFile list(wave_file(wave.substr(0, wave.find("id3 ")) + wave_sound(100)));
  EXPECT_EQ(probed(list.path())["title"], "Even");
  EXPECT_EQ(probed(list.path())["artist"], "Odd");
  EXPECT_EQ(probed(list.path())["date"], "1952-00-00");
  const std::string aiff = bytes_of(Ref(autag2_create(tag.get(), AUTAG2_AIFF)).get());
  const TagFile texts(aiff_file(aiff.substr(0, aiff.find("ID3 ")) + aiff_sound(100)));
  EXPECT_EQ(probed(texts.path())["title"], "Even");
  EXPECT_EQ(probed(texts.path())["author"], "Odd");
}

TEST(OtherProgramsAndChunks, FfprobeReadsTheCafTagThatWeBuild) {
  NEED_PROGRAM("ffprobe");
  const std::string block = bytes_of(Ref(autag2_create(full_tag().get(), AUTAG2_CAF)).get());
  const std::string sound = caf_sound(100);
  const TagFile file(caf_file(sound.substr(0, 44) + block + sound.substr(44)));
  const json tags = probed(file.path());
  EXPECT_EQ(tags["title"], "Title café");
  EXPECT_EQ(tags["artist"], "Artist café");
  EXPECT_EQ(tags["genre"], "Jazz");
  EXPECT_EQ(tags["tempo"], "1952");
}

constexpr const char *kMutagenDump = R"(
import json, sys
from mutagen.aiff import AIFF
from mutagen.wave import WAVE
tag = (AIFF if open(sys.argv[1], 'rb').read(4) == b'FORM' else WAVE)(sys.argv[1]).tags
print(json.dumps({f.FrameID: len(f.data) if f.FrameID == 'APIC' else str(f) for f in tag.values()}))
)";

TEST(OtherProgramsAndChunks, MutagenReadsTheId3ChunkThatWeWrite) {
  NEED_PROGRAM("ffmpeg");
  NEED_MUTAGEN();
  for (const char *extension : {"aiff", "wav"}) {
    const TagFile file(encoded(extension));
    ASSERT_EQ(file.write(full_tag().get()), 0);
    const json shown = json::parse(python(kMutagenDump, file.path()));
    EXPECT_EQ(shown["TIT2"], "Title café") << extension;
    EXPECT_EQ(shown["TALB"], "Album café") << extension;
    EXPECT_EQ(shown["TCON"], "Jazz") << extension;
    EXPECT_EQ(shown["USLT"], "Lyrics café") << extension;
    EXPECT_EQ(shown["APIC"], jpeg_file(40, 30).size()) << extension;
  }
}

constexpr const char *kMutagenWrite = R"(
import sys
from mutagen.aiff import AIFF
from mutagen.wave import WAVE
from mutagen.id3 import APIC, TALB, TIT2, TRCK
file = (AIFF if open(sys.argv[1], 'rb').read(4) == b'FORM' else WAVE)(sys.argv[1])
if file.tags is None:
    file.add_tags()
file.tags.add(TIT2(encoding=3, text=['Žluťoučký']))
file.tags.add(TALB(encoding=1, text=['Album']))
file.tags.add(TRCK(encoding=0, text=['3/12']))
file.tags.add(APIC(encoding=0, mime='image/png', type=3, desc='', data=b'p' * 3001))
file.save()
)";

TEST(OtherProgramsAndChunks, WeReadWhatMutagenWrites) {
  NEED_PROGRAM("ffmpeg");
  NEED_MUTAGEN();
  for (const char *extension : {"aiff", "wav"}) {
    const TagFile file(encoded(extension, "-metadata title=old -metadata comment=Comment"));
    python(kMutagenWrite, file.path());
    const ReadResult tag = file.read();
    EXPECT_EQ(tag.error, 0) << extension;
    EXPECT_EQ(tag["Title"], "Žluťoučký") << extension;
    EXPECT_EQ(tag["Album"], "Album") << extension;
    EXPECT_EQ(tag["TrackTotal"], "12") << extension;
    EXPECT_EQ(tag["AlbumCover"], std::string(3001, 'p')) << extension;
    EXPECT_EQ(tag["Comment"], "Comment") << extension << ", from a text chunk";
  }
}

TEST(OtherProgramsAndChunks, WeReadWhatFfmpegWrites) {
  NEED_PROGRAM("ffmpeg");
  const std::string metadata =
      "-metadata title=Title -metadata artist=Artist -metadata comment=Comment -metadata date=1952-05 "
      "-metadata genre=Jazz ";
  const ReadResult wave = read_tag(encoded("wav", metadata));
  EXPECT_EQ(wave["Title"], "Title");
  EXPECT_EQ(wave["Artist"], "Artist");
  EXPECT_EQ(wave["Comment"], "Comment");
  EXPECT_EQ(wave["Year"], "1952");
  EXPECT_EQ(wave["Encoder"].substr(0, 4), "Lavf");
  const ReadResult aiff = read_tag(encoded("aiff", metadata));
  EXPECT_EQ(aiff["Title"], "Title");
  EXPECT_EQ(aiff["Comment"], "Comment");
  const ReadResult with_id3 = read_tag(encoded("aiff", metadata + "-write_id3v2 1"));
  EXPECT_EQ(with_id3["Artist"], "Artist");
  EXPECT_EQ(with_id3["Genre"], "Jazz");
  const ReadResult caf = read_tag(encoded("caf", metadata));
  EXPECT_EQ(caf["Title"], "Title");
  EXPECT_EQ(caf["Genre"], "Jazz");
  EXPECT_EQ(caf["Year"], "none") << "its key is another";
}

TEST(OtherProgramsAndChunks, FilesOfSoxAreRewrittenAndStillPlay) {
  NEED_PROGRAM("sox");
  NEED_PROGRAM("ffmpeg");
  const TempDir folder;
  for (const char *name : {"tone.wav", "tone.aiff", "tone.aifc"}) {
    const std::string path = folder.file(name);
    output_of("sox -n -r 8000 -b 16 --comment 'a comment' " + quoted(path) + " synth 0.5 sine 440");
    const std::string audio = decoded_hash(path);
    EXPECT_EQ(autag2_write(path.c_str(), full_tag(" coffee").get()), 0) << name;
    EXPECT_EQ(decoded_hash(path), audio) << name;
    EXPECT_EQ(probed(path)["title"], "Title coffee") << name;
    const std::string frames = output_of("soxi -s " + quoted(path));
    EXPECT_EQ(frames, "4000\n") << name;
  }
}

}  // namespace
}  // namespace auspool::tags
