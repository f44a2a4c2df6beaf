#include "support/tag_file.h"

#include <cerrno>

#include "support/watch.h"

namespace auspool::testing {

std::string bytes_of(const audict *data) {
  std::size_t size = 0;
  const auto *bytes = static_cast<const char *>(audict_data(data, &size));
  return {bytes, size};
}

std::string printed(const ReadResult &result) {
  return audict_string(Ref(audict_print(result.dict.get())).get());
}

bool some_failed_read_gives(const TagFile &file, const std::string &dictionary) {
  for (int nth = 1; nth < 10; ++nth) {
    const CallFailer failer("pread", nth, ENXIO);
    const ReadResult result = file.read();
    if (result.error == ENXIO && printed(result) == dictionary) return true;
  }
  return false;
}

long bytes_of_reading(const TagFile &file) {
  const long before = bytes_of_new();
  file.read();
  return bytes_of_new() - before;
}

std::string shown(const audict *value) {
  std::int64_t integer = 0;
  bool truth = false;
  switch (audict_kind_of(value)) {
  case AUDICT_STRING:
    return audict_string(value);
  case AUDICT_DATA:
    return bytes_of(value);
  case AUDICT_NUMBER:
    return audict_integer(value, &integer) ? std::to_string(integer) : "?";
  case AUDICT_BOOLEAN:
    return audict_boolean(value, &truth) && truth ? "true" : "false";
  default:
    return "none";
  }
}

std::string ReadResult::operator[](const char *key) const {
  return shown(audict_get(dict.get(), key));
}

ReadResult TagFile::read() const {
  ReadResult result;
  result.dict = Ref(autag2_read(path(), &result.error, nullptr));
  return result;
}

ReadResult TagFile::chapters() const {
  ReadResult result;
  result.dict = Ref(autag2_chapter_read(path(), &result.error));
  return result;
}

ReadResult read_tag(const std::string &bytes) {
  return TagFile(bytes).read();
}

ReadResult read_chapters(const std::string &bytes) {
  return TagFile(bytes).chapters();
}

}  // namespace auspool::testing
