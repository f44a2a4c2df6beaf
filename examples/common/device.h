// Choosing backends and finding devices.
#pragma once

#include <auspool/audevice.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "common/command_line.h"

namespace example {

// A status as its four characters where it is such, and as a number.
inline std::string status_text(std::int32_t status) {
  std::string text = " (";
  for (int shift = 24; shift >= 0; shift -= 8) {
    const char c = static_cast<char>(status >> shift);
    if (c < 0x20 || c > 0x7e) return " (" + std::to_string(status) + ")";
    text += c;
  }
  return text + ")";
}

inline int print_backends() {
  const char *const chosen = audevice_backend();
  for (int i = 0; const char *name = audevice_backend_name(i); ++i)
    std::printf("%s%s\n", name, chosen && std::string(chosen) == name ? " (default)" : "");
  return 0;
}

// An empty name is the default.
inline void choose_backend(const std::string &name) {
  if (name.empty()) return;
  if (audevice_choose_backend(name.c_str()) != 0) throw UsageError("there is no backend " + name);
}

inline std::vector<audevice_info> devices() {
  for (std::vector<audevice_info> all(32);;) {
    std::int32_t count = 0;
    const std::int32_t status = audevice_list(all.data(), static_cast<std::int32_t>(all.size()), &count);
    if (status != 0) throw std::runtime_error("the sound devices cannot be listed" + status_text(status));
    const bool complete = static_cast<std::size_t>(count) <= all.size();
    all.resize(static_cast<std::size_t>(count));
    if (complete) return all;
  }
}

// The name of a device, for people.
inline std::string device_name(std::uint32_t id) {
  for (const audevice_info &device : devices())
    if (device.id == id) return device.name;
  return "device " + std::to_string(id);
}

// A device by its number or its uid, which alone is the same in another process; an empty text is 0, the default.
inline std::uint32_t find_device(const std::string &wanted) {
  if (wanted.empty()) return 0;
  if (wanted.find_first_not_of("0123456789") == std::string::npos)
    return static_cast<std::uint32_t>(number(wanted, 2, 0xFFFFFFFDu));
  // Numbers are those of a backend as long as it is open, which it is while something uses it.
  static const std::unique_ptr<audevice_watch, void (*)(audevice_watch *)> keeps_open(
      audevice_watch_create([](void *) {}, nullptr), audevice_watch_destroy);
  for (const audevice_info &device : devices())
    if (wanted == device.uid) return device.id;
  throw UsageError("there is no device " + wanted);
}

}  // namespace example
