// The edge of the C interface: nothing throws across it.
#pragma once

#include <exception>

namespace auspool::tags {

// The result of `body`, or `failed` when memory runs out in it.
template <typename Result, typename Body>
Result guarded(Result failed, const Body &body) noexcept {
  try {
    return body();
  } catch (const std::exception &) {
    return failed;
  }
}

}  // namespace auspool::tags
