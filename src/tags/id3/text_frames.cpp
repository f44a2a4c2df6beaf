#include "tags/id3/text_frames.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "auspool/autag2.h"
#include "tags/dict/node.h"
#include "tags/leading_integer.h"

namespace auspool::tags {
namespace {

void set_int32(audict &tag, const char *key, std::int32_t value) {
  set(tag, key, make_integer(value, AUDICT_INT32));
}

bool is_beyond_ascii(char c) {
  return (c & 0x80) != 0;
}

std::string ascii_alone(std::string_view text) {
  std::string ascii(text);
  std::erase_if(ascii, is_beyond_ascii);
  return ascii;
}

std::string ascii_with_spaces(std::string_view text) {
  std::string ascii(text);
  std::replace_if(ascii.begin(), ascii.end(), is_beyond_ascii, ' ');
  return ascii;
}

// A total below the position is no total.
void set_position(audict &tag, const char *position_key, const char *total_key, std::string_view text) {
  const std::string ascii = ascii_with_spaces(text);
  const std::int32_t position = leading_integer(ascii);
  if (position <= 0) return;
  set_int32(tag, position_key, position);
  const std::size_t slash = ascii.find('/');
  if (slash == std::string::npos) return;
  const std::int32_t total = leading_integer(std::string_view(ascii).substr(slash + 1));
  if (total >= position) set_int32(tag, total_key, total);
}

// "(17)", "(17)Rock"
Ref genre_of_reference(std::string_view text) {
  const std::string ascii = ascii_alone(text);
  if (!ascii.starts_with('(')) return nullptr;
  return Ref(autag2_copy_genre_for_index(leading_integer(std::string_view(ascii).substr(1))));
}

}  // namespace

void set_text(audict &tag, const char *key, std::string text) {
  set(tag, key, make_string(std::move(text)));
}

void set_genre(audict &tag, const char *key, std::string text) {
  Ref name = genre_of_reference(text);
  set(tag, key, name ? std::move(name) : make_string(std::move(text)));
}

void set_number(audict &tag, const char *key, std::string text) {
  const std::int32_t number = leading_integer(text);
  if (number > 0) set_int32(tag, key, number);
}

void set_flag(audict &tag, const char *key, std::string text) {
  if (leading_integer(text) > 0) set(tag, key, make_boolean(true));
}

void set_track(audict &tag, const char *, std::string text) {
  set_position(tag, "TrackNum", "TrackTotal", text);
}

void set_disc(audict &tag, const char *, std::string text) {
  set_position(tag, "DiscNum", "DiscTotal", text);
}

}  // namespace auspool::tags
