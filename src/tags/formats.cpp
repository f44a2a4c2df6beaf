#include "tags/formats.h"

namespace auspool::tags {

std::span<const Format> formats() {
  return {};
}

}  // namespace auspool::tags
