#include "tags/m4a/chapter_track_read.h"

#include <array>

#include "auspool/autag2.h"
#include "base/byte_order.h"
#include "base/four_cc.h"
#include "tags/chapter_keys.h"
#include "tags/m4a/chapter_text.h"
#include "tags/m4a/find_atom.h"
#include "tags/m4a/sample_table.h"

namespace auspool::tags {
namespace {

// What a track's samples are read with.
struct Reading {
  platform::File &file;
  Allowance &allowance;
  ChapterTrack &track;
  std::uint32_t time_scale;
  std::uint64_t time = 0;
};

Ref make_element(const Reading &reading, std::uint32_t duration) {
  const auto seconds = [&](std::uint64_t units) {
    return static_cast<double>(units) / static_cast<double>(reading.time_scale);
  };
  Ref element = make_dictionary();
  set(*element, kElementStart, make_float(seconds(reading.time)));
  set(*element, kElementDuration, make_float(seconds(duration)));
  return element;
}

std::int32_t add_text(Reading &reading, const Sample &sample, audict &element) {
  Bytes bytes;
  if (const std::int32_t error = reading.file.read(sample.offset, sample.size, bytes)) return error;
  auto text = parse_chapter_text(bytes, sample.format == four_cc("tx3g"));
  if (!text) return AUTAG2_EPRS;
  set(element, kElementTitle, make_string(std::move(text->title)));
  if (!text->link) return 0;
  set(element, kElementUrl, make_string(std::move(*text->link)));
  reading.track.kind = TrackKind::link;
  return 0;
}

std::int32_t add_image(Reading &reading, const Sample &sample, audict &element) {
  Bytes bytes;
  if (const std::int32_t error = reading.file.read(sample.offset, sample.size, bytes)) return error;
  set(element, kElementImage, make_data(std::move(bytes)));
  return 0;
}

bool is_readable(std::uint32_t format, TrackKind kind) {
  return kind == TrackKind::image ? format == four_cc("jpeg") || format == four_cc("png ")
                                  : format == four_cc("text") || format == four_cc("tx3g");
}

// Samples that last no time to speak of fill gaps, and are no chapters.
std::int32_t read_samples(Reading &reading, SampleTable &table) {
  constexpr std::uint32_t kLeastDuration = 2;
  constexpr std::uint64_t kRowBytes = 12;  // of the tables, for a sample of its own time and size
  Sample sample;
  std::int32_t error = 0;
  for (; table.next(sample, error); reading.time += sample.duration) {
    if (!reading.allowance.take(sample.size)) return AUTAG2_EPRS;
    if (sample.duration < kLeastDuration) continue;
    if (!is_readable(sample.format, reading.track.kind)) break;
    if (!reading.allowance.take(kRowBytes)) return AUTAG2_EPRS;
    Ref element = make_element(reading, sample.duration);
    const auto add_content = reading.track.kind == TrackKind::image ? add_image : add_text;
    if ((error = add_content(reading, sample, *element)) != 0) break;
    append(*reading.track.elements, std::move(element));
  }
  return error;
}

// The word at an offset of an atom below the track.
std::int32_t read_word(platform::File &file, std::uint64_t track, const char *path, std::uint64_t at,
                       std::uint32_t &word) {
  std::uint64_t atom = 0;
  if (!find_atom(file, track, path, atom)) return AUTAG2_EPRS;
  std::array<std::uint8_t, 4> bytes = {};
  const std::int32_t error = file.read(atom + at, bytes);
  word = load_be<std::uint32_t>(bytes.data());
  return error;
}

}  // namespace

std::int32_t read_word_behind_times(platform::File &file, std::uint64_t start, const char *path, std::uint64_t at,
                                    std::uint32_t &word) {
  constexpr std::uint64_t kVersion = 8, kLongerTimes = 8;
  if (const std::int32_t error = read_word(file, start, path, kVersion, word)) return error;
  return read_word(file, start, path, at + (word >> 24 == 1 ? kLongerTimes : 0), word);
}

std::int32_t load_chapter_track(platform::File &file, std::uint64_t track, Allowance &allowance, ChapterTrack &loaded) {
  constexpr std::uint64_t kTimeScale = 20, kSubtype = 16;
  std::uint32_t time_scale = 0, type = 0;
  if (const std::int32_t error = read_word_behind_times(file, track, "trak.mdia.mdhd", kTimeScale, time_scale))
    return error;
  if (const std::int32_t error = read_word(file, track, "trak.mdia.hdlr", kSubtype, type)) return error;
  if (type != four_cc("vide") && type != four_cc("text")) return 0;
  if (time_scale == 0) return AUTAG2_EPRS;
  SampleTable table;
  if (const std::int32_t error = table.load(file, track)) return error;
  loaded.kind = type == four_cc("vide") ? TrackKind::image : TrackKind::contents;
  loaded.elements = make_array();
  Reading reading{file, allowance, loaded, time_scale};
  return read_samples(reading, table);
}

}  // namespace auspool::tags
