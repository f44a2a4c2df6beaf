// A file of a seed corpus.
#pragma once

#include <string>

#include "support/temp_dir.h"

namespace auspool::testing {

// `bytes` is any container of single bytes.
template <typename Bytes>
void write_seed(const std::string &folder, const std::string &name, const Bytes &bytes) {
  write_file(folder + "/" + name, std::string(bytes.begin(), bytes.end()));
}

}  // namespace auspool::testing
