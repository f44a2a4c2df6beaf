#include "tags/m4a/item.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "auspool/autag2.h"
#include "base/byte_order.h"
#include "base/utf8.h"
#include "tags/leading_integer.h"
#include "tags/m4a/find_atom.h"

namespace auspool::tags {
namespace {

std::optional<ItemData> find_data(platform::File &file, std::uint64_t position, std::uint64_t length) {
  std::uint32_t size = 0;
  if (seek_to_subatom(file, position, length, four_cc("data"), size) != 0 || size < kDataHeaderBytes) return {};
  std::array<std::uint8_t, kDataHeaderBytes> header;
  if (file.read(position, header) != 0) return {};
  return ItemData{load_be<std::uint32_t>(&header[8]), position + kDataHeaderBytes, size - kDataHeaderBytes};
}

// The first bytes of a payload, as many as are there.
template <std::size_t kBytes>
struct Start {
  std::array<std::uint8_t, kBytes> bytes = {};
  std::size_t count = 0;

  std::int16_t number(std::size_t at) const { return load_be<std::int16_t>(&bytes[at]); }
};

template <std::size_t kBytes>
Start<kBytes> read_start(platform::File &file, const Item &item) {
  Start<kBytes> start;
  const auto data = find_data(file, item);
  if (!data) return start;
  const std::size_t wanted = std::min<std::size_t>(kBytes, data->size);
  if (file.read_some(data->payload, std::span(start.bytes).first(wanted), start.count) != 0) start.count = 0;
  return start;
}

void read_text(audict &tag, platform::File &file, const Item &item, const char *key) {
  auto text = get_string_from_data_subatom(file, item.offset + kAtomHeaderBytes, item.size - kAtomHeaderBytes);
  if (text) add(tag, key, make_string(std::move(*text)));
}

std::size_t characters_in(std::string_view utf8) {
  return static_cast<std::size_t>(std::count_if(utf8.begin(), utf8.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

// The bytes of the first so many characters.
std::size_t bytes_of_characters(std::string_view utf8, std::size_t count) {
  std::size_t bytes = 0;
  while (count-- > 0) bytes += utf8_sequence_length(utf8.substr(bytes));
  return bytes;
}

// The year may be at either end of a date.
void read_year(audict &tag, platform::File &file, const Item &item, const char *key) {
  constexpr std::size_t kDigits = 4;
  const auto text = get_string_from_data_subatom(file, item.offset + kAtomHeaderBytes, item.size - kAtomHeaderBytes);
  if (!text) return;
  const std::string_view date = *text;
  const std::size_t characters = characters_in(date);
  std::int32_t year = leading_integer(date);
  if (characters > kDigits) {
    year = std::max(leading_integer(date.substr(0, bytes_of_characters(date, kDigits))),
                    leading_integer(date.substr(bytes_of_characters(date, characters - kDigits))));
  }
  if (year > 0) add(tag, key, make_integer(year, AUDICT_INT32));
}

void read_genre_number(audict &tag, platform::File &file, const Item &item, const char *key) {
  const auto start = read_start<2>(file, item);
  if (start.count < 2) return;
  const Ref genre(autag2_copy_genre_for_index(load_be<std::uint16_t>(start.bytes.data()) - 1));
  const char *name = audict_string(genre.get());
  if (name != nullptr) add(tag, key, make_string(name));
}

void read_cover(audict &tag, platform::File &file, const Item &item, const char *key) {
  const auto data = find_data(file, item);
  if (!data || data->size == 0) return;
  if (auto picture = read_payload(file, *data)) add(tag, key, make_data(std::move(*picture)));
}

void read_flag(audict &tag, platform::File &file, const Item &item, const char *key) {
  const auto start = read_start<1>(file, item);
  if (start.count == 1 && start.bytes[0] != 0 && start.bytes[0] != '0') add(tag, key, make_boolean(true));
}

void read_tempo(audict &tag, platform::File &file, const Item &item, const char *key) {
  const auto start = read_start<2>(file, item);
  if (start.count == 2 && start.number(0) > 0) add(tag, key, make_integer(start.number(0), AUDICT_INT16));
}

void read_media_kind(audict &tag, platform::File &file, const Item &item, const char *key) {
  const auto start = read_start<1>(file, item);
  const auto kind = static_cast<std::int8_t>(start.bytes[0]);
  if (start.count == 1 && kind > 0) add(tag, key, make_integer(kind, AUDICT_INT8));
}

//  0 zero   2 number   4 total
void read_position(audict &tag, platform::File &file, const Item &item, const char *key, const char *total_key) {
  const auto start = read_start<6>(file, item);
  if (start.count < 4) return;
  const std::int16_t number = std::max<std::int16_t>(start.number(2), 0), total = start.number(4);
  if (number > 0) add(tag, key, make_integer(number, AUDICT_INT16));
  if (start.count == 6 && total != 0 && total >= number) add(tag, total_key, make_integer(total, AUDICT_INT16));
}

void read_track(audict &tag, platform::File &file, const Item &item, const char *key) {
  read_position(tag, file, item, key, "TrackTotal");
}
void read_disc(audict &tag, platform::File &file, const Item &item, const char *key) {
  read_position(tag, file, item, key, "DiscTotal");
}
void read_freeform(audict &tag, platform::File &file, const Item &item, const char *) {
  read_gapless(tag, file, item);
}

struct Rule {
  std::uint32_t name;
  const char *key;
  void (*read)(audict &tag, platform::File &file, const Item &item, const char *key);
};
constexpr Rule kRules[] = {
    {kYearItem, "Year", read_year},          {kGenreNumberItem, "Genre", read_genre_number},
    {kCoverItem, "AlbumCover", read_cover},  {kCompilationItem, "Compilation", read_flag},
    {kTempoItem, "BPM", read_tempo},         {kMediaKindItem, "iTunesStik", read_media_kind},
    {kTrackItem, "TrackNum", read_track},    {kDiscItem, "DiscNum", read_disc},
    {kFreeformItem, nullptr, read_freeform},
};

}  // namespace

std::optional<ItemData> find_data(platform::File &file, const Item &item) {
  return find_data(file, item.offset + kAtomHeaderBytes, item.size - kAtomHeaderBytes);
}

std::optional<Bytes> read_payload(platform::File &file, const ItemData &data) {
  Bytes bytes;
  if (file.read(data.payload, data.size, bytes) != 0) return std::nullopt;
  return bytes;
}

std::optional<std::string> get_string_from_data_subatom(platform::File &file, std::uint64_t position,
                                                        std::uint32_t length) {
  const auto data = find_data(file, position, length);
  if (!data || data->type != kTypeUtf8) return std::nullopt;
  const auto bytes = read_payload(file, *data);
  if (!bytes) return std::nullopt;
  std::string text(bytes->begin(), std::find(bytes->begin(), bytes->end(), 0));
  return valid_utf8(text) ? std::optional(std::move(text)) : std::nullopt;
}

void read_item(audict &tag, platform::File &file, const Item &item) {
  for (const TextItem &text : kTextItems) {
    if (text.name == item.name) return read_text(tag, file, item, text.key);
  }
  for (const Rule &rule : kRules) {
    if (rule.name == item.name) return rule.read(tag, file, item, rule.key);
  }
}

}  // namespace auspool::tags
