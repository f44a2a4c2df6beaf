// Bytes as a file on disk, and what the public calls make of it.
#pragma once

#include <cstdint>
#include <string>

#include "auspool/autag2.h"
#include "support/temp_dir.h"
#include "tags/dict/node.h"

namespace auspool::testing {

using tags::Ref;

struct ReadResult {
  Ref dict;
  std::int32_t error = -1;

  // What stands under a key, for comparing: text as it is, a number in digits, a boolean as its word, data as bytes;
  // "none" without the key.
  std::string operator[](const char *key) const;
};

// The whole dictionary as audict_print shows it.
std::string printed(const ReadResult &result);

// Text for one value, as above.
std::string shown(const audict *value);

class TagFile {
public:
  explicit TagFile(const std::string &bytes) { write_file(path_, bytes); }

  const char *path() const { return path_.c_str(); }
  std::string bytes() const { return read_file(path_); }
  ReadResult read() const;
  ReadResult chapters() const;
  std::int32_t write(const audict *tag) const { return autag2_write(path(), tag); }

private:
  TempDir folder_;
  std::string path_ = folder_.file("file");
};

// Whether one of the reads from disk can fail so that this dictionary is what comes back with its error.
bool some_failed_read_gives(const TagFile &file, const std::string &dictionary);

// What a reading asks of memory.
long bytes_of_reading(const TagFile &file);

ReadResult read_tag(const std::string &bytes);
ReadResult read_chapters(const std::string &bytes);

std::string bytes_of(const audict *data);

}  // namespace auspool::testing
