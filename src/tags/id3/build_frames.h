// Frames of ID3v2.3, put at the end of the bytes of a tag. A value of another kind than the key's writes nothing.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "tags/dict/node.h"

namespace auspool::tags {

// The id, the size and the flags of a frame with `size` bytes of data, which the caller puts behind it.
void add_frame_header(Bytes &to, std::uint32_t id, std::size_t size);
void add_bytes(Bytes &to, std::string_view bytes);
void add_bytes(Bytes &to, std::span<const std::uint8_t> bytes);

// An empty text writes nothing.
void add_text_frame(Bytes &to, std::uint32_t id, std::string_view utf8);

// A whole number, also 0 and below; a float is rounded to one, halves to the even.
void add_number_frame(Bytes &to, std::uint32_t id, const audict *number);

// A comment or lyrics: language "eng", an empty description, the text.
void add_text_ext_frame_if_present(Bytes &to, std::uint32_t id, const audict &tag, const char *key);

// "number" or "number/total", each from 1 on.
void add_number_total_frame_if_present(Bytes &to, std::uint32_t id, const audict &tag, const char *number_key,
                                       const char *total_key);

// An `APIC` frame with the bytes of an image file, of which there must be at least 4. With `convert` a PNG becomes a
// JPEG first, unless it does not decode.
void add_picture_frame(Bytes &to, std::span<const std::uint8_t> image, bool convert);

}  // namespace auspool::tags
