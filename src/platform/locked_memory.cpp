#include "platform/locked_memory.h"

#include <sys/mman.h>

namespace auspool::platform {

void *allocate_pages(std::size_t bytes) noexcept {
  if (bytes == 0) return nullptr;
  void *pages = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
  return pages == MAP_FAILED ? nullptr : pages;
}

void release_pages(void *pages, std::size_t bytes) noexcept {
  if (pages) munmap(pages, bytes);
}

void prefer_large_pages(void *pages, std::size_t bytes) noexcept {
#ifdef MADV_COLLAPSE
  constexpr int kCollapse = MADV_COLLAPSE;
#else
  constexpr int kCollapse = 25;  // Linux 6.1, which the C library's headers may not know yet
#endif
  // The advice alone would be heeded by later faults only, and these pages are there.
  if (madvise(pages, bytes, MADV_HUGEPAGE) == 0) madvise(pages, bytes, kCollapse);
}

int pin_pages(const void *pages, std::size_t bytes) noexcept {
  return mlock(pages, bytes);
}

void unpin_pages(const void *pages, std::size_t bytes) noexcept {
  munlock(pages, bytes);
}

}  // namespace auspool::platform
