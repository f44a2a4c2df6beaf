// Property lists, in their XML and binary forms.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "auspool/audict.h"

namespace auspool::platform {

// The content of a property list as a new value that the caller releases: strings, numbers, booleans, data, arrays and
// dictionaries. Null for bytes that are no property list or hold another kind of value, and when memory runs out.
audict *read_property_list(std::span<const std::uint8_t> bytes);

// A value as a property list in the binary form. Nothing for null, and when memory runs out.
std::optional<std::vector<std::uint8_t>> write_binary_property_list(const audict *value);

}  // namespace auspool::platform
