// Copies and equality.
#include <algorithm>
#include <cmath>

#include "tags/dict/node.h"
#include "tags/guard.h"

namespace auspool::tags {
namespace {

bool same(const std::string &a, const std::string &b) {
  return a == b;
}
bool same(bool a, bool b) {
  return a == b;
}
bool same(const Bytes &a, const Bytes &b) {
  return a == b;
}

bool same(const Number &a, const Number &b) {
  if (!a.is_float() && !b.is_float()) return a.integer == b.integer;
  if (a.is_float() && b.is_float()) return a.real == b.real || (std::isnan(a.real) && std::isnan(b.real));
  // Compared as integers: a double has no room for all of 64 bits.
  const Number &real = a.is_float() ? a : b;
  const Number &integer = a.is_float() ? b : a;
  return fits_64_bits(real.real) && std::trunc(real.real) == real.real &&
         static_cast<std::int64_t>(real.real) == integer.integer;
}

bool same(const Array &a, const Array &b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const Ref &x, const Ref &y) { return audict_equal(x.get(), y.get()); });
}

bool same(const Dictionary &a, const Dictionary &b) {
  return a.size() == b.size() && std::all_of(a.begin(), a.end(), [&b](const auto &entry) {
           return std::any_of(b.begin(), b.end(), [&entry](const auto &other) {
             return other.first == entry.first && audict_equal(entry.second.get(), other.second.get());
           });
         });
}

Content copied(const std::string &text) {
  return text;
}
Content copied(const Number &number) {
  return number;
}
Content copied(bool truth) {
  return truth;
}
Content copied(const Bytes &bytes) {
  return bytes;
}

// The values inside a container are fixed, so that sharing them is as good as copying them.
Content copied(const Array &array) {
  Array result;
  for (const Ref &value : array) result.push_back(Ref(audict_retain(value.get())));
  return result;
}

Content copied(const Dictionary &dictionary) {
  Dictionary result;
  for (const auto &[key, value] : dictionary) result.emplace_back(key, Ref(audict_retain(value.get())));
  return result;
}

}  // namespace
}  // namespace auspool::tags

using namespace auspool::tags;

bool audict_equal(const audict *a, const audict *b) {
  if (a == b || a == nullptr || b == nullptr) return a == b;
  if (a->content.index() != b->content.index()) return false;
  return std::visit(
      [b](const auto &content) { return same(content, std::get<std::decay_t<decltype(content)>>(b->content)); },
      a->content);
}

audict *audict_copy(const audict *value) {
  if (value == nullptr) return nullptr;
  return guarded<audict *>(nullptr, [value] {
    Ref copy = make(std::visit([](const auto &content) { return copied(content); }, value->content));
    copy->height = value->height;
    return copy.release();
  });
}
