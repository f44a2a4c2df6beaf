// The chapters of files as people read them.
#pragma once

#include <string>
#include <vector>

namespace example {

// Prints them, and stores their pictures in `image_folder` unless that is empty. Whether all files could be read.
bool print_chapters(const std::vector<std::string> &files, const std::string &image_folder);

}  // namespace example
