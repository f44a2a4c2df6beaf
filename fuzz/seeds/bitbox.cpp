// Conversions from floats and from integers to every format, with every dither.
#include <cstring>

#include "auspool/bitbox.h"
#include "bitbox_parameters.h"
#include "seeds/seed.h"

int main(int, char **arguments) {
  using namespace auspool::testing;
  const std::uint32_t formats[] = {16, 24, 32, 0x8010, 0x9018, 0x1010, 0x1018, 0x4020, 0x4040, 0x5020, 0x5040};
  const std::uint32_t dithers[] = {
      0, BITBOX_DITHER_RPDF, BITBOX_DITHER_TPDF, BITBOX_DITHER_SIMPLE, BITBOX_DITHER_POLES, BITBOX_DITHER_CUSTOM};
  int number = 0;
  for (const std::uint32_t from : {0x4020u, 24u}) {
    for (const std::uint32_t to : formats) {
      const Parameters p = {from, to, dithers[number % 6], 48000, {1.5f, -0.8f}, 1, 0, 1, 16, 2, 0, 2100};
      std::string bytes(sizeof p + 64, '\x3c');
      std::memcpy(bytes.data(), &p, sizeof p);
      write_seed(arguments[1], "conversion" + std::to_string(number++), bytes);
    }
  }
}
