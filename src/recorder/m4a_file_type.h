// How the file system knows the files of AAC and ALAC.
#pragma once

#include <cstdint>

#include "base/four_cc.h"

namespace auspool {

inline constexpr std::uint32_t kM4ACreator = four_cc("tnch");

// A file that cannot be played while it loads is no music file or book.
constexpr std::uint32_t m4a_file_type(bool fast_start, bool audiobook) {
  return !fast_start ? four_cc("MP4 ") : audiobook ? four_cc("M4B ") : four_cc("M4A ");
}

}  // namespace auspool
