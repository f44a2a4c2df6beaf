// Tags of every version with every frame that is read, and an ID3v1 tag.
#include "seeds/seed.h"
#include "support/id3.h"

int main(int, char **arguments) {
  using namespace auspool::testing;
  const std::string folder = arguments[1];
  const std::string image(20, 'i');
  const auto frames = [&](int major) {
    const bool old = major == 2;
    const auto text = [&](const char *id, const char *id_2_2, const std::string &data) {
      return id3_frame(major, old ? id_2_2 : id, data);
    };
    return text("TIT2", "TT2", "\0title"s) + text("TPE1", "TP1", "\1\xFF\xFE\x7D\x01") + text("TPE2", "TP2", "\2\0a"s) +
           text("TALB", "TAL", "\3\xC5\xBD") + text("TCON", "TCO", "\0(17)"s) + text("TYER", "TYE", "\0001999"s) +
           text("TDRC", "TDR", "\0002001"s) + text("TBPM", "TBP", "\00099"s) + text("TCMP", "TCP", "\0001"s) +
           text("TRCK", "TRK", "\0003/12"s) + text("TPOS", "TPA", "\0001/2"s) + text("COMM", "COM", "\0eng\0comment"s) +
           text("USLT", "ULT", "\1eng\xFF\xFE\0\0\xFF\xFEx\0y\0"s) + text("PCST", "PCS", "\0\0\0\0"s) +
           text("APIC", "PIC", (old ? "\0PNG\3\0"s : "\0image/png\0\3\0"s) + image);
  };
  for (const int major : {2, 3, 4}) write_seed(folder, "v2." + std::to_string(major), id3_tag(major, frames(major)));
  write_seed(folder, "extended", id3_tag(3, syncsafe(6) + "123456" + frames(3), 0x40));
  write_seed(folder, "v1", id3v1_tag({"Title", "Artist", "Album", "1987", "Comment", 7, 17}));
}
