// ID3 tags byte by byte, for tests that say what a reader finds in them, and for seeds of fuzzing.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>

#include "support/big_endian.h"

namespace auspool::testing {

// Literals with NULs in them.
using namespace std::string_literals;

std::string syncsafe(std::uint32_t value);

// One frame in the form of its version, with an id of three letters for 2. `claimed` stands in for its true size.
std::string id3_frame(int major, const std::string &id, const std::string &data, std::int64_t claimed = -1);

// A whole tag around frames. `claimed` stands in for the true size.
std::string id3_tag(int major, const std::string &frames, std::uint8_t flags = 0, std::int64_t claimed = -1);

// A tag of version 2.3 with one frame.
std::string id3_with(const std::string &id, const std::string &data);

// The data of an `APIC` frame with `size` bytes of image.
std::string apic_data(std::uint8_t type, const std::string &image);

// A `CTOC` frame that lists names, and a `CHAP` frame around other frames.
std::string ctoc_frame(int major, std::uint8_t flags, std::initializer_list<const char *> names);
std::string chap_frame(int major, const std::string &name, std::uint32_t start, std::uint32_t end,
                       const std::string &frames = "");

struct Id3v1Fields {
  std::string title = "", artist = "", album = "", year = "", comment = "";
  std::uint8_t track = 0;  // 0 for a tag without tracks
  std::uint8_t genre = 255;
};
std::string id3v1_tag(const Id3v1Fields &fields);

// `count` MPEG-1 layer III frames of 128 kbit/s at 44.1 kHz, 417 bytes each, that decode to silence.
std::string silent_mp3(int count);

}  // namespace auspool::testing
