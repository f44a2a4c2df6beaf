// Lives of a few blocks and of many, of bytes that know nothing of their meaning: every sequence is a valid one.
#include <random>

#include "seeds/seed.h"

int main(int, char **arguments) {
  using namespace auspool::testing;
  for (std::uint32_t seed = 0; seed < 12; ++seed) {
    std::minstd_rand random(seed + 1);
    std::string bytes(20u << (seed / 2), '\0');
    for (char &byte : bytes) byte = static_cast<char>(random() >> 8);
    write_seed(arguments[1], "life" + std::to_string(seed), bytes);
  }
}
