// Any sequence of operations on both rings, beside a queue that keeps what must be in them.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <memory>
#include <vector>

#include "auspool/rbuffer.h"

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

constexpr std::uint8_t kOtherPlane = 0xff;  // what the second plane's bytes differ by

class Model {
public:
  void resize(std::int32_t size) {
    size_ = std::max(size, 0);
    held_.clear();
  }
  std::int32_t write(const std::vector<std::uint8_t> &bytes) {
    const std::size_t count = std::min(bytes.size(), static_cast<std::size_t>(size_) - held_.size());
    held_.insert(held_.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
    return static_cast<std::int32_t>(count);
  }
  // Takes `count` bytes, which `bytes` must hold unless it is null.
  void read(const std::uint8_t *bytes, std::int32_t count, std::uint8_t difference) {
    require(count <= used());
    for (std::int32_t i = 0; i < count; ++i) {
      require(!bytes || bytes[i] == (held_[static_cast<std::size_t>(i)] ^ difference));
    }
  }
  void drop(std::int32_t count) { held_.erase(held_.begin(), held_.begin() + count); }
  std::int32_t used() const { return static_cast<std::int32_t>(held_.size()); }
  std::int32_t free() const { return size_ - used(); }

private:
  std::int32_t size_ = 0;
  std::deque<std::uint8_t> held_;
};

class Pair {
public:
  explicit Pair(std::int32_t size) : one_(rbuffer_create(size, 0)), two_(rbuffer2_create(size, 0)) {
    require(one_ && two_);
    model_.resize(size);
  }
  ~Pair() {
    rbuffer_destroy(one_);
    rbuffer2_destroy(two_);
  }
  Pair(const Pair &) = delete;
  Pair &operator=(const Pair &) = delete;

  void resize(std::int32_t size) {
    require(rbuffer_set_size(one_, size) == 0 && rbuffer2_set_size(two_, size) == 0);
    model_.resize(size);
  }
  void write(const std::vector<std::uint8_t> &bytes) {
    std::vector<std::uint8_t> other = bytes;
    for (auto &byte : other) byte ^= kOtherPlane;
    const auto count = static_cast<std::int32_t>(bytes.size());
    const std::int32_t expected = model_.write(bytes);
    require(rbuffer_write(one_, bytes.data(), count) == expected);
    require(rbuffer2_write(two_, bytes.data(), other.data(), count) == expected);
  }
  void read(std::int32_t count, bool into0, bool into1) {
    const auto room = static_cast<std::size_t>(std::clamp(count, 0, model_.used()));
    const std::unique_ptr<std::uint8_t[]> plane0(new std::uint8_t[room]), plane1(new std::uint8_t[room]);
    std::uint8_t *const to0 = into0 ? plane0.get() : nullptr, *const to1 = into1 ? plane1.get() : nullptr;
    const auto expected = static_cast<std::int32_t>(room);
    require(rbuffer_read(one_, to0, count) == expected);
    model_.read(to0, expected, 0);
    require(rbuffer2_read(two_, to0, to1, count) == expected);
    model_.read(to0, expected, 0);
    model_.read(to1, expected, kOtherPlane);
    model_.drop(expected);
  }
  void flush(bool sync) {
    (sync ? rbuffer_flush_sync : rbuffer_flush)(one_);
    (sync ? rbuffer2_flush_sync : rbuffer2_flush_w)(two_);
    model_.drop(model_.used());
  }
  void check() const {
    require(rbuffer_used_space(one_) == model_.used() && rbuffer2_used_space(two_) == model_.used());
    require(rbuffer_free_space(one_) == model_.free() && rbuffer2_free_space(two_) == model_.free());
  }

private:
  rbuffer *one_;
  rbuffer2 *two_;
  Model model_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const auto any_size = [&] { return input.ConsumeIntegralInRange<std::int32_t>(-2, 300); };
  Pair rings(any_size());
  while (input.remaining_bytes() > 0) {
    switch (input.ConsumeIntegralInRange(0, 6)) {
    case 0:
      rings.resize(any_size());
      break;
    case 1:
      rings.flush(input.ConsumeBool());
      break;
    case 2:
      rings.read(input.ConsumeIntegral<std::int32_t>(), input.ConsumeBool(), input.ConsumeBool());
      break;
    case 3:
    case 4:
      rings.read(any_size(), input.ConsumeBool(), input.ConsumeBool());
      break;
    default:
      rings.write(input.ConsumeBytes<std::uint8_t>(static_cast<std::size_t>(std::max(any_size(), 0))));
      break;
    }
    rings.check();
  }
  return 0;
}
