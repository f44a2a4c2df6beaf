#include "platform/property_list.h"

#include <plist/plist.h>

#include <cstdlib>
#include <limits>
#include <memory>

namespace auspool::platform {
namespace {

struct Free {
  void operator()(void *block) const { std::free(block); }
};
struct Release {
  void operator()(audict *value) const { audict_release(value); }
};
struct Dispose {
  void operator()(void *node) const { plist_free(node); }
};
using Value = std::unique_ptr<audict, Release>;
using Node = std::unique_ptr<void, Dispose>;

Value converted(plist_t node, int depth);

Value string(plist_t node) {
  return Value(audict_create_string(plist_get_string_ptr(node, nullptr)));
}

// The library's integers are the 64 bits of a signed or unsigned number; we read them as signed.
Value integer(plist_t node) {
  std::uint64_t number = 0;
  plist_get_uint_val(node, &number);
  return Value(audict_create_integer(static_cast<std::int64_t>(number), AUDICT_INT64));
}

Value real(plist_t node) {
  double number = 0;
  plist_get_real_val(node, &number);
  return Value(audict_create_float(number, AUDICT_FLOAT64));
}

Value boolean(plist_t node) {
  std::uint8_t truth = 0;
  plist_get_bool_val(node, &truth);
  return Value(audict_create_boolean(truth != 0));
}

Value data(plist_t node) {
  std::uint64_t length = 0;
  const char *bytes = plist_get_data_ptr(node, &length);
  return Value(audict_create_data(bytes, static_cast<std::size_t>(length)));
}

Value array(plist_t node, int depth) {
  Value result(audict_create_array());
  const std::uint32_t count = plist_array_get_size(node);
  for (std::uint32_t i = 0; i < count; ++i) {
    if (!audict_append(result.get(), converted(plist_array_get_item(node, i), depth).get())) return nullptr;
  }
  return result;
}

Value dictionary(plist_t node, int depth) {
  Value result(audict_create());
  plist_dict_iter iterator = nullptr;
  plist_dict_new_iter(node, &iterator);
  const std::unique_ptr<void, Free> iterator_owner(iterator);
  while (true) {
    char *key = nullptr;
    plist_t value = nullptr;
    plist_dict_next_item(node, iterator, &key, &value);
    const std::unique_ptr<char, Free> key_owner(key);
    if (value == nullptr) return result;
    if (!audict_set(result.get(), key, converted(value, depth).get())) return nullptr;
  }
}

Value converted(plist_t node, int depth) {
  if (depth > AUDICT_DEPTH_MAX) return nullptr;
  switch (plist_get_node_type(node)) {
  case PLIST_STRING:
    return string(node);
  case PLIST_UINT:
    return integer(node);
  case PLIST_REAL:
    return real(node);
  case PLIST_BOOLEAN:
    return boolean(node);
  case PLIST_DATA:
    return data(node);
  case PLIST_ARRAY:
    return array(node, depth + 1);
  case PLIST_DICT:
    return dictionary(node, depth + 1);
  default:
    return nullptr;
  }
}

Node node_of(const audict *value);

// The library cannot say that memory ran out, except for the value itself.
Node array_node(const audict *array) {
  Node result(plist_new_array());
  for (std::size_t i = 0; result && i < audict_count(array); ++i) {
    Node element = node_of(audict_at(array, i));
    if (!element) return nullptr;
    plist_array_append_item(result.get(), element.release());
  }
  return result;
}

Node dictionary_node(const audict *dictionary) {
  Node result(plist_new_dict());
  for (std::size_t i = 0; result && i < audict_count(dictionary); ++i) {
    Node element = node_of(audict_at(dictionary, i));
    if (!element) return nullptr;
    plist_dict_set_item(result.get(), audict_key_at(dictionary, i), element.release());
  }
  return result;
}

Node number_node(const audict *number) {
  std::int64_t integer = 0;
  double real = 0;
  if (audict_number_type_of(number) >= AUDICT_FLOAT32 && audict_float(number, &real)) return Node(plist_new_real(real));
  audict_integer(number, &integer);
  return Node(plist_new_uint(static_cast<std::uint64_t>(integer)));
}

Node data_node(const audict *value) {
  std::size_t length = 0;
  const auto *bytes = static_cast<const char *>(audict_data(value, &length));
  return Node(plist_new_data(bytes, length));
}

Node node_of(const audict *value) {
  bool truth = false;
  switch (audict_kind_of(value)) {
  case AUDICT_STRING:
    return Node(plist_new_string(audict_string(value)));
  case AUDICT_NUMBER:
    return number_node(value);
  case AUDICT_BOOLEAN:
    audict_boolean(value, &truth);
    return Node(plist_new_bool(truth));
  case AUDICT_DATA:
    return data_node(value);
  case AUDICT_ARRAY:
    return array_node(value);
  case AUDICT_DICTIONARY:
    return dictionary_node(value);
  case AUDICT_NONE:
    break;
  }
  return nullptr;
}

}  // namespace

std::optional<std::vector<std::uint8_t>> write_binary_property_list(const audict *value) {
  const Node root = node_of(value);
  if (!root) return std::nullopt;
  char *bytes = nullptr;
  std::uint32_t length = 0;
  plist_to_bin(root.get(), &bytes, &length);
  const std::unique_ptr<char, Free> owner(bytes);
  if (bytes == nullptr) return std::nullopt;
  return std::vector<std::uint8_t>(bytes, bytes + length);
}

audict *read_property_list(std::span<const std::uint8_t> bytes) {
  if (bytes.size() > std::numeric_limits<std::uint32_t>::max()) return nullptr;
  plist_t root = nullptr;
  plist_from_memory(reinterpret_cast<const char *>(bytes.data()), static_cast<std::uint32_t>(bytes.size()), &root);
  const std::unique_ptr<void, Dispose> root_owner(root);
  return root != nullptr ? converted(root, 0).release() : nullptr;
}

}  // namespace auspool::platform
