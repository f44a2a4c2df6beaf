#include "platform/resource.h"

#include <dlfcn.h>

#include <filesystem>

#include "platform/file.h"

namespace auspool::platform {
namespace {

namespace fs = std::filesystem;

std::string &replacement() {
  static std::string folder;
  return folder;
}

// The folder of the file that holds this code: the shared library, or a program that links the static one.
fs::path own_folder() {
  Dl_info info{};
  std::error_code error;
  if (dladdr(reinterpret_cast<const void *>(&read_resource), &info) != 0 && info.dli_fname != nullptr) {
    const fs::path file = fs::canonical(info.dli_fname, error);
    if (!error) return file.parent_path();
  }
  // Of a program the linker knows the name by which it was called, which need not be a path.
  return fs::read_symlink("/proc/self/exe", error).parent_path();
}

std::vector<fs::path> folders() {
  if (!replacement().empty()) return {replacement()};
  const fs::path own = own_folder();
  return {own / "../share/auspool", own / AUSPOOL_DATA_FROM_LIBRARY, AUSPOOL_DATA_FOLDER};
}

}  // namespace

std::vector<std::uint8_t> read_resource(const std::string &name) {
  for (const fs::path &folder : folders()) {
    File file;
    std::vector<std::uint8_t> bytes;
    if (file.open((folder / name).c_str(), File::Access::read) == 0 && file.read(0, file.size(), bytes) == 0) {
      return bytes;
    }
  }
  return {};
}

void replace_resource_folder(const char *folder) {
  replacement() = folder != nullptr ? folder : "";
}

}  // namespace auspool::platform
