#include "tags/rewrite.h"

#include <algorithm>
#include <memory>
#include <new>
#include <span>

#include "auspool/autag2.h"

namespace auspool::tags {
namespace {

constexpr std::uint64_t chunk_bytes = 1'048'576;

std::int32_t copy(platform::File &file, std::uint64_t to, std::uint64_t from, std::span<std::uint8_t> buffer) {
  const std::int32_t error = file.read(from, buffer);
  return error != 0 ? error : file.write(to, buffer);
}

}  // namespace

bool _autag2_should_overwrite_without_moving_data(std::int64_t file_size, std::uint64_t new_size,
                                                  std::uint64_t old_size) {
  if (new_size > old_size) return false;
  return 0.02f >= static_cast<float>(old_size - new_size) / static_cast<float>(file_size);
}

std::int32_t file_data_move(platform::File &file, std::uint64_t to, std::uint64_t from) {
  const std::uint64_t size = file.size();
  if (to == from || size <= from) return 0;
  const std::unique_ptr<std::uint8_t[]> buffer(new (std::nothrow) std::uint8_t[chunk_bytes]);
  if (!buffer) return AUTAG2_EUNK;
  const std::uint64_t length = size - from;
  // Upwards the first bytes go first, downwards the last: so nothing is overwritten before it has been read.
  const bool from_the_start = to < from;
  if (!from_the_start) {
    if (const std::int32_t error = file.resize(size + (to - from))) return error;
  }
  for (std::uint64_t done = 0; done < length;) {
    const std::uint64_t part = std::min(chunk_bytes, length - done);
    const std::uint64_t at = from_the_start ? done : length - done - part;
    if (const std::int32_t error = copy(file, to + at, from + at, {buffer.get(), static_cast<std::size_t>(part)})) {
      return error;
    }
    done += part;
  }
  return 0;
}

}  // namespace auspool::tags
