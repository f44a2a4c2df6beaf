#include "tags/m4a/find_atom.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include "base/byte_order.h"
#include "base/four_cc.h"

namespace auspool::tags {
namespace {

constexpr std::size_t kNameLength = 4;

struct Step {
  std::uint32_t name = 0;
  std::uint32_t index = 0;    // among siblings of that name
  std::uint32_t skipped = 0;  // bytes in front of the children
  bool last = false;
};

// Takes the first step from a path.
std::optional<Step> take_step(std::string_view &path) {
  if (path.size() < kNameLength) return std::nullopt;
  Step step;
  step.name = load_be<std::uint32_t>(reinterpret_cast<const std::uint8_t *>(path.data()));
  path.remove_prefix(kNameLength);
  if (path.starts_with('-')) {
    const auto number = std::from_chars(path.data() + 1, path.data() + path.size(), step.index);
    if (number.ec != std::errc()) return std::nullopt;
    path.remove_prefix(static_cast<std::size_t>(number.ptr - path.data()));
  }
  step.last = path.empty();
  if (step.last) return step;
  step.skipped = path[0] == ',' ? 4 : path[0] == ';' ? 8 : 0;
  path.remove_prefix(1);
  return step;
}

struct Atom {
  std::uint32_t name;
  std::uint64_t size;
  std::uint32_t header_bytes;
};

// An atom's header, in a file of that size.
std::optional<Atom> read_header(platform::File &file, std::uint64_t at) {
  std::array<std::uint8_t, 16> header;
  const auto plain = std::span(header).first(kAtomHeaderBytes);
  if (file.read(at, plain) != 0) return std::nullopt;
  const Atom atom{load_be<std::uint32_t>(&header[4]), load_be<std::uint32_t>(header.data()), kAtomHeaderBytes};
  if (atom.size == 0) return Atom{atom.name, file.size() - at, kAtomHeaderBytes};
  if (atom.size != 1) return atom.size >= kAtomHeaderBytes ? std::optional(atom) : std::nullopt;
  if (file.read(at, header) != 0) return std::nullopt;
  const auto size = load_be<std::uint64_t>(&header[8]);
  return size >= header.size() ? std::optional(Atom{atom.name, size, 16}) : std::nullopt;
}

std::optional<Atom> read_header(std::span<const std::uint8_t> data, std::uint64_t at) {
  const Atom atom{load_be<std::uint32_t>(&data[at + 4]), load_be<std::uint32_t>(&data[at]), kAtomHeaderBytes};
  return atom.size >= kAtomHeaderBytes ? std::optional(atom) : std::nullopt;
}

// The walk over siblings, from `at` to `limit`, one level deeper with each step of the path. At least `needed` bytes
// must be left for an atom to be looked at.
template <typename Source>
std::optional<std::uint64_t> walk(Source &source, std::uint64_t at, std::uint64_t limit, std::uint64_t needed,
                                  std::string_view path) {
  std::optional<Step> step = take_step(path);
  std::uint32_t seen = 0;
  while (step && at < limit && limit - at >= needed) {
    const std::optional<Atom> atom = read_header(source, at);
    if (!atom) return std::nullopt;
    if (atom->name == step->name && seen++ == step->index) {
      if (step->last) return at;
      limit = at + std::min(atom->size, limit - at);
      at += atom->header_bytes + step->skipped;
      step = take_step(path);
      seen = 0;
    } else {
      if (atom->size >= limit - at) return std::nullopt;
      at += atom->size;
    }
  }
  return std::nullopt;
}

}  // namespace

bool find_atom(platform::File &file, std::uint64_t start, std::string_view path, std::uint64_t &offset) {
  const auto found = walk(file, start, file.size(), 1, path);
  if (found) offset = *found;
  return found.has_value();
}

bool find_atom_mem(std::span<const std::uint8_t> data, std::string_view path, std::uint32_t &offset) {
  const auto found = walk(data, 0, data.size(), kAtomHeaderBytes + 1, path);
  if (found) offset = static_cast<std::uint32_t>(*found);
  return found.has_value();
}

std::vector<std::uint64_t> find_tracks(platform::File &file) {
  constexpr std::size_t kMostTracks = 255;
  std::vector<std::uint64_t> tracks;
  std::uint64_t at = 0;
  if (!find_atom(file, 0, "moov", at)) return tracks;
  const std::optional<Atom> moov = read_header(file, at);
  const std::uint64_t end = at + std::min(moov->size, file.size() - at);
  for (at += moov->header_bytes; at < end && tracks.size() < kMostTracks;) {
    const std::optional<Atom> atom = read_header(file, at);
    if (!atom) break;
    if (atom->name == four_cc("trak")) tracks.push_back(at);
    if (atom->size >= end - at) break;
    at += atom->size;
  }
  return tracks;
}

std::int32_t seek_to_subatom(platform::File &file, std::uint64_t &position, std::uint64_t length, std::uint32_t name,
                             std::uint32_t &size) {
  std::array<std::uint8_t, kAtomHeaderBytes> header;
  while (length >= header.size() && file.read(position, header) == 0) {
    size = load_be<std::uint32_t>(header.data());
    if (load_be<std::uint32_t>(&header[4]) == name) return 0;
    if (size < kAtomHeaderBytes || size > length) return -1;
    position += size;
    length -= size;
  }
  return -1;
}

}  // namespace auspool::tags
