// What the writers share: when a shorter tag stays where the old one was, and how the rest of a file moves.
#pragma once

#include <cstdint>

#include "platform/file.h"

namespace auspool::tags {

// Whether a tag of `new_size` bytes is written over one of `old_size` with the difference left as slack: when it fits
// and wastes at most 2 % of the file. All in single precision, so that in a file of 10^9 bytes 20,000,001 pass.
bool _autag2_should_overwrite_without_moving_data(std::int64_t file_size, std::uint64_t new_size,
                                                  std::uint64_t old_size);

// Moves what lies from `from` to the end of the file so that it starts at `to`. Grows the file when need be, and never
// shrinks it: the caller cuts what is left behind. Each byte moves once. A failure leaves what has moved so far.
std::int32_t file_data_move(platform::File &file, std::uint64_t to, std::uint64_t from);

// Moves only `length` bytes, to a place before them.
std::int32_t file_data_move_down(platform::File &file, std::uint64_t to, std::uint64_t from, std::uint64_t length);

}  // namespace auspool::tags
