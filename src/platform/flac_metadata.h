// Blocks of FLAC metadata: made for an encoder, and put into files. Built on libFLAC; in a build without it none can be
// made, and no file is changed.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace auspool::platform {

bool flac_metadata_is_available();

void release_flac_block(void *block);
struct ReleaseFlacBlock {
  void operator()(void *block) const { release_flac_block(block); }
};
using FlacBlock = std::unique_ptr<void, ReleaseFlacBlock>;

// A VORBIS_COMMENT without comments, with the library's name as its vendor. Null when there is not enough memory.
FlacBlock make_flac_comments();
// Appends "NAME=value", in UTF-8. False when there is not enough memory, or the block would pass the 16 MiB that FLAC
// has for one.
bool append_flac_comment(void *comments, const std::string &comment);

struct FlacPicture {
  std::uint32_t type;  // as in ID3's `APIC`
  const char *mime_type;
  std::uint32_t width, height;  // pixels; 0 when not known
  std::uint32_t depth;          // bits a pixel
  std::span<const std::uint8_t> image;
};
// A PICTURE without a description. Null as above, and for what is not legal in FLAC.
FlacBlock make_flac_picture(const FlacPicture &picture);

enum class FlacRewrite {
  kDone,
  kNoMemory,    // to go through the blocks
  kUnreadable,  // no FLAC file, or broken metadata
  kFailed       // the blocks could not be put in, or the file not be written
};

// Replaces all comments and pictures of a file by these, of which `picture` may be null. The audio stays where it is
// when the blocks fit into what they replace and the padding there is; else the library writes a new file beside the
// old one and renames it.
FlacRewrite rewrite_flac_metadata(const char *path, FlacBlock comments, FlacBlock picture);

}  // namespace auspool::platform
