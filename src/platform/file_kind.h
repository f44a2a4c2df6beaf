// The four-character type and creator codes that a file carries beside its content.
#pragma once

#include <cstdint>

namespace auspool::platform {

// Stores the codes in the file's Finder information; a code of 0 leaves what is there. A file system that has no room
// for it is no error: the codes are a convenience.
void set_file_kind(const char *path, std::uint32_t type, std::uint32_t creator);

}  // namespace auspool::platform
