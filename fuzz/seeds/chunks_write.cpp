// Files with old tags before and behind the sound, of odd and even size, and with bytes behind the form.
#include "seeds/seed.h"
#include "support/chunk_file.h"
#include "support/id3.h"

int main(int, char **arguments) {
  using namespace auspool::testing;
  int number = 0;
  for (const char *title : {"even", "odd"}) {
    const std::string name = aiff_chunk("NAME", title), info = info_list(wave_chunk("INAM", title));
    const std::string aiff[] = {name + aiff_sound(9), aiff_sound(9) + name,
                                aiff_sound(9) + name + aiff_chunk("AUTH", title) + aiff_chunk("APPL", "application")};
    const std::string wave[] = {info + wave_sound(9), wave_sound(9) + wave_chunk("id3 ", title) + info,
                                wave_sound(9) + info + wave_chunk("bext", "broadcast")};
    for (int i = 0; i < 3; ++i) {
      write_seed(arguments[1], std::to_string(number++), "\0\x05"s + aiff_file(aiff[i]));
      write_seed(arguments[1], std::to_string(number++), "\1\x20"s + wave_file(wave[i]) + "behind");
    }
  }
}
