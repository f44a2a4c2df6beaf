// Assertions that hold in every build: what they rule out would write beyond a buffer or lose a packet's memory.
#pragma once

namespace auspool {

// Ends the process, naming the caller and the expression, unless it holds.
void require(bool holds, const char *expression, const char *function = __builtin_FUNCTION(),
             int line = __builtin_LINE());

}  // namespace auspool
