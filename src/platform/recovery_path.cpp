#include "platform/recovery_path.h"

namespace auspool::platform {

std::string recovery_path(const std::string &file_path) {
  const std::size_t name = file_path.rfind('/') + 1;  // 0 where there is no folder
  return file_path.substr(0, name) + "." + file_path.substr(name) + ".recovery";
}

}  // namespace auspool::platform
