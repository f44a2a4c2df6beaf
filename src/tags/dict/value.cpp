// Values: creating, counting references, reading.
#include "base/utf8.h"
#include "tags/dict/node.h"
#include "tags/guard.h"

namespace auspool::tags {

Ref make(Content content) {
  Ref value(new audict(std::move(content)));
  if (std::holds_alternative<Array>(value->content) || std::holds_alternative<Dictionary>(value->content)) {
    value->height = 1;
  }
  return value;
}

namespace {

template <typename Make>
audict *create(const Make &make_content) noexcept {
  return guarded<audict *>(nullptr, [&] { return make(make_content()).release(); });
}

bool fits(std::int64_t value, audict_number_type type) {
  switch (type) {
  case AUDICT_INT8:
    return value == static_cast<std::int8_t>(value);
  case AUDICT_INT16:
    return value == static_cast<std::int16_t>(value);
  case AUDICT_INT32:
    return value == static_cast<std::int32_t>(value);
  case AUDICT_INT64:
    return true;
  default:
    return false;
  }
}

}  // namespace
}  // namespace auspool::tags

using namespace auspool::tags;

audict *audict_create() {
  return create([] { return Dictionary(); });
}

audict *audict_create_array() {
  return create([] { return Array(); });
}

audict *audict_create_string(const char *text) {
  if (text == nullptr || !auspool::valid_utf8(text)) return nullptr;
  return create([text] { return std::string(text); });
}

audict *audict_create_integer(std::int64_t value, audict_number_type type) {
  if (!fits(value, type)) return nullptr;
  return create([value, type] { return Number{type, value, 0}; });
}

audict *audict_create_float(double value, audict_number_type type) {
  if (type != AUDICT_FLOAT32 && type != AUDICT_FLOAT64) return nullptr;
  const double stored = type == AUDICT_FLOAT32 ? static_cast<double>(static_cast<float>(value)) : value;
  return create([stored, type] { return Number{type, 0, stored}; });
}

audict *audict_create_boolean(bool value) {
  return create([value] { return value; });
}

audict *audict_create_data(const void *bytes, std::size_t length) {
  if (bytes == nullptr && length != 0) return nullptr;
  const auto *first = static_cast<const std::uint8_t *>(bytes);
  return create([first, length] { return length != 0 ? Bytes(first, first + length) : Bytes(); });
}

audict *audict_retain(audict *value) {
  if (value != nullptr) value->references.fetch_add(1, std::memory_order_relaxed);
  return value;
}

void audict_release(audict *value) {
  // Release publishes this thread's use of the value to the one that frees it, which acquires.
  if (value != nullptr && value->references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete value;
}

audict_kind audict_kind_of(const audict *value) {
  return value != nullptr ? static_cast<audict_kind>(value->content.index() + 1) : AUDICT_NONE;
}

audict_number_type audict_number_type_of(const audict *value) {
  const Number *number = content_of<Number>(value);
  return number != nullptr ? number->type : AUDICT_NO_NUMBER;
}

const char *audict_string(const audict *value) {
  const std::string *text = content_of<std::string>(value);
  return text != nullptr ? text->c_str() : nullptr;
}

bool audict_integer(const audict *value, std::int64_t *result) {
  const Number *number = content_of<Number>(value);
  if (number == nullptr) return false;
  if (number->is_float() && !fits_64_bits(number->real)) return false;
  if (result != nullptr) *result = number->is_float() ? static_cast<std::int64_t>(number->real) : number->integer;
  return true;
}

bool audict_float(const audict *value, double *result) {
  const Number *number = content_of<Number>(value);
  if (number == nullptr) return false;
  if (result != nullptr) *result = number->is_float() ? number->real : static_cast<double>(number->integer);
  return true;
}

bool audict_boolean(const audict *value, bool *result) {
  const bool *truth = content_of<bool>(value);
  if (truth == nullptr) return false;
  if (result != nullptr) *result = *truth;
  return true;
}

const void *audict_data(const audict *value, std::size_t *length) {
  const Bytes *bytes = content_of<Bytes>(value);
  if (length != nullptr) *length = bytes != nullptr ? bytes->size() : 0;
  if (bytes == nullptr) return nullptr;
  static constexpr std::uint8_t kNone = 0;
  return bytes->empty() ? &kNone : bytes->data();
}
