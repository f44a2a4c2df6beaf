// The calls of autag2.h: they find the row of the format and hand over.
#include "auspool/autag2.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "tags/formats.h"
#include "tags/guard.h"

namespace auspool::tags {
namespace {

template <typename Predicate>
const Format *find(const Predicate &predicate) {
  const auto all = formats();
  const auto row = std::find_if(all.begin(), all.end(), predicate);
  return row != all.end() ? &*row : nullptr;
}

// The first row whose detector says yes, among those that serve `member`.
template <typename Member>
const Format *detect(platform::File &file, Member Format::*member) {
  return find([&](const Format &row) { return row.*member != nullptr && row.is(file); });
}

const Format *numbered(std::uint32_t number) {
  return find([number](const Format &row) { return row.number == number; });
}

// The row for a file on disk, which is closed again.
template <typename Member>
std::int32_t detect(const char *path, Member Format::*member, const Format *&row) {
  platform::File file;
  const std::int32_t error = file.open(path, platform::File::Access::read);
  row = error == 0 ? detect(file, member) : nullptr;
  return error != 0 ? error : row == nullptr ? AUTAG2_ETAG : 0;
}

audict *read(const char *path, std::int32_t &error, std::uint32_t *format) {
  platform::File file;
  error = file.open(path, platform::File::Access::read);
  const Format *row = error == 0 ? detect(file, &Format::read) : nullptr;
  if (row == nullptr) return nullptr;
  if (format != nullptr) *format = row->number;
  return row->read(file, path, error).release();
}

audict *read_chapters(const char *path, std::int32_t &error) {
  platform::File file;
  error = file.open(path, platform::File::Access::read);
  const Format *row = error == 0 ? detect(file, &Format::chapter_read) : nullptr;
  return row != nullptr ? row->chapter_read(file, error).release() : nullptr;
}

using Builder = std::optional<Bytes> (*)(const audict *);

audict *build(Builder Format::*builder, const audict *dictionary, std::uint32_t format) {
  const Format *row = numbered(format);
  if (row == nullptr || row->*builder == nullptr) return nullptr;
  std::optional<Bytes> bytes = (row->*builder)(dictionary);
  return bytes ? make_data(std::move(*bytes)).release() : nullptr;
}

// Runs a reader with somewhere to put its error, and memory that runs out as one.
template <typename Reader>
audict *reading(std::int32_t *error, const Reader &reader) {
  std::int32_t unasked = 0;
  std::int32_t &result = error != nullptr ? *error : unasked;
  bool complete = false;
  audict *dictionary = guarded<audict *>(nullptr, [&] {
    audict *read = reader(result);
    complete = true;
    return read;
  });
  if (!complete) result = AUTAG2_EUNK;
  return dictionary;
}

}  // namespace
}  // namespace auspool::tags

using namespace auspool::tags;

audict *autag2_read(const char *path, std::int32_t *error, std::uint32_t *format) {
  return reading(error, [&](std::int32_t &result) { return read(path, result, format); });
}

std::int32_t autag2_write(const char *path, const audict *tag) {
  return guarded<std::int32_t>(AUTAG2_EUNK, [&] {
    const Format *row = nullptr;
    const std::int32_t error = detect(path, &Format::write, row);
    return error != 0 ? error : row->write(path, tag);
  });
}

audict *autag2_create(const audict *tag, std::uint32_t format) {
  return guarded<audict *>(nullptr, [&] { return build(&Format::create, tag, format); });
}

autag2_data *autag2_create_data(const audict *tag, std::int32_t format) {
  const Format *row = numbered(static_cast<std::uint32_t>(format));
  if (row == nullptr || row->create_data == nullptr) return nullptr;
  return guarded<autag2_data *>(nullptr, [&] { return row->create_data(tag); });
}

void autag2_dispose_data(autag2_data *data) {
  if (data == nullptr) return;
  const std::size_t count = std::min<std::size_t>(data->count, std::size(data->pointers));
  for (std::size_t i = 0; data->dispose != nullptr && i < count; ++i) {
    if (data->pointers[i] != nullptr) data->dispose(data->pointers[i]);
  }
  std::free(data);
}

audict *autag2_chapter_read(const char *path, std::int32_t *error) {
  return reading(error, [&](std::int32_t &result) { return read_chapters(path, result); });
}

audict *autag2_chapter_create(const audict *chapters, std::uint32_t format) {
  return guarded<audict *>(nullptr, [&] { return build(&Format::chapter_create, chapters, format); });
}

std::int32_t autag2_chapter_write(const char *path, const audict *chapters) {
  return guarded<std::int32_t>(AUTAG2_EUNK, [&] {
    const Format *row = nullptr;
    const std::int32_t error = detect(path, &Format::chapter_write, row);
    return error != 0 ? error : row->chapter_write(path, chapters);
  });
}
