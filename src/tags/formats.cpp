#include "tags/formats.h"

#include <array>

#include "tags/aiff/aiff.h"
#include "tags/caf/caf.h"
#include "tags/flac/flac.h"
#include "tags/id3/chapters.h"
#include "tags/id3/id3.h"
#include "tags/id3/mp3.h"
#include "tags/m4a/chapters.h"
#include "tags/m4a/m4a.h"
#include "tags/wave/wave.h"

namespace auspool::tags {
namespace {

constexpr std::array kFormats = {
    Format{.number = AUTAG2_AIFF,
           .is = autag2_is_aiff,
           .read = autag2_aiff_read,
           .write = autag2_aiff_write,
           .create = autag2_aiff_create,
           .create_data = nullptr,
           .chapter_read = nullptr,
           .chapter_create = nullptr,
           .chapter_write = nullptr},
    Format{.number = AUTAG2_M4A,
           .is = autag2_is_m4a,
           .read = autag2_m4a_read,
           .write = autag2_m4a_write,
           .create = autag2_udta_create,
           .create_data = nullptr,
           .chapter_read = autag2_m4a_chapter_read,
           .chapter_create = autag2_qt_chapter_create,
           .chapter_write = autag2_m4a_chapter_write},
    Format{.number = AUTAG2_MP3,
           .is = autag2_is_mp3,
           .read = autag2_mp3_read,
           .write = autag2_mp3_write,
           .create = autag2_id3_create,
           .create_data = nullptr,
           .chapter_read = autag2_mp3_chapter_read,
           .chapter_create = autag2_mp3_chapter_create,
           .chapter_write = nullptr},
    Format{.number = AUTAG2_WAVE,
           .is = autag2_is_wave,
           .read = autag2_wave_read,
           .write = autag2_wave_write,
           .create = autag2_wave_create,
           .create_data = nullptr,
           .chapter_read = nullptr,
           .chapter_create = nullptr,
           .chapter_write = nullptr},
    Format{.number = AUTAG2_CAF,
           .is = autag2_is_caf,
           .read = autag2_caf_read,
           .write = autag2_caf_write,
           .create = autag2_caf_create,
           .create_data = nullptr,
           .chapter_read = nullptr,
           .chapter_create = nullptr,
           .chapter_write = nullptr},
    Format{.number = AUTAG2_FLAC,
           .is = autag2_is_flac,
           .read = autag2_flac_read,
           .write = autag2_flac_write,
           .create = autag2_flac_create,
           .create_data = autag2_flac_create_data,
           .chapter_read = nullptr,
           .chapter_create = nullptr,
           .chapter_write = nullptr},
};

}  // namespace

std::span<const Format> formats() {
  return kFormats;
}

}  // namespace auspool::tags
