#include "auspool/rbuffer.h"

#include "buffers/ring_operations.h"

rbuffer2::~rbuffer2() {
  auspool::ring::release_storage(*this);
}

rbuffer2 *rbuffer2_create(int32_t size, int32_t lock_memory) {
  return auspool::ring::create<rbuffer2>(size, lock_memory);
}

void rbuffer2_destroy(rbuffer2 *ring) {
  delete ring;
}

int32_t rbuffer2_set_size(rbuffer2 *ring, int32_t size) {
  return auspool::ring::set_size(*ring, size);
}

int32_t rbuffer2_write(rbuffer2 *ring, const void *source0, const void *source1, int32_t count) {
  return auspool::ring::write(*ring, std::array{source0, source1}, count);
}

int32_t rbuffer2_read(rbuffer2 *ring, void *destination0, void *destination1, int32_t count) {
  return auspool::ring::read(*ring, std::array{destination0, destination1}, count);
}

void rbuffer2_flush(rbuffer2 *ring) {
  auspool::ring::flush(*ring);
}

void rbuffer2_flush_w(rbuffer2 *ring) {
  auspool::ring::flush(*ring);
}

void rbuffer2_flush_sync(rbuffer2 *ring) {
  auspool::ring::flush_sync(*ring);
}

int32_t rbuffer2_used_space(const rbuffer2 *ring) {
  return auspool::ring::used_space(*ring);
}

int32_t rbuffer2_free_space(const rbuffer2 *ring) {
  return ring->free_space.load(std::memory_order_acquire);
}

int32_t rbuffer2_size(const rbuffer2 *ring) {
  return ring->size;
}
