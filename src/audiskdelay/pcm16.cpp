#include "audiskdelay/pcm16.h"

#include <cstring>

namespace auspool::audiskdelay {

// From the last to the first: so no sample is overwritten before it has been read.
void expand_pcm16(float *buffer, std::size_t samples) {
  const auto *from = reinterpret_cast<const unsigned char *>(buffer);
  for (std::size_t i = samples; i-- > 0;) {
    std::int16_t sample;
    std::memcpy(&sample, from + i * sizeof sample, sizeof sample);
    buffer[i] = static_cast<float>(sample) * 3.0517578e-5f;  // 1 / 32768
  }
}

}  // namespace auspool::audiskdelay
