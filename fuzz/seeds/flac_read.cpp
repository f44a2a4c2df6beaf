// Blocks of every kind that is read, without the magic in front.
#include "seeds/seed.h"
#include "support/flac_file.h"

int main(int, char **arguments) {
  using namespace auspool::testing;
  const std::string folder = arguments[1];
  const auto seed = [&folder](const std::string &name, const std::vector<std::string> &blocks) {
    write_seed(folder, name, flac_file(blocks).substr(4));
  };
  const std::string info = flac_block(kStreamInfo, stream_info());
  const std::string front = flac_picture(3, "front", 9, 9), other = flac_picture(4, "other image", 20, 20);
  seed("comments", {info, flac_block(kVorbisComment,
                                     vorbis_comments({"TITLE=t", "ALBUM ARTIST=caf\xC3\xA9", "TRACKNUMBER=/12",
                                                      "DATE=1952-01-02", "MOOD=calm", "COMPILATION=1", "BPM=99"},
                                                     "vendor"),
                                     true)});
  seed("pictures", {info, flac_block(kPicture, other), flac_block(kPicture, front, true)});
  seed("coded", {info, flac_block(kVorbisComment, vorbis_comments({"METADATA_BLOCK_PICTURE=" + base64(front),
                                                                   "METADATA_BLOCK_PICTURE=" + base64(other)}))});
  seed("others", {info, flac_block(kPadding, std::string(20, '\0')), flac_block(kApplication, "test"),
                  flac_block(kVorbisComment, vorbis_comments({std::string(1100, 'N') + "=x"}))});
}
