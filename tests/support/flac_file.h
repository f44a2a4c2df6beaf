// FLAC files: their blocks of metadata put together byte by byte.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace auspool::testing {

enum FlacBlockType { kStreamInfo = 0, kPadding = 1, kApplication = 2, kVorbisComment = 4, kCueSheet = 5, kPicture = 6 };

// "fLaC", the blocks that it is given, and bytes that stand for audio: they begin with a frame's sync.
std::string flac_file(const std::vector<std::string> &blocks, std::size_t audio_bytes = 100);
// A block with its header. `size` is what the header claims, -1 for the truth.
std::string flac_block(int type, const std::string &data, bool last = false, int size = -1);
std::string stream_info();  // the data of a block that says 44100 Hz, stereo, 16 bits

// The data of such blocks.
std::string vorbis_comments(const std::vector<std::string> &comments, const std::string &vendor = "");
std::string flac_picture(std::uint32_t type, const std::string &image, std::uint32_t width = 0,
                         std::uint32_t height = 0);
std::string u32(std::uint32_t value, bool big_endian);

std::string base64(const std::string &bytes);

// A block as it stands in a file.
struct FoundBlock {
  int type;
  std::string data;
};
std::vector<FoundBlock> blocks_of(const std::string &file);
// What follows the last block.
std::string audio_of(const std::string &file);

// What STREAMINFO says.
struct StreamInfo {
  std::uint32_t rate, channels, bits;
  std::uint64_t frames;
  std::string md5;
};
StreamInfo stream_info_of(const std::string &file);

}  // namespace auspool::testing
