// Chapters with titles, links and pictures, in versions 2.3 and 2.4.
#include "seeds/seed.h"
#include "support/id3.h"
#include "support/pictures.h"

int main(int, char **arguments) {
  using namespace auspool::testing;
  const auto png = png_file(8, 8);
  for (const int major : {3, 4}) {
    const std::string inside = id3_frame(major, "TIT2", "\0title"s) + id3_frame(major, "WXXX", "\0link\0http://a.b"s) +
                               id3_frame(major, "APIC", apic_data(3, std::string(png.begin(), png.end())));
    const std::string frames = ctoc_frame(major, 3, {"ch0", "ch1"}) + chap_frame(major, "ch1", 1000, 2500) +
                               chap_frame(major, "ch0", 0, 1000, inside);
    write_seed(arguments[1], "chapters" + std::to_string(major), id3_tag(major, frames));
  }
}
