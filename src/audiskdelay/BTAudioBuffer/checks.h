// What the store says of failures, on the standard error stream.
//
// An assertion tells of a mistake in the caller or in the store itself: going on would lose audio or worse, so the
// process traps. A check tells of a failure that the caller gets to know as well.
#pragma once

namespace auspool::audiskdelay {

// Prints "Assertion failed: <expression>  <source>:<line>\n" and traps, unless `holds`.
[[noreturn]] void assert_failed(const char *expression, unsigned line);
inline void assert_that(bool holds, const char *expression, unsigned line = __builtin_LINE()) {
  if (!holds) [[unlikely]]
    assert_failed(expression, line);
}

// Prints "Check failed: <expression>  <source>:<line>\n", unless `holds`. Returns `holds`.
bool check(bool holds, const char *expression, unsigned line = __builtin_LINE());

}  // namespace auspool::audiskdelay
