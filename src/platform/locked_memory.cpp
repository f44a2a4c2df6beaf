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

int pin_pages(const void *pages, std::size_t bytes) noexcept {
  return mlock(pages, bytes);
}

void unpin_pages(const void *pages, std::size_t bytes) noexcept {
  munlock(pages, bytes);
}

}  // namespace auspool::platform
