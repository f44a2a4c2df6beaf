// Room on the disk for an open file that is about to grow.
#pragma once

#include <cstdint>
#include <cstdio>

namespace auspool::platform {

// Sets room aside for `bytes` behind the `size` bytes of a file, whose size stays. False where the disk is full or the
// file would be too large. A file system that cannot tell is taken to have room.
bool reserve_room(int descriptor, std::int64_t size, std::int64_t bytes);

// Cuts the file of a stream, drops what the stream has not written yet, and leaves it at the file's new end.
bool cut_file(std::FILE *file, std::int64_t size);

}  // namespace auspool::platform
