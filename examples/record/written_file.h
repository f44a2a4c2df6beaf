// A finished recording as another library sees it.
#pragma once

#include <cstdint>
#include <string>

namespace record {

struct WrittenFile {
  std::int64_t frames;
  double seconds;
};

// Throws where the file cannot be read.
WrittenFile look_at(const std::string &path);

}  // namespace record
