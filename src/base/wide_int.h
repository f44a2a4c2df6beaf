// Integers of 128 bits, which gcc and clang have beyond the language's standard.
#pragma once

namespace auspool {

__extension__ using Int128 = __int128;
__extension__ using Uint128 = unsigned __int128;

}  // namespace auspool
