// One item of `ilst` in a file, and the parts of it that readers ask for.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/file.h"
#include "tags/dict/node.h"
#include "tags/m4a/item_names.h"

namespace auspool::tags {

struct Item {
  std::uint32_t name;
  std::uint64_t offset;  // of its header
  std::uint32_t size;
};

// A `data` child.
struct ItemData {
  std::uint32_t type;
  std::uint64_t payload;  // offset
  std::uint32_t size;     // of the payload
};

// The first `data` child, when it has a whole header.
std::optional<ItemData> find_data(platform::File &file, const Item &item);

// The whole payload; nothing when the file ends before.
std::optional<Bytes> read_payload(platform::File &file, const ItemData &data);

// The text of the `data` child in the `length` bytes from `position` on, up to a NUL; nothing when it is not of type 1,
// or no UTF-8.
std::optional<std::string> get_string_from_data_subatom(platform::File &file, std::uint64_t position,
                                                        std::uint32_t length);

// Adds what the item says under its key. Items that nobody knows say nothing.
void read_item(audict &tag, platform::File &file, const Item &item);

// The encoder's delay and padding in a freeform item of that name.
void read_gapless(audict &tag, platform::File &file, const Item &item);

}  // namespace auspool::tags
