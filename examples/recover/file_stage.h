// How far a recording had come when it was cut off, by the looks of its file.
#pragma once

#include <cstdint>
#include <cstdio>

namespace recover {

inline constexpr std::uint64_t kDataHeader = 32, kFirstPacket = 40;  // offsets

enum class Stage {
  kInPlace,   // every packet is where it was written
  kComplete,  // the index is there, in front or at the end
  kMoving,    // the audio was being moved for the index
  kForeign,   // no recording
};

// Of a file of so many bytes.
Stage stage_of(std::FILE *file, std::uint64_t bytes);

// What the header of the packets says that there are, with its own 8 bytes.
std::uint64_t data_size(std::FILE *file);

}  // namespace recover
