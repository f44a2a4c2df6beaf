// A file from which pieces are cut: seen as it will be, and changed on disk in the end, when each byte moves once.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/file.h"

namespace auspool::tags {

class Cuts {
public:
  explicit Cuts(platform::File &file) : file_(file), size_(file.size()) {}

  // The size of the file after the cuts.
  std::uint64_t size() const { return size_; }
  // Where a byte stands on disk, for offsets at or behind the last cut.
  std::uint64_t on_disk(std::uint64_t offset) const { return offset + cut_bytes_; }

  // Takes out what lies from `from` to `to`, and then ends the file at `size`, which must not lie behind its end. A cut
  // must not begin before the one made last.
  void cut(std::uint64_t from, std::uint64_t to, std::uint64_t size);

  // Does on disk what was asked for.
  std::int32_t apply();

private:
  struct Piece {
    std::uint64_t to, from;
  };
  platform::File &file_;
  std::uint64_t size_;
  std::uint64_t cut_bytes_ = 0;
  std::vector<Piece> pieces_;  // what lies between two cuts, by where it goes and where it is
};

}  // namespace auspool::tags
