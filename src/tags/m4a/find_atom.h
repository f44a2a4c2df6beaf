// Finds atoms by their path, in a file and in memory.
//
// A path is names of four characters with a point between an atom and its child: "moov.trak.tkhd". "trak-2" is the
// third of that name among its siblings. A comma in place of the point: the parent has four bytes of version and flags
// in front of its children; a semicolon, in files alone: eight.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "platform/file.h"

namespace auspool::tags {

constexpr std::uint32_t kAtomHeaderBytes = 8;

// Offset of the atom's header in the file. Sizes of 64 bits, and one that reaches to the end of the file, are followed.
bool find_atom(platform::File &file, std::uint64_t start, std::string_view path, std::uint64_t &offset);

// The same in memory, with sizes of 32 bits alone. At least 9 bytes must be left at every step, so that an atom without
// content at the very end is not found.
bool find_atom_mem(std::span<const std::uint8_t> data, std::string_view path, std::uint32_t &offset);

// The offsets of the tracks in `moov`, of the first 255.
std::vector<std::uint64_t> find_tracks(platform::File &file);

// Walks the atoms side by side in the `length` bytes from `position` on, and leaves that at the header of the first
// with the name. 0, or -1.
std::int32_t seek_to_subatom(platform::File &file, std::uint64_t &position, std::uint64_t length, std::uint32_t name,
                             std::uint32_t &size);

}  // namespace auspool::tags
