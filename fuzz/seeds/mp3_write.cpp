// Files with and without tags, behind titles of several lengths.
#include "seeds/seed.h"
#include "support/id3.h"

int main(int, char **arguments) {
  using namespace auspool::testing;
  const std::string tag = id3_tag(3, id3_frame(3, "TIT2", '\0' + std::string(100, 'x')));
  const std::string files[] = {silent_mp3(2), tag + silent_mp3(20), tag + silent_mp3(2) + id3v1_tag({"Title"}),
                               id3_tag(3, "") + silent_mp3(2), tag};
  int number = 0;
  for (const std::string &file : files) {
    for (const std::string &letters : {"\0\0"s, "\0\x05"s, "\0\x60"s, "\x03\0"s}) {
      write_seed(arguments[1], std::to_string(number++), letters + file);
    }
  }
}
