// What an audict is made of, and the creators that the rest of the family uses. These throw std::bad_alloc where the
// public ones give null.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "auspool/audict.h"

namespace auspool::tags {

struct Release {
  void operator()(audict *value) const { audict_release(value); }
};
// One reference to a value.
using Ref = std::unique_ptr<audict, Release>;

struct Number {
  audict_number_type type = AUDICT_NO_NUMBER;
  std::int64_t integer = 0;  // of the integer types
  double real = 0;           // of the floats

  bool is_float() const { return type >= AUDICT_FLOAT32; }
};

// Whether the whole part of a float has a place in 64 bits: 2^63 is the first that is too large. False for NaN.
constexpr bool fits_64_bits(double real) {
  return real >= -0x1p63 && real < 0x1p63;
}

using Bytes = std::vector<std::uint8_t>;
using Array = std::vector<Ref>;
using Dictionary = std::vector<std::pair<std::string, Ref>>;

// In the order of audict_kind, which starts at 1.
using Content = std::variant<std::string, Number, bool, Bytes, Array, Dictionary>;

}  // namespace auspool::tags

struct audict {
  explicit audict(auspool::tags::Content initial) : content(std::move(initial)) {}

  std::atomic<std::uint32_t> references{1};
  std::atomic<bool> fixed{false};  // it stands in a container
  std::uint8_t height = 0;         // how many levels of containers it is, itself included
  auspool::tags::Content content;
};

namespace auspool::tags {

Ref make(Content content);
inline Ref make_string(std::string utf8) {
  return make(std::move(utf8));
}
inline Ref make_data(Bytes bytes) {
  return make(std::move(bytes));
}
inline Ref make_boolean(bool value) {
  return make(value);
}
inline Ref make_integer(std::int64_t value, audict_number_type type) {
  return make(Number{type, value, 0});
}
inline Ref make_float(double value) {
  return make(Number{AUDICT_FLOAT64, 0, value});
}
inline Ref make_array() {
  return make(Array());
}
inline Ref make_dictionary() {
  return make(Dictionary());
}

// The content when it is of that kind, else null.
template <typename T>
const T *content_of(const audict *value) {
  return value != nullptr ? std::get_if<T>(&value->content) : nullptr;
}

// Replaces, or keeps, what stands under the key of a dictionary that can be changed.
void set(audict &dictionary, std::string_view key, Ref value);
void add(audict &dictionary, std::string_view key, Ref value);
void append(audict &array, Ref value);

}  // namespace auspool::tags
