// The bitrates that hosts offer. The legacy tables are what the encoders take, the unified ones the common choice.
#include "recorder/bitrate_tables.h"

extern "C" {
const std::uint32_t mp3_bitrate_table_legacy[18] = {8,  16,  24,  32,  40,  48,  56,  64,  80,
                                                    96, 112, 128, 160, 192, 224, 256, 320, 0};
const std::uint32_t mp3_bitrate_table_unified[16] = {8,   16,  32,  48,  56,  64,  80,  96,
                                                     112, 128, 160, 192, 224, 256, 320, 0};
const std::uint32_t aac_bitrate_table_legacy[19] = {16, 20,  24,  28,  32,  40,  48,  56,  64, 80,
                                                    96, 112, 128, 160, 192, 224, 256, 320, 0};
const std::uint32_t aac_bitrate_table_unified[15] = {16, 24, 32, 48, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 0};
}

namespace auspool {

bool is_in_bitrate_table(std::uint32_t bitrate, const std::uint32_t *table) {
  for (; *table != 0; ++table) {
    if (*table == bitrate) return true;
  }
  return false;
}

}  // namespace auspool
