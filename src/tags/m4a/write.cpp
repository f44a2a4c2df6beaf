// Replaces the `udta` of a file. `moov` is put together in memory; the rest of the file moves only where it must.
#include <algorithm>
#include <array>
#include <cerrno>

#include "auspool/autag2.h"
#include "base/byte_order.h"
#include "base/four_cc.h"
#include "tags/m4a/find_atom.h"
#include "tags/m4a/m4a.h"
#include "tags/m4a/offsets.h"
#include "tags/rewrite.h"

namespace auspool::tags {
namespace {

// A shorter `moov` is filled up with a `free` that has some content: one without is not found again.
constexpr std::uint64_t kLeastSlack = kAtomHeaderBytes + 1;

struct Moov {
  std::uint64_t offset = 0;
  std::uint32_t old_size = 0;
  Bytes bytes;

  void set_size() { store_be(bytes.data(), static_cast<std::uint32_t>(bytes.size())); }
};

std::int32_t read_moov(platform::File &file, std::size_t room, Moov &moov) {
  if (!find_atom(file, 0, "moov", moov.offset)) return AUTAG2_EPRS;
  std::array<std::uint8_t, 4> size;
  if (const std::int32_t error = file.read(moov.offset, size)) return error;
  moov.old_size = load_be<std::uint32_t>(size.data());
  if (moov.old_size < kAtomHeaderBytes || moov.old_size > file.size() - moov.offset) return AUTAG2_EPRS;
  try {
    moov.bytes.reserve(moov.old_size + room);
  } catch (const std::exception &) {
    return AUTAG2_EPRS;
  }
  return file.read(moov.offset, moov.old_size, moov.bytes);
}

std::int32_t remove_child(Moov &moov, std::uint32_t offset) {
  const auto size = load_be<std::uint32_t>(&moov.bytes[offset]);
  if (size > moov.bytes.size() - offset || moov.bytes.size() - size <= kAtomHeaderBytes) return AUTAG2_EPRS;
  const auto from = moov.bytes.begin() + offset;
  moov.bytes.erase(from, from + size);
  moov.set_size();
  return 0;
}

// Takes out all that find_atom_mem finds as "moov.free", in one pass: there may be many.
std::int32_t remove_free_children(Moov &moov) {
  auto &bytes = moov.bytes;
  const auto start = bytes.begin();
  std::ptrdiff_t kept = kAtomHeaderBytes, at = kept;
  const std::ptrdiff_t end = std::ssize(bytes);
  while (at + std::ptrdiff_t{kAtomHeaderBytes} < end) {
    const std::ptrdiff_t size = load_be<std::uint32_t>(&start[at]);
    const bool is_free = load_be<std::uint32_t>(&start[at + 4]) == four_cc("free");
    if (size < std::ptrdiff_t{kAtomHeaderBytes} || (size >= end - at && !is_free)) break;
    if (is_free && (size > end - at || kept + end - at - size <= std::ptrdiff_t{kAtomHeaderBytes})) return AUTAG2_EPRS;
    if (!is_free) kept = std::copy(start + at, start + at + size, start + kept) - start;
    at += size;
  }
  bytes.erase(start + kept, start + at);
  moov.set_size();
  return 0;
}

std::int32_t replace_tag(Moov &moov, const Bytes &udta) {
  if (const std::int32_t error = remove_free_children(moov)) return error;
  std::uint32_t offset = 0;
  if (find_atom_mem(moov.bytes, "moov.udta", offset)) {
    if (const std::int32_t error = remove_child(moov, offset)) return error;
  }
  if (udta.size() > UINT32_MAX - moov.bytes.size()) return EFBIG;
  moov.bytes.insert(moov.bytes.end(), udta.begin(), udta.end());
  moov.set_size();
  return 0;
}

std::int32_t write_in_place(platform::File &file, Moov &moov) {
  const std::size_t used = moov.bytes.size();
  moov.bytes.resize(moov.old_size);
  store_be(&moov.bytes[used], static_cast<std::uint32_t>(moov.old_size - used));
  store_be(&moov.bytes[used + 4], four_cc("free"));
  moov.set_size();
  return file.write(moov.offset, moov.bytes);
}

std::int32_t write_moving(platform::File &file, Moov &moov) {
  const std::uint64_t old_end = moov.offset + moov.old_size, new_end = moov.offset + moov.bytes.size();
  const auto shift = static_cast<std::int64_t>(new_end - old_end);
  const std::uint64_t size = file.size() + static_cast<std::uint64_t>(shift);
  std::uint64_t data = 0;
  if (find_atom(file, old_end, "mdat", data)) {
    move_chunk_offsets(moov.bytes, shift);
    if (const std::int32_t error = move_fragment_offsets(file, shift)) return error;
  }
  if (const std::int32_t error = file_data_move(file, new_end, old_end)) return error;
  if (shift < 0) {
    if (const std::int32_t error = file.resize(size)) return error;
  }
  return file.write(moov.offset, moov.bytes);
}

}  // namespace

std::int32_t autag2_m4a_write(const char *path, const audict *tag) {
  platform::File file;
  if (const std::int32_t error = file.open(path, platform::File::Access::change)) return error;
  const std::optional<Bytes> udta = autag2_udta_create(tag);
  if (!udta) return AUTAG2_EUNK;
  Moov moov;
  if (const std::int32_t error = read_moov(file, udta->size(), moov)) return error;
  if (const std::int32_t error = replace_tag(moov, *udta)) return error;
  const bool fits = _autag2_should_overwrite_without_moving_data(static_cast<std::int64_t>(file.size()),
                                                                 moov.bytes.size(), moov.old_size);
  return fits && moov.old_size - moov.bytes.size() >= kLeastSlack ? write_in_place(file, moov)
                                                                  : write_moving(file, moov);
}

}  // namespace auspool::tags
