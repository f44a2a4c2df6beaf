#include "tags/m4a/chapter_track.h"

#include <cmath>

#include "base/four_cc.h"
#include "base/mpeg4_time.h"
#include "tags/chapter_keys.h"
#include "tags/m4a/find_atom.h"
#include "tags/m4a/words.h"

namespace auspool::tags {
namespace {

constexpr std::uint32_t kUnity = 0x00010000, kUnityOfW = 0x40000000;

struct Row {
  std::uint32_t size, duration;  // bytes, milliseconds
};

struct Samples {
  std::vector<Row> rows;
  std::size_t offset = 0;      // of the first, in the mdat's content
  std::uint32_t duration = 0;  // of all, milliseconds
};

// What the record says of the track.
struct Head {
  TrackKind kind;
  PictureSize size;
  std::uint32_t id;
  std::uint32_t duration;  // milliseconds
  std::uint32_t now;
};

// Start and duration as whole milliseconds; nothing where one is missing, or has no place in 32 bits.
std::optional<std::int64_t> milliseconds(const audict &element, const char *key) {
  double seconds = 0;
  if (!audict_get_float(&element, key, &seconds)) return std::nullopt;
  const double whole = std::trunc(seconds * 1000.0);
  if (!(std::fabs(whole) <= 2147483647.0)) return std::nullopt;
  return static_cast<std::int64_t>(whole);
}

// False for a track that stops.
bool add_sample(Samples &samples, Bytes &mdat, const audict *element, const SampleFunction &sample) {
  if (element == nullptr) return false;
  const auto start = milliseconds(*element, kElementStart);
  const auto duration = milliseconds(*element, kElementDuration);
  if (!start || !duration) return false;
  const std::int64_t end = *start + *duration, with_gap = end - samples.duration;
  if (with_gap < 0) return false;
  const auto bytes = sample(*element);
  if (!bytes) return false;
  mdat.insert(mdat.end(), bytes->begin(), bytes->end());
  samples.rows.push_back({static_cast<std::uint32_t>(bytes->size()), static_cast<std::uint32_t>(with_gap)});
  samples.duration = static_cast<std::uint32_t>(end);
  return true;
}

std::optional<Samples> add_samples(Bytes &mdat, const audict *elements, const SampleFunction &sample) {
  Samples samples;
  samples.offset = mdat.size();
  const std::size_t count = audict_count(elements);
  for (std::size_t i = 0; i < count; ++i) {
    if (!add_sample(samples, mdat, audict_at(elements, i), sample)) return std::nullopt;
  }
  if (count == 0) return std::nullopt;
  return samples;
}

// The audio has id 1.
std::uint32_t next_track_id(const Bytes &traks) {
  constexpr std::uint32_t kMostTracks = 16;
  std::uint32_t offset = 0, count = 0;
  while (count < kMostTracks && find_atom_mem(traks, "trak-" + std::to_string(count), offset)) ++count;
  return count + 2;
}

void append_matrix(Bytes &to, bool is_zero) {
  if (is_zero) return append_words(to, {0, 0, 0, 0, 0, 0, 0, 0, 0});
  append_words(to, {kUnity, 0, 0, 0, kUnity, 0, 0, 0, kUnityOfW});
}

//   0 size   4 "trak"
//   8 92    12 "tkhd"   16 flags   20 times   28 id   36 duration   48 layer   56 matrix   92 width   96 height
// 100 24   104 "load"
void append_head(Bytes &to, const Head &head, std::size_t record_bytes) {
  constexpr std::uint32_t kSide = 160 << 16, kWholeTrack = 0xFFFFFFFF;
  const bool shown = head.kind != TrackKind::contents;
  const std::uint32_t layer = head.kind == TrackKind::image ? kUnity : 0, side = shown ? kSide : 0;
  append_words(to, {record_bytes, four_cc("trak"), 92, four_cc("tkhd"), shown, head.now, head.now, head.id, 0,
                    head.duration, 0, 0, layer, 0});
  append_matrix(to, !shown);
  append_words(to, {side, side, 24, four_cc("load"), 0, kWholeTrack, 1, 0});
}

// 124 size   128 "mdia"
// 132 32     136 "mdhd"   144 times   152 1000   156 duration
void append_media_header(Bytes &to, const Head &head, std::size_t bytes) {
  constexpr std::uint32_t kTimeScale = 1000;
  append_words(to, {bytes, four_cc("mdia"), 32, four_cc("mdhd"), 0, head.now, head.now, kTimeScale, 0, 0});
}

void append_data_reference(Bytes &to) {
  append_words(to, {36, four_cc("dinf"), 28, four_cc("dref"), 0, 1, 12, four_cc("url "), 1});
}

void append_bytes(Bytes &to, std::initializer_list<std::uint8_t> bytes) {
  to.insert(to.end(), bytes);
}

void append_text_record(Bytes &to, const Head &head) {
  append_head(to, head, 408);
  append_media_header(to, head, 284);
  append_words(to, {36, four_cc("hdlr"), 0, four_cc("mhlr"), four_cc("text"), four_cc("app2"), 1, 0x0001011D, 0});
  append_words(to, {208, four_cc("minf"), 76, four_cc("gmhd")});
  append_words(to, {24, four_cc("gmin"), 0, 0x00408000, 0x80008000, 0});
  append_words(to, {44, four_cc("text"), kUnity, 0, 0, 0, kUnity, 0, 0, 0, kUnityOfW});
  append_data_reference(to);
  append_words(to, {88, four_cc("stbl"), 80, four_cc("stsd"), 0, 1});
  // No display flags, centred at the bottom, style of font 1; a table of one font follows, its size from the last word
  // on.
  append_words(to, {64, four_cc("tx3g"), 0, 1, 0, 0x01FF0000, 0, 0, 0, 1, 0, 0x00FF0000});
  append_bytes(to, {0, 18, 'f', 't', 'a', 'b', 0, 1, 0, 1, 5, 'S', 'e', 'r', 'i', 'f'});
}

void append_image_record(Bytes &to, const Head &head) {
  constexpr std::uint32_t kResolution = 72 << 16;  // dots an inch
  append_head(to, head, 384);
  append_media_header(to, head, 260);
  append_words(to,
               {36, four_cc("hdlr"), 0, four_cc("mhlr"), four_cc("vide"), four_cc("appl"), 0x10000000, 0x0001011B, 0});
  append_words(to, {184, four_cc("minf"), 20, four_cc("vmhd"), 0, 0x00408000, 0x80008000});
  append_data_reference(to);
  append_words(to, {120, four_cc("stbl"), 112, four_cc("stsd"), 0, 1});
  append_words(to, {96, four_cc("jpeg"), 0, 1, 0, four_cc("appl"), 0, 0x00000200,
                    head.size.width << 16 | head.size.height, kResolution, kResolution, 0});
  append_bytes(to, {0, 1});  // frames of a sample
  append_bytes(to, {12, 'P', 'h', 'o', 't', 'o', ' ', '-', ' ', 'J', 'P', 'E', 'G'});
  to.resize(to.size() + 19);                // the rest of the compressor's name
  append_bytes(to, {0, 0x18, 0xFF, 0xFF});  // depth, and no table of colours
  append_bytes(to, {0, 0, 0, 10, 'f', 'i', 'e', 'l', 1, 0});
}

// Makes room in the sizes of a record at the end of `traks` for tables of so many bytes, and says how long the track
// is.
void fixup_trak_data(Bytes &traks, std::size_t record, std::size_t stbl, std::size_t tables, std::uint32_t duration) {
  constexpr std::size_t kMedia = 124, kMediaInformation = 200, kDuration = 156;
  for (const std::size_t at : {std::size_t{0}, kMedia, kMediaInformation, stbl}) {
    put_word(traks, record + at, load_be<std::uint32_t>(&traks[record + at]) + tables);
  }
  put_word(traks, record + kDuration, duration);
}
void fixup_text_trak_data(Bytes &traks, std::size_t record, std::size_t tables, std::uint32_t duration) {
  fixup_trak_data(traks, record, 320, tables, duration);
}
void fixup_image_trak_data(Bytes &traks, std::size_t record, std::size_t tables, std::uint32_t duration) {
  fixup_trak_data(traks, record, 264, tables, duration);
}

void append_tables(Bytes &to, const Samples &samples) {
  const std::size_t count = samples.rows.size();
  append_words(to, {16 + 8 * count, four_cc("stts"), 0, count});
  for (const Row &row : samples.rows) append_words(to, {1, row.duration});
  append_words(to, {20 + 4 * count, four_cc("stsz"), 0, 0, count});
  for (const Row &row : samples.rows) append_words(to, {row.size});
  append_words(to, {28, four_cc("stsc"), 0, 1, 1, count, 1});
  append_words(to, {20, four_cc("stco"), 0, 1, samples.offset});
}

}  // namespace

void create_track(Bytes &traks, Bytes &mdat, const audict *elements, TrackKind kind, PictureSize size,
                  const SampleFunction &sample) {
  const auto samples = add_samples(mdat, elements, sample);
  if (!samples) return;
  const Head head{kind, size, next_track_id(traks), samples->duration, mpeg4_seconds_now()};
  const std::size_t record = traks.size(), tables = 84 + 12 * samples->rows.size();
  if (kind == TrackKind::image) {
    append_image_record(traks, head);
    fixup_image_trak_data(traks, record, tables, samples->duration);
  } else {
    append_text_record(traks, head);
    fixup_text_trak_data(traks, record, tables, samples->duration);
  }
  append_tables(traks, *samples);
}

}  // namespace auspool::tags
