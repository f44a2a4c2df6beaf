// The properties of an object as bytes under their addresses.
#pragma once

#include <algorithm>
#include <cstring>
#include <span>
#include <vector>

#include "platform/audio_device.h"

namespace auspool::platform {

class PropertyStore {
public:
  DeviceStatus read(const PropertyAddress &address, std::uint32_t *bytes, void *value) const {
    const Item *const item = find(address);
    if (!item) return AUDEVICE_UNKNOWN_PROPERTY;
    *bytes = std::min(*bytes, static_cast<std::uint32_t>(item->value.size()));
    std::copy_n(item->value.data(), *bytes, static_cast<std::byte *>(value));
    return 0;
  }

  DeviceStatus size(const PropertyAddress &address, std::uint32_t *bytes) const {
    const Item *const item = find(address);
    if (!item) return AUDEVICE_UNKNOWN_PROPERTY;
    *bytes = static_cast<std::uint32_t>(item->value.size());
    return 0;
  }

  bool has(const PropertyAddress &address) const { return find(address) != nullptr; }

  // Both return whether anything changed.
  bool put(const PropertyAddress &address, std::span<const std::byte> value) {
    if (const Item *const item = find(address); item && std::ranges::equal(item->value, value)) return false;
    items_.push_back({address, {value.begin(), value.end()}});
    const auto old = std::ranges::find(items_, address, &Item::address);
    if (old != items_.end() - 1) items_.erase(old);
    return true;
  }
  bool remove(const PropertyAddress &address) {
    return std::erase_if(items_, [&](const Item &item) { return item.address == address; }) != 0;
  }

  template <typename T>
  bool put(const PropertyAddress &address, const T &value) {
    return put(address, std::as_bytes(std::span(&value, 1)));
  }

  // A value of that very size, or `otherwise`.
  template <typename T>
  T get(const PropertyAddress &address, T otherwise) const {
    if (const Item *const item = find(address); item && item->value.size() == sizeof(T)) {
      std::memcpy(&otherwise, item->value.data(), sizeof(T));
    }
    return otherwise;
  }

private:
  struct Item {
    PropertyAddress address;
    std::vector<std::byte> value;
  };

  const Item *find(const PropertyAddress &address) const {
    const auto found = std::ranges::find(items_, address, &Item::address);
    return found == items_.end() ? nullptr : &*found;
  }

  std::vector<Item> items_;
};

}  // namespace auspool::platform
