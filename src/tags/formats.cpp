#include "tags/formats.h"

#include <array>

#include "tags/id3/chapters.h"
#include "tags/id3/id3.h"
#include "tags/id3/mp3.h"

namespace auspool::tags {
namespace {

constexpr std::array kFormats = {
    Format{.number = AUTAG2_MP3,
           .is = autag2_is_mp3,
           .read = autag2_mp3_read,
           .write = autag2_mp3_write,
           .create = autag2_id3_create,
           .create_data = nullptr,
           .chapter_read = autag2_mp3_chapter_read,
           .chapter_create = autag2_mp3_chapter_create,
           .chapter_write = nullptr},
};

}  // namespace

std::span<const Format> formats() {
  return kFormats;
}

}  // namespace auspool::tags
