#include "auplayer/aupacketplayer/require.h"

#include <cstdio>
#include <cstdlib>

namespace auspool {

void require(bool holds, const char *expression, const char *function, int line) {
  if (holds) return;
  std::fprintf(stderr, "%s:%s:%d: assertion failure: %s\n", "src/auplayer/aupacketplayer", function, line, expression);
  std::abort();
}

}  // namespace auspool
