// A plain reader of MPEG-4 files: atoms by their path, numbers by their offset.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace auspool::testing {

struct Atom {
  std::string type;
  std::size_t offset = 0;  // in the file
  std::string bytes;       // header included; empty for an atom that is not there

  std::uint32_t word(std::size_t at) const;  // big-endian; fails the test beyond the end
  std::uint32_t size() const { return word(0); }
  std::string text(std::size_t at, std::size_t length) const { return bytes.substr(at, length); }
};

// The atoms that lie side by side in these bytes, which begin at `offset` of the file. A size that leads beyond the end
// fails the test; one of 0 reaches to it.
std::vector<Atom> atoms_in(const std::string &bytes, std::size_t offset = 0);

// The types of those, with a space between.
std::string types_in(const std::string &bytes);

// The first atom at a path such as "moov.trak.mdia".
Atom atom_at(const std::string &file, const std::string &path);

}  // namespace auspool::testing
