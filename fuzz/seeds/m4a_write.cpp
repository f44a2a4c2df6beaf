// Files with their index in front and behind, of both widths of offsets and in fragments, behind titles of several
// lengths.
#include "seeds/seed.h"
#include "support/m4a_tags.h"

int main(int, char **arguments) {
  using namespace auspool::testing;
  using namespace std::string_literals;
  const auto track = [](const std::string &table) {
    return atom("trak", atom("mdia", atom("minf", atom("stbl", table))));
  };
  const std::string narrow = track(atom("stco", words({0, 2, 40, 50}))),
                    wide = track(atom("co64", words({0, 1}) + be64(40)));
  const std::string tag = udta(text_item("\xA9nam", std::string(200, 'x'))), room = atom("free", std::string(50, 'f'));
  const std::string sound = atom("mdat", std::string(5000, 's')), type = atom("ftyp", "M4A ");
  const std::string fragment = atom("moof", atom("traf", atom("tfhd", words({1, 1}) + be64(40)))) + atom("mdat", "s");
  const std::string files[] = {m4a_file(narrow + tag) + sound, m4a_file(room + wide + tag + room) + sound,
                               type + sound + atom("moov", narrow + tag), m4a_file(narrow) + fragment + fragment,
                               m4a_file(tag + narrow + tag) + room + sound};
  int number = 0;
  for (const std::string &file : files) {
    for (const std::string &letters : {"\0\1"s, "\0\x60"s, "\0\xC0"s, "\x03\0"s}) {
      write_seed(arguments[1], std::to_string(number++), letters + file);
    }
  }
}
