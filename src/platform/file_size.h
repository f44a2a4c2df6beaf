// The size of an open file.
#pragma once

#include <cstdint>

namespace auspool::platform {

// Bytes on the disk, without what a stream still holds in its buffer; -1 if that cannot be told.
std::int64_t size_of_open_file(int descriptor);

}  // namespace auspool::platform
