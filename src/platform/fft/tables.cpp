#include "platform/fft/tables.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <mutex>
#include <new>

#include "platform/fft/roots.h"

namespace auspool::fft {
namespace {

constexpr std::size_t kCacheLine = 64;

template <typename T>
class Maker {
public:
  Maker(Tables<T> &tables, std::size_t size, std::size_t lanes)
      : tables_(tables), lanes_(lanes), size_(size), roots_(size) {
    tables_.size = size;
    tables_.lanes = lanes;
  }

  void make() {
    reserve();
    for (std::size_t r = size_; r >= 4 * lanes_; r /= 2) tables_.halves[log2(r)] = row(r, r / 4, 2.0);
    for (std::size_t m = size_ / 2; m >= 4 * lanes_; m /= 2) tables_.quarters[log2(m)] = quarters(m);
    tables_.pairs_2l = row(2 * lanes_, lanes_, 1.0);
    tables_.pairs_8l = row(8 * lanes_, 4 * lanes_, 1.0);
    make_order();
  }

private:
  static std::size_t log2(std::size_t n) { return static_cast<std::size_t>(std::bit_width(n) - 1); }

  void reserve() {
    std::size_t complex = 5 * lanes_;
    for (std::size_t r = size_; r >= 4 * lanes_; r /= 2) complex += r / 4;
    for (std::size_t m = size_ / 2; m >= 4 * lanes_; m /= 2) complex += 3 * m / 4;
    const std::size_t bytes = (2 * complex * sizeof(T) + kCacheLine - 1) / kCacheLine * kCacheLine;
    tables_.storage = {static_cast<T *>(std::aligned_alloc(kCacheLine, bytes)), std::free};
    if (!tables_.storage) throw std::bad_alloc();
    next_ = tables_.storage.get();
  }

  // One vector of scale * exp(-2 pi i (first + l) step / size).
  void vector(std::size_t first, std::size_t step, double scale) {
    for (std::size_t l = 0; l < lanes_; ++l) {
      const std::complex<double> root = roots_(((first + l) * step) & (size_ - 1));
      next_[l] = static_cast<T>(scale * root.real());
      next_[lanes_ + l] = static_cast<T>(scale * root.imag());
    }
    next_ += 2 * lanes_;
  }

  const T *row(std::size_t points, std::size_t count, double scale) {
    const T *start = next_;
    for (std::size_t n = 0; n < count; n += lanes_) vector(n, size_ / points, scale);
    return start;
  }

  const T *quarters(std::size_t points) {
    const T *start = next_;
    for (std::size_t n = 0; n < points / 4; n += lanes_) {
      for (std::size_t j = 1; j <= 3; ++j) vector(n, j * (size_ / points), 1.0);
    }
    return start;
  }

  void make_order() {
    const std::size_t groups = size_ / 2 / (lanes_ * lanes_);
    tables_.order.resize(std::max<std::size_t>(groups, 1));
    for (std::size_t j = 1; j < groups; ++j) {
      tables_.order[j] = (tables_.order[j / 2] | (j % 2 != 0 ? static_cast<std::uint32_t>(groups) : 0)) / 2;
    }
  }

  Tables<T> &tables_;
  std::size_t lanes_;
  std::size_t size_;
  Roots roots_;
  T *next_ = nullptr;
};

// What is in use, by size and width. Plain data, so that nothing runs before main or after it.
template <typename T>
struct Shared {
  Tables<T> *tables;
  int users;
};
constexpr std::size_t kWidths = 5;  // 1, 2, 4, 8 and 16 lanes
template <typename T>
constinit Shared<T> shared[kMaxLog2 + 1][kWidths] = {};
constinit std::mutex shared_mutex;

template <typename T>
Shared<T> &slot(std::size_t size, std::size_t lanes) {
  return shared<T>[std::bit_width(size) - 1][std::bit_width(lanes) - 1];
}

}  // namespace

template <typename T>
const Tables<T> *acquire_tables(int log2_size, std::size_t lanes) {
  const std::size_t size = std::size_t{1} << log2_size;
  const std::lock_guard lock(shared_mutex);
  Shared<T> &found = slot<T>(size, lanes);
  if (found.users == 0) {
    auto made = std::make_unique<Tables<T>>();
    Maker<T>(*made, size, lanes).make();
    found.tables = made.release();
  }
  ++found.users;
  return found.tables;
}

template <typename T>
void release_tables(const Tables<T> *tables) {
  std::unique_ptr<const Tables<T>> unused;  // freed behind the lock
  const std::lock_guard lock(shared_mutex);
  if (--slot<T>(tables->size, tables->lanes).users == 0) unused.reset(tables);
}

template const Tables<float> *acquire_tables(int, std::size_t);
template const Tables<double> *acquire_tables(int, std::size_t);
template void release_tables(const Tables<float> *);
template void release_tables(const Tables<double> *);

}  // namespace auspool::fft
