// Files of each container with every chunk that is read.
#include "seeds/seed.h"
#include "support/chunk_file.h"
#include "support/id3.h"

int main(int, char **arguments) {
  using namespace auspool::testing;
  const std::string folder = arguments[1];
  const std::string id3 = id3_tag(3, id3_frame(3, "TIT2", "\0title"s) + id3_frame(3, "TYER", "\0001999"s));
  write_seed(folder, "aiff",
             "\0"s + aiff_file(aiff_chunk("NAME", "name") + aiff_chunk("AUTH", "caf\x8E") + aiff_chunk("ANNO", "odd") +
                               aiff_chunk("(c) ", "1952") + aiff_sound(2) + aiff_chunk("ID3 ", id3)));
  const std::string texts = wave_chunk("INAM", "name") + wave_chunk("IART", "caf\xE9") + wave_chunk("ICMT", "odd") +
                            wave_chunk("ISFT", "soft") + wave_chunk("ICRD", "1952-01-02");
  for (const char *id : {"id3 ", "ID3 ", "ID32"}) {
    write_seed(folder, std::string("wave") + id,
               "\1" + wave_file(wave_sound(2) + wave_chunk("LIST", "adtl") + info_list(texts) + wave_chunk(id, id3)));
  }
  const std::string info =
      caf_info({{"title", "t"}, {"artist", "é"}, {"year", "1952"}, {"unknown", ""}, {"tempo", "99"}});
  write_seed(folder, "caf", "\2" + caf_file(caf_chunk("id3 ", id3) + info + caf_sound(2)));
  write_seed(folder, "caf-open", "\2" + caf_file(info + caf_chunk("data", "....", -1)));
}
