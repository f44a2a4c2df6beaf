// Readers and creators in one call with audict_get, audict_set and audict_add.
#include "tags/dict/node.h"

using auspool::tags::Ref;

const char *audict_get_string(const audict *dictionary, const char *key) {
  return audict_string(audict_get(dictionary, key));
}

bool audict_get_integer(const audict *dictionary, const char *key, std::int64_t *result) {
  return audict_integer(audict_get(dictionary, key), result);
}

bool audict_get_float(const audict *dictionary, const char *key, double *result) {
  return audict_float(audict_get(dictionary, key), result);
}

bool audict_get_boolean(const audict *dictionary, const char *key, bool *result) {
  return audict_boolean(audict_get(dictionary, key), result);
}

const void *audict_get_data(const audict *dictionary, const char *key, std::size_t *length) {
  return audict_data(audict_get(dictionary, key), length);
}

bool audict_set_string(audict *dictionary, const char *key, const char *text) {
  return audict_set(dictionary, key, Ref(audict_create_string(text)).get());
}

bool audict_set_integer(audict *dictionary, const char *key, std::int64_t value, audict_number_type type) {
  return audict_set(dictionary, key, Ref(audict_create_integer(value, type)).get());
}

bool audict_set_float(audict *dictionary, const char *key, double value, audict_number_type type) {
  return audict_set(dictionary, key, Ref(audict_create_float(value, type)).get());
}

bool audict_set_boolean(audict *dictionary, const char *key, bool value) {
  return audict_set(dictionary, key, Ref(audict_create_boolean(value)).get());
}

bool audict_set_data(audict *dictionary, const char *key, const void *bytes, std::size_t length) {
  return audict_set(dictionary, key, Ref(audict_create_data(bytes, length)).get());
}

bool audict_add_string(audict *dictionary, const char *key, const char *text) {
  return audict_add(dictionary, key, Ref(audict_create_string(text)).get());
}

bool audict_add_integer(audict *dictionary, const char *key, std::int64_t value, audict_number_type type) {
  return audict_add(dictionary, key, Ref(audict_create_integer(value, type)).get());
}

bool audict_add_float(audict *dictionary, const char *key, double value, audict_number_type type) {
  return audict_add(dictionary, key, Ref(audict_create_float(value, type)).get());
}

bool audict_add_boolean(audict *dictionary, const char *key, bool value) {
  return audict_add(dictionary, key, Ref(audict_create_boolean(value)).get());
}

bool audict_add_data(audict *dictionary, const char *key, const void *bytes, std::size_t length) {
  return audict_add(dictionary, key, Ref(audict_create_data(bytes, length)).get());
}
