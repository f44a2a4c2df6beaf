#pragma once

#include <cstdint>

#include "auspool/aurec.h"

namespace auspool {

bool is_in_bitrate_table(std::uint32_t bitrate, const std::uint32_t *table);

}  // namespace auspool
