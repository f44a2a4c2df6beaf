#include "common/change.h"

#include <algorithm>
#include <limits>

namespace example {
namespace {

// The keys that a command line can set, and what their values are.
struct Key {
  const char *name;
  audict_kind kind;
  audict_number_type type = AUDICT_NO_NUMBER;
};
constexpr Key kKeys[] = {
    {"Title", AUDICT_STRING},
    {"Artist", AUDICT_STRING},
    {"Album", AUDICT_STRING},
    {"Sidekick", AUDICT_STRING},
    {"Comment", AUDICT_STRING},
    {"Genre", AUDICT_STRING},
    {"Grouping", AUDICT_STRING},
    {"Composer", AUDICT_STRING},
    {"Lyrics", AUDICT_STRING},
    {"Encoder", AUDICT_STRING},
    {"EncoderSettings", AUDICT_STRING},
    {"Year", AUDICT_NUMBER, AUDICT_INT32},
    {"BPM", AUDICT_NUMBER, AUDICT_INT32},
    {"TrackNum", AUDICT_NUMBER, AUDICT_INT32},
    {"TrackTotal", AUDICT_NUMBER, AUDICT_INT32},
    {"DiscNum", AUDICT_NUMBER, AUDICT_INT32},
    {"DiscTotal", AUDICT_NUMBER, AUDICT_INT32},
    {"TrackLength", AUDICT_NUMBER, AUDICT_INT32},
    {"iTunesStik", AUDICT_NUMBER, AUDICT_INT8},
    {"Compilation", AUDICT_BOOLEAN},
    {"ID3Podcast", AUDICT_BOOLEAN},
};

// FLAC has a number where the other formats have a truth.
Value boolean_from(const std::string &text) {
  if (text == "0" || text == "1") return Value(audict_create_integer(text == "1", AUDICT_INT32));
  if (text != "true" && text != "false") throw UsageError("true or false is wanted, for FLAC 1 or 0");
  return Value(audict_create_boolean(text == "true"));
}

Value value_from(const Key &key, const std::string &text) {
  switch (key.kind) {
  case AUDICT_STRING:
    return Value(audict_create_string(text.c_str()));
  case AUDICT_BOOLEAN:
    return boolean_from(text);
  default: {
    const double limit = key.type == AUDICT_INT8 ? 127 : std::numeric_limits<int32_t>::max();
    return Value(audict_create_integer(static_cast<int64_t>(number(text, -limit, limit)), key.type));
  }
  }
}

void set(audict *tag, const std::string &setting) try {
  const std::size_t equals = setting.find('=');
  if (equals == std::string::npos) throw UsageError("KEY=VALUE is wanted");
  const std::string name = setting.substr(0, equals);
  const auto *key =
      std::find_if(std::begin(kKeys), std::end(kKeys), [&name](const Key &it) { return it.name == name; });
  if (key == std::end(kKeys)) throw UsageError("there is no such key");
  if (!audict_set(tag, key->name, value_from(*key, setting.substr(equals + 1)).get())) {
    throw UsageError("the value is not UTF-8");
  }
} catch (const UsageError &error) {
  throw UsageError(setting + ": " + error.what());
}

}  // namespace

std::vector<Option> Changes::options() {
  return {flag("clear", clear), text_option("cover", cover), {"remove", true, [this](const std::string &key) {
                                                                removals.push_back(key);
                                                              }}};
}

void Changes::apply(audict *tag) const {
  while (clear && audict_count(tag) != 0) audict_remove(tag, audict_key_at(tag, 0));
  for (const std::string &key : removals) audict_remove(tag, key.c_str());
  for (const std::string &setting : settings) set(tag, setting);
  if (cover.empty()) return;
  const std::string image = read_whole_file(cover);
  audict_set_data(tag, "AlbumCover", image.data(), image.size());
}

}  // namespace example
