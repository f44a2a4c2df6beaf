// The time stamps of MPEG-4 files.
#pragma once

#include <chrono>
#include <cstdint>

namespace auspool {

// Seconds of the system's clock since 1904, and four hours more: what the files of this library have always held.
inline std::uint32_t mpeg4_seconds_now() {
  constexpr std::int64_t kEpoch = 2082859200;
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::seconds>(now).count() + kEpoch);
}

}  // namespace auspool
