// The printed form, JSON as RFC 8259 has it.
#include <array>
#include <charconv>
#include <cmath>

#include "tags/dict/node.h"
#include "tags/guard.h"

namespace auspool::tags {
namespace {

void print(std::string &to, const audict *value);

void print(std::string &to, const std::string &text) {
  constexpr const char *digits = "0123456789abcdef";
  to += '"';
  for (const char c : text) {
    const auto code = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      to += '\\';
      to += c;
    } else if (code < 0x20 || code == 0x7F) {
      to += "\\u00";
      to += digits[code >> 4];
      to += digits[code & 15];
    } else {
      to += c;
    }
  }
  to += '"';
}

template <typename T>
void print_number(std::string &to, T value) {
  std::array<char, 32> text;  // the shortest form of a double that reads back the same has at most 24 characters
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
  to.append(text.data(), end);
}

void print(std::string &to, const Number &number) {
  if (!number.is_float()) {
    print_number(to, number.integer);
  } else if (!std::isfinite(number.real)) {
    to += "null";
  } else if (number.type == AUDICT_FLOAT32) {
    print_number(to, static_cast<float>(number.real));
  } else {
    print_number(to, number.real);
  }
}

void print(std::string &to, bool truth) {
  to += truth ? "true" : "false";
}

void print(std::string &to, const Bytes &bytes) {
  to += "{\"length\": ";
  print_number(to, bytes.size());
  to += '}';
}

void print(std::string &to, const Array &array) {
  to += '[';
  for (std::size_t i = 0; i < array.size(); ++i) {
    if (i != 0) to += ", ";
    print(to, array[i].get());
  }
  to += ']';
}

void print(std::string &to, const Dictionary &dictionary) {
  to += '{';
  for (std::size_t i = 0; i < dictionary.size(); ++i) {
    if (i != 0) to += ", ";
    print(to, dictionary[i].first);
    to += ": ";
    print(to, dictionary[i].second.get());
  }
  to += '}';
}

void print(std::string &to, const audict *value) {
  if (value == nullptr) {
    to += "null";
    return;
  }
  std::visit([&to](const auto &content) { print(to, content); }, value->content);
}

}  // namespace
}  // namespace auspool::tags

audict *audict_print(const audict *value) {
  using namespace auspool::tags;
  return guarded<audict *>(nullptr, [value] {
    std::string text;
    print(text, value);
    return make_string(std::move(text)).release();
  });
}
