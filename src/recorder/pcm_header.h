// The headers of AIFF and WAVE files.
#pragma once

#include <cstddef>
#include <cstdint>

namespace auspool {

constexpr std::size_t kAiffHeaderBytes = 54, kWaveHeaderBytes = 44;  // without tags

// Write the whole header into `buffer`, which holds the bytes above and `tag_length` more. The tag block stands in
// front of the audio's chunk; with a length of 0 `tag_data` is not looked at.
void fill_aiff_header(std::uint8_t *buffer, long frames, float sample_rate, int channels, int bits,
                      const std::uint8_t *tag_data, std::int32_t tag_length);
void fill_wave_header(std::uint8_t *buffer, long frames, float sample_rate, int channels, int bits,
                      const std::uint8_t *tag_data, std::int32_t tag_length);

}  // namespace auspool
