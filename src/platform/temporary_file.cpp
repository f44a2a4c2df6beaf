#include "platform/temporary_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>

namespace auspool::platform {

int open_unnamed_file(const char *folder) noexcept {
  return ::open(folder, O_TMPFILE | O_RDWR | O_EXCL | O_CLOEXEC, 0600);
}

int open_removed_file(const char *folder) noexcept {
  std::array<char, 4096> path;
  const int length = std::snprintf(path.data(), path.size(), "%s/auspool.XXXXXX", folder);
  if (length < 0 || static_cast<std::size_t>(length) >= path.size()) return -1;
  const int descriptor = ::mkostemp(path.data(), O_CLOEXEC);
  if (descriptor >= 0) ::unlink(path.data());
  return descriptor;
}

int open_temporary_file() noexcept {
  for (const char *folder : {static_cast<const char *>(std::getenv("TMPDIR")), "/var/tmp", "/tmp"}) {
    if (!folder) continue;
    if (const int unnamed = open_unnamed_file(folder); unnamed >= 0) return unnamed;
    if (const int removed = open_removed_file(folder); removed >= 0) return removed;
  }
  return -1;
}

}  // namespace auspool::platform
