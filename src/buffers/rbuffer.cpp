#include "auspool/rbuffer.h"

#include "buffers/ring_operations.h"

rbuffer::~rbuffer() {
  auspool::ring::release_storage(*this);
}

rbuffer *rbuffer_create(int32_t size, int32_t lock_memory) {
  return auspool::ring::create<rbuffer>(size, lock_memory);
}

void rbuffer_destroy(rbuffer *ring) {
  delete ring;
}

int32_t rbuffer_set_size(rbuffer *ring, int32_t size) {
  return auspool::ring::set_size(*ring, size);
}

int32_t rbuffer_write(rbuffer *ring, const void *source, int32_t count) {
  return auspool::ring::write(*ring, std::array{source}, count);
}

int32_t rbuffer_read(rbuffer *ring, void *destination, int32_t count) {
  return auspool::ring::read(*ring, std::array{destination}, count);
}

void rbuffer_flush(rbuffer *ring) {
  auspool::ring::flush(*ring);
}

void rbuffer_flush_w(rbuffer *ring) {
  auspool::ring::flush(*ring);
}

void rbuffer_flush_sync(rbuffer *ring) {
  auspool::ring::flush_sync(*ring);
}

int32_t rbuffer_used_space(const rbuffer *ring) {
  return auspool::ring::used_space(*ring);
}

int32_t rbuffer_free_space(const rbuffer *ring) {
  return ring->free_space.load(std::memory_order_acquire);
}

int32_t rbuffer_size(const rbuffer *ring) {
  return ring->size;
}
