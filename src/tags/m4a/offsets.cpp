#include "tags/m4a/offsets.h"

#include <algorithm>
#include <array>
#include <string>

#include "base/byte_order.h"
#include "base/four_cc.h"
#include "tags/m4a/find_atom.h"

namespace auspool::tags {
namespace {

using Span = std::span<std::uint8_t>;

constexpr std::size_t kTableHeaderBytes = 16;  // size, name, version and flags, count

// The atom at an offset, as much of it as there is.
Span atom_at(Span data, std::uint32_t offset) {
  const Span from = data.subspan(offset);
  return from.first(std::min<std::size_t>(load_be<std::uint32_t>(from.data()), from.size()));
}

template <typename Offset>
void move_entries(Span entries, std::uint64_t count, std::int64_t shift) {
  count = std::min<std::uint64_t>(count, entries.size() / sizeof(Offset));
  for (std::uint64_t i = 0; i < count; ++i) {
    std::uint8_t *const entry = &entries[i * sizeof(Offset)];
    store_be(entry, static_cast<Offset>(load_be<Offset>(entry) + static_cast<std::uint64_t>(shift)));
  }
}

std::uint32_t count_in(Span table) {
  return load_be<std::uint32_t>(&table[kTableHeaderBytes - 4]);
}

// A table with fewer entries than it says, or than it has room for, is believed where it says less.
void move_table_of_32_bits(Span table, std::int64_t shift) {
  move_entries<std::uint32_t>(table.subspan(kTableHeaderBytes), count_in(table), shift);
}

// Of 64 bits it is believed where it says more, up to the end of the track.
void move_table_of_64_bits(Span track, std::uint32_t offset, std::int64_t shift) {
  const Span table = atom_at(track, offset);
  const std::uint64_t count = std::max<std::uint64_t>(count_in(table), (table.size() - kTableHeaderBytes) / 8);
  move_entries<std::uint64_t>(track.subspan(offset + kTableHeaderBytes), count, shift);
}

void move_track(Span track, std::int64_t shift) {
  std::uint32_t table = 0;
  if (find_atom_mem(track, "trak.mdia.minf.stbl.stco", table)) {
    if (atom_at(track, table).size() >= kTableHeaderBytes) move_table_of_32_bits(atom_at(track, table), shift);
  } else if (find_atom_mem(track, "trak.mdia.minf.stbl.co64", table)) {
    if (atom_at(track, table).size() >= kTableHeaderBytes) move_table_of_64_bits(track, table, shift);
  }
}

//  0 size   4 "tfhd"   8 version and flags   12 track   16 base offset, if the lowest flag is set
std::int32_t move_fragment_track(platform::File &file, std::uint64_t header, std::int64_t shift) {
  std::array<std::uint8_t, 16> start;
  if (const std::int32_t error = file.read(header, start)) return error;
  if ((start[11] & 1) == 0) return 0;
  std::array<std::uint8_t, 8> base;
  if (const std::int32_t error = file.read(header + start.size(), base)) return error;
  store_be(base.data(), load_be<std::uint64_t>(base.data()) + static_cast<std::uint64_t>(shift));
  return file.write(header + start.size(), base);
}

}  // namespace

void move_chunk_offsets(std::span<std::uint8_t> moov, std::int64_t shift) {
  std::uint32_t next = 0;
  for (bool found = find_atom_mem(moov, "moov.trak", next); found; found = find_atom_mem(moov, "trak-1", next)) {
    moov = moov.subspan(next);
    move_track(atom_at(moov, 0), shift);
  }
}

std::int32_t move_fragment_offsets(platform::File &file, std::int64_t shift) {
  std::uint64_t fragment = 0;
  for (bool found = find_atom(file, 0, "moof", fragment); found;
       found = find_atom(file, fragment, "moof-1", fragment)) {
    std::uint64_t header = 0;
    for (int i = 0; find_atom(file, fragment, "moof.traf-" + std::to_string(i) + ".tfhd", header); ++i) {
      if (const std::int32_t error = move_fragment_track(file, header, shift)) return error;
    }
  }
  return 0;
}

}  // namespace auspool::tags
