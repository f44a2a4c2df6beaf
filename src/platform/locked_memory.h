// Whole pages of memory that can be pinned, so that a real-time thread never waits for them.
// Tests make these fail through the system calls beneath: mmap and mlock.
#pragma once

#include <cstddef>

namespace auspool::platform {

// Zeroed, page-aligned memory that is there already, not only promised: the first access does not
// fault. Null if memory ran out, and for 0 bytes.
void *allocate_pages(std::size_t bytes) noexcept;

// Releases what allocate_pages gave for as many bytes. Accepts null.
void release_pages(void *pages, std::size_t bytes) noexcept;

// Asks for large pages beneath: a block that goes straight to the disk is then two or three of them, not thirty. Where
// the system has none to give, all stays as it is.
void prefer_large_pages(void *pages, std::size_t bytes) noexcept;

// Keeps the pages from being swapped out. Returns 0, or -1 where the system refuses, mostly because of
// a limit (RLIMIT_MEMLOCK): then they are as good as before.
int pin_pages(const void *pages, std::size_t bytes) noexcept;

// Undoes a pin_pages that returned 0.
void unpin_pages(const void *pages, std::size_t bytes) noexcept;

}  // namespace auspool::platform
