// Where the recovery record of a file stands while the file is written: beside it, and out of sight.
#pragma once

#include <string>

namespace auspool::platform {

// ".NAME.recovery" in the folder of the file NAME.
std::string recovery_path(const std::string &file_path);

}  // namespace auspool::platform
