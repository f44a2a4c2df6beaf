#pragma once

#include <string_view>

#include "tags/dict/node.h"

namespace auspool::tags {

// The bytes that a Base64 text (RFC 4648) holds up to its end, its padding, or the first character of no such text.
Bytes decode_base64(std::string_view text);

}  // namespace auspool::tags
