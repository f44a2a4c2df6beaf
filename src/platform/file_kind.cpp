#include "platform/file_kind.h"

#include <sys/xattr.h>

#include "base/byte_order.h"

namespace auspool::platform {
namespace {

// Where file servers and archivers keep a file's Finder information:
//   offset 0, 4 bytes: type; offset 4, 4 bytes: creator; 24 more bytes that are not ours.
constexpr const char *kAttribute = "user.com.apple.FinderInfo";
constexpr int kTypeOffset = 0, kCreatorOffset = 4, kInfoBytes = 32;

}  // namespace

void set_file_kind(const char *path, std::uint32_t type, std::uint32_t creator) {
  if (type == 0 && creator == 0) return;
  std::uint8_t info[kInfoBytes] = {};
  (void)getxattr(path, kAttribute, info, sizeof info);  // a failure leaves zeros
  if (type != 0) store_be(info + kTypeOffset, type);
  if (creator != 0) store_be(info + kCreatorOffset, creator);
  (void)setxattr(path, kAttribute, info, sizeof info, 0);
}

}  // namespace auspool::platform
