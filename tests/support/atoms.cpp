#include "support/atoms.h"

#include <gtest/gtest.h>

#include "base/byte_order.h"

namespace auspool::testing {
namespace {

constexpr std::size_t kHeader = 8;

// What stands in front of an atom's children.
std::size_t start_of_children(const std::string &type) {
  return type == "meta" ? 12 : type == "stsd" || type == "dref" ? 16 : type == "mp4a" || type == "alac" ? 36 : kHeader;
}

}  // namespace

std::uint32_t Atom::word(std::size_t at) const {
  if (at + 4 > bytes.size()) {
    ADD_FAILURE() << type << " has no word at " << at;
    return 0;
  }
  return load_be<std::uint32_t>(reinterpret_cast<const std::uint8_t *>(bytes.data()) + at);
}

std::vector<Atom> atoms_in(const std::string &bytes, std::size_t offset) {
  std::vector<Atom> atoms;
  for (std::size_t at = 0; at + kHeader <= bytes.size();) {
    Atom atom{bytes.substr(at + 4, 4), offset + at, bytes.substr(at)};
    const std::size_t size = atom.size() == 0 ? atom.bytes.size() : atom.size();
    if (size < kHeader || size > atom.bytes.size()) {
      ADD_FAILURE() << atom.type << " at " << atom.offset << " claims " << size << " of " << atom.bytes.size()
                    << " bytes";
      break;
    }
    atom.bytes.resize(size);
    at += size;
    atoms.push_back(std::move(atom));
  }
  return atoms;
}

std::string types_in(const std::string &bytes) {
  std::string types;
  for (const Atom &atom : atoms_in(bytes)) types += (types.empty() ? "" : " ") + atom.type;
  return types;
}

Atom atom_at(const std::string &file, const std::string &path) {
  const std::size_t dot = path.find('.');
  const std::string type = path.substr(0, dot);
  for (const Atom &atom : atoms_in(file)) {
    if (atom.type != type) continue;
    if (dot == std::string::npos) return atom;
    const std::size_t start = start_of_children(type);
    Atom child = atom_at(atom.bytes.substr(std::min(start, atom.bytes.size())), path.substr(dot + 1));
    child.offset += atom.offset + start;
    return child;
  }
  return {type, 0, ""};
}

}  // namespace auspool::testing
