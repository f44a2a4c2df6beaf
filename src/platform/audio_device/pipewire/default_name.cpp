#include "platform/audio_device/pipewire/default_name.h"

#include <spa/utils/json.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace auspool::platform {

std::string name_in_json(const char *json) {
  if (!json) return {};
  spa_json outer, object;
  spa_json_init(&outer, json, std::strlen(json));
  if (spa_json_enter_object(&outer, &object) <= 0) return {};
  char key[64];
  std::string value(std::strlen(json) + 1, '\0');  // no text in it is longer
  while (spa_json_get_string(&object, key, sizeof key) > 0) {
    if (spa_json_get_string(&object, value.data(), static_cast<int>(value.size())) <= 0) break;
    if (std::string_view(key) == "name") return value.c_str();
  }
  return {};
}

std::string json_with_name(const std::string &name) {
  std::string text(6 * name.size() + 3, '\0');  // a control character becomes six
  const int length = spa_json_encode_string(text.data(), static_cast<int>(text.size()), name.c_str());
  text.resize(static_cast<std::size_t>(std::max(length, 0)));
  return "{\"name\":" + text + "}";
}

}  // namespace auspool::platform
