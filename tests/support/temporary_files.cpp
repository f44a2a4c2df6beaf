#include "support/temporary_files.h"

#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace auspool::testing {
namespace {

constexpr std::uint64_t kPage = 4096;

std::uint64_t cached_bytes_of(int descriptor, std::uint64_t size) {
  void *const mapped = mmap(nullptr, size, PROT_READ, MAP_SHARED, descriptor, 0);
  if (mapped == MAP_FAILED) return UINT64_MAX;
  std::vector<unsigned char> resident((size + kPage - 1) / kPage);
  mincore(mapped, size, resident.data());
  munmap(mapped, size);
  const auto is_resident = [](unsigned char page) { return (page & 1) != 0; };
  return static_cast<std::uint64_t>(std::count_if(resident.begin(), resident.end(), is_resident)) * kPage;
}

}  // namespace

NamelessFile look_at_nameless_file() {
  for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    const int descriptor = std::stoi(entry.path().filename());
    struct stat status {};
    struct statfs system {};
    if (fstat(descriptor, &status) != 0 || fstatfs(descriptor, &system) != 0) continue;
    if (!S_ISREG(status.st_mode) || status.st_nlink != 0 || status.st_size == 0) continue;
    const auto size = static_cast<std::uint64_t>(status.st_size);
    return {size, static_cast<std::uint64_t>(status.st_blocks) * 512, cached_bytes_of(descriptor, size),
            system.f_type == TMPFS_MAGIC};
  }
  return {};
}

}  // namespace auspool::testing
