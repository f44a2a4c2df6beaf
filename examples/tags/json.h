// Dictionaries as JSON and back.
#pragma once

#include <nlohmann/json.hpp>

#include "common/value.h"

namespace example {

using Json = nlohmann::ordered_json;

// Null for null. Data shows as its SHA-256 and length; an entry of "BinaryBlobs" as its name and value, texts where
// they are texts.
Json to_json(const audict *value);
// 0, an errno number, or four letters.
Json code_to_json(int32_t code);

// Chapters as the library takes them: numbers are seconds, the text of an image is the path of its file, from `folder`.
Value chapters_from_json(const Json &json, const std::string &folder);

}  // namespace example
