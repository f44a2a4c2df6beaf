// Arrays and dictionaries: looking up and changing.
#include <algorithm>

#include "base/utf8.h"
#include "tags/dict/node.h"
#include "tags/guard.h"

namespace auspool::tags {
namespace {

template <typename T>
auto *find(T &dictionary, std::string_view key) {
  const auto at = std::find_if(dictionary.begin(), dictionary.end(), [key](auto &entry) { return entry.first == key; });
  return at != dictionary.end() ? &*at : nullptr;
}

template <typename T>
T *changeable(audict *container) {
  if (container == nullptr || container->fixed.load(std::memory_order_relaxed)) return nullptr;
  return std::get_if<T>(&container->content);
}

bool may_hold(const audict *container, const audict *value) {
  return value != nullptr && value != container && value->height < AUDICT_DEPTH_MAX;
}

// The last step of putting a value in, which cannot fail.
audict *enter(audict &container, audict *value) {
  value->fixed.store(true, std::memory_order_relaxed);
  container.height = std::max<std::uint8_t>(container.height, static_cast<std::uint8_t>(value->height + 1));
  return value;
}

void replace(audict &container, Ref &place, Ref value) {
  enter(container, value.get());
  place = std::move(value);
}

void insert(audict &dictionary, std::string_view key, Ref value) {
  std::get<Dictionary>(dictionary.content).emplace_back(std::string(key), nullptr);
  replace(dictionary, std::get<Dictionary>(dictionary.content).back().second, std::move(value));
}

bool put(audict *dictionary, const char *key, audict *value, bool keep) {
  Dictionary *entries = changeable<Dictionary>(dictionary);
  if (entries == nullptr || key == nullptr || !may_hold(dictionary, value) || !valid_utf8(key)) return false;
  if (keep && find(*entries, key) != nullptr) return true;
  return guarded(false, [&] {
    set(*dictionary, key, Ref(audict_retain(value)));
    return true;
  });
}

}  // namespace

void set(audict &dictionary, std::string_view key, Ref value) {
  if (auto *entry = find(std::get<Dictionary>(dictionary.content), key)) {
    replace(dictionary, entry->second, std::move(value));
  } else {
    insert(dictionary, key, std::move(value));
  }
}

void add(audict &dictionary, std::string_view key, Ref value) {
  if (find(std::get<Dictionary>(dictionary.content), key) == nullptr) insert(dictionary, key, std::move(value));
}

void append(audict &array, Ref value) {
  Array &elements = std::get<Array>(array.content);
  elements.emplace_back();
  replace(array, elements.back(), std::move(value));
}

}  // namespace auspool::tags

using namespace auspool::tags;

std::size_t audict_count(const audict *container) {
  if (const Array *array = content_of<Array>(container)) return array->size();
  const Dictionary *dictionary = content_of<Dictionary>(container);
  return dictionary != nullptr ? dictionary->size() : 0;
}

audict *audict_at(const audict *container, std::size_t index) {
  if (index >= audict_count(container)) return nullptr;
  if (const Array *array = content_of<Array>(container)) return (*array)[index].get();
  return (*content_of<Dictionary>(container))[index].second.get();
}

const char *audict_key_at(const audict *dictionary, std::size_t index) {
  const Dictionary *entries = content_of<Dictionary>(dictionary);
  return entries != nullptr && index < entries->size() ? (*entries)[index].first.c_str() : nullptr;
}

audict *audict_get(const audict *dictionary, const char *key) {
  const Dictionary *entries = content_of<Dictionary>(dictionary);
  if (entries == nullptr || key == nullptr) return nullptr;
  const auto *entry = find(*entries, key);
  return entry != nullptr ? entry->second.get() : nullptr;
}

bool audict_set(audict *dictionary, const char *key, audict *value) {
  return put(dictionary, key, value, false);
}

bool audict_add(audict *dictionary, const char *key, audict *value) {
  return put(dictionary, key, value, true);
}

bool audict_remove(audict *dictionary, const char *key) {
  Dictionary *entries = changeable<Dictionary>(dictionary);
  if (entries == nullptr || key == nullptr) return false;
  return std::erase_if(*entries, [key](const auto &entry) { return entry.first == key; }) != 0;
}

bool audict_append(audict *array, audict *value) {
  if (changeable<Array>(array) == nullptr || !may_hold(array, value)) return false;
  return guarded(false, [&] {
    append(*array, Ref(audict_retain(value)));
    return true;
  });
}

bool audict_replace_at(audict *array, std::size_t index, audict *value) {
  Array *elements = changeable<Array>(array);
  if (elements == nullptr || index >= elements->size() || !may_hold(array, value)) return false;
  replace(*array, (*elements)[index], Ref(audict_retain(value)));
  return true;
}

bool audict_remove_at(audict *array, std::size_t index) {
  Array *elements = changeable<Array>(array);
  if (elements == nullptr || index >= elements->size()) return false;
  elements->erase(elements->begin() + static_cast<std::ptrdiff_t>(index));
  return true;
}
