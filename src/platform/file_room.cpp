#include "platform/file_room.h"

#include <fcntl.h>
#include <stdio_ext.h>
#include <unistd.h>

#include <cerrno>

namespace auspool::platform {
namespace {

bool for_want_of_room(int error) {
  return error == ENOSPC || error == EDQUOT || error == EFBIG;
}

}  // namespace

// Growing needs no room, but heeds the limits of a file's size; setting room aside does not.
bool reserve_room(int descriptor, std::int64_t size, std::int64_t bytes) {
  if (ftruncate(descriptor, size + bytes) != 0) return !for_want_of_room(errno);
  if (ftruncate(descriptor, size) != 0) return false;
  return fallocate(descriptor, FALLOC_FL_KEEP_SIZE, size, bytes) == 0 || !for_want_of_room(errno);
}

bool cut_file(std::FILE *file, std::int64_t size) {
  __fpurge(file);
  return ftruncate(fileno(file), size) == 0 && std::fseek(file, size, SEEK_SET) == 0;
}

}  // namespace auspool::platform
