// Items of every kind, and chapters of every kind of track.
#include "seeds/seed.h"
#include "support/m4a_tags.h"

int main(int, char **arguments) {
  using namespace auspool::testing;
  const std::string folder = arguments[1];
  const std::string year =
                        "\xA9"
                        "day",
                    artist =
                        "\xA9"
                        "ART",
                    album =
                        "\xA9"
                        "alb";
  const std::string items = text_item("\xA9nam", "title") + text_item(artist, "Caf\xC3\xA9") + text_item(album, "a") +
                            text_item(year, "2005-08-12T07:00:00Z") + item("gnre", 0, be16(18)) +
                            item("trkn", 0, be16(0) + be16(3) + be16(12) + be16(0)) +
                            item("disk", 0, be16(0) + be16(1) + be16(2)) + item("tmpo", 21, be16(120)) +
                            item("stik", 21, "\2") + item("cpil", 21, "\1") + item("covr", 13, "\xFF\xD8picture") +
                            freeform("iTunSMPB", " 00000000 00000840 000001CA 00000000003F31F6 00000000 00000000");
  write_seed(folder, "tag", tagged_m4a(items));
  write_seed(folder, "film", m4a_file(atom("trak", atom("mdia", atom("minf", atom("vmhd", "x"))))));
  const std::string title = text_sample("t"), link = text_sample("n", link_atom("u:0")), picture = "\xFF\xD8x";
  const std::uint32_t links = kChapterOffset + static_cast<std::uint32_t>(title.size()),
                      pictures = links + static_cast<std::uint32_t>(link.size());
  write_seed(folder, "chapters",
             chaptered_m4a(title + link + picture,
                           audio_track({2, 3, 4}) + chapter_track(2, "text", "tx3g", {{title, 9}}, kChapterOffset) +
                               chapter_track(3, "text", "tx3g", {{link, 9}}, links) +
                               chapter_track(4, "vide", "jpeg", {{picture, 9}}, pictures),
                           5));
  write_seed(
      folder, "text",
      chaptered_m4a(title + text_sample("\xFE\xFF\1x"),
                    audio_track({2}) +
                        chapter_track(2, "text", "text", {{title, 9}, {text_sample("\xFE\xFF\1x"), 5}}, kChapterOffset),
                    3));
}
