// Files that are installed with the library.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace auspool::platform {

// The bytes of the resource of that file name; empty when it cannot be read. It is looked for beside the installed
// library, so that an installed tree can be moved, and then where the build was told to install.
std::vector<std::uint8_t> read_resource(const std::string &name);

// Puts another folder in the place of all these, for tests; null puts them back.
void replace_resource_folder(const char *folder);

}  // namespace auspool::platform
