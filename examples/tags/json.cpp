#include "tags/json.h"

extern "C" {
#include <libavutil/mem.h>
#include <libavutil/sha.h>
}

#include <array>
#include <filesystem>
#include <string_view>

namespace example {
namespace {

std::string hex(const uint8_t *bytes, std::size_t length) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  for (std::size_t i = 0; i < length; ++i) {
    text += digits[bytes[i] >> 4];
    text += digits[bytes[i] & 15];
  }
  return text;
}

std::string sha256(const uint8_t *bytes, std::size_t length) {
  const std::unique_ptr<AVSHA, void (*)(void *)> state(av_sha_alloc(), av_free);
  std::array<uint8_t, 32> digest;
  av_sha_init(state.get(), 256);
  av_sha_update(state.get(), bytes, length);
  av_sha_final(state.get(), digest.data());
  return hex(digest.data(), digest.size());
}

Json data_to_json(const audict *data) {
  std::size_t length = 0;
  const auto *bytes = static_cast<const uint8_t *>(audict_data(data, &length));
  return {{"sha256", sha256(bytes, length)}, {"length", length}};
}

// A name or value of a blob: text where it is text and short.
Json part_to_json(const audict *data) {
  constexpr std::size_t longest = 200;
  std::size_t length = 0;
  const auto *bytes = static_cast<const uint8_t *>(audict_data(data, &length));
  if (length > longest) return data_to_json(data);
  const std::string text(bytes, bytes + length);
  const bool whole = text.find('\0') == std::string::npos;
  const Value string(audict_create_string(text.c_str()));  // refuses what is not UTF-8
  return whole && string ? Json(text) : Json{{"hex", hex(bytes, length)}};
}

Json blobs_to_json(const audict *blobs) {
  Json result = Json::array();
  for (std::size_t i = 0; i < audict_count(blobs); ++i) {
    const audict *blob = audict_at(blobs, i);
    result.push_back(Json::array({part_to_json(audict_at(blob, 0)), part_to_json(audict_at(blob, 1))}));
  }
  return result;
}

Json number_to_json(const audict *number) {
  int64_t integer = 0;
  double real = 0;
  audict_float(number, &real);
  if (audict_number_type_of(number) >= AUDICT_FLOAT32) return real;
  audict_integer(number, &integer);
  return integer;
}

Json array_to_json(const audict *array) {
  Json result = Json::array();
  for (std::size_t i = 0; i < audict_count(array); ++i) result.push_back(to_json(audict_at(array, i)));
  return result;
}

Json dictionary_to_json(const audict *dictionary) {
  Json result = Json::object();
  for (std::size_t i = 0; i < audict_count(dictionary); ++i) {
    const std::string key = audict_key_at(dictionary, i);
    const audict *value = audict_at(dictionary, i);
    result[key] = key == "BinaryBlobs" ? blobs_to_json(value) : to_json(value);
  }
  return result;
}

void set_from_json(audict *element, const std::string &key, const Json &value, const std::string &folder) {
  if (value.is_number()) {
    audict_set_float(element, key.c_str(), value.get<double>(), AUDICT_FLOAT64);
  } else if (key == "Autag2ChapterElementImage") {
    const auto path = std::filesystem::path(folder) / value.get<std::string>();
    const std::string bytes = read_whole_file(path.string());
    audict_set_data(element, key.c_str(), bytes.data(), bytes.size());
  } else {
    audict_set_string(element, key.c_str(), value.get<std::string>().c_str());
  }
}

}  // namespace

Json to_json(const audict *value) {
  bool truth = false;
  switch (audict_kind_of(value)) {
  case AUDICT_STRING:
    return audict_string(value);
  case AUDICT_NUMBER:
    return number_to_json(value);
  case AUDICT_BOOLEAN:
    audict_boolean(value, &truth);
    return truth;
  case AUDICT_DATA:
    return data_to_json(value);
  case AUDICT_ARRAY:
    return array_to_json(value);
  case AUDICT_DICTIONARY:
    return dictionary_to_json(value);
  case AUDICT_NONE:
    break;
  }
  return nullptr;
}

Json code_to_json(int32_t code) {
  return code > 0x01000000 ? Json(code_text(code)) : Json(code);
}

Value chapters_from_json(const Json &json, const std::string &folder) {
  Value chapters(audict_create());
  for (const auto &[track, elements] : json.items()) {
    Value array(audict_create_array());
    for (const Json &from : elements) {
      Value element(audict_create());
      for (const auto &[key, value] : from.items()) set_from_json(element.get(), key, value, folder);
      audict_append(array.get(), element.get());
    }
    audict_set(chapters.get(), track.c_str(), array.get());
  }
  return chapters;
}

}  // namespace example
