// How a session manager names a device: {"name": "..."}.
#pragma once

#include <string>

namespace auspool::platform {

// Empty where there is none; null is none.
std::string name_in_json(const char *json);
std::string json_with_name(const std::string &name);

}  // namespace auspool::platform
