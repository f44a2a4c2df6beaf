// Tags of CAF files, which can be read and built, not rewritten.
//
//   0   4  "caff"
//   4   2  version, 1
//   6   2  flags
//   8      chunks:  0  4  type
//                   4  8  size of the data, big-endian, signed; -1 in `data`: to the end of the file
//                   12    data, without a pad byte
//          among them:  info  4 bytes number of entries, then key and value of each, UTF-8 that ends in NUL
//                       id3   a whole ID3 tag
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "platform/file.h"
#include "tags/dict/node.h"

namespace auspool::tags {

struct CafKey {
  const char *caf_key;
  const char *key;
  bool is_number;
};
extern const std::span<const CafKey> caf2autag_key_table;

bool autag2_is_caf(platform::File &file);
Ref autag2_caf_read(platform::File &file, const char *path, std::int32_t &error);
// Nothing for a null tag, and when the ID3 tag cannot be made.
std::optional<Bytes> autag2_caf_create(const audict *tag);
std::int32_t autag2_caf_write(const char *path, const audict *tag);

}  // namespace auspool::tags
