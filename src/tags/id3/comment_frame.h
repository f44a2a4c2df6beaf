// Comments and lyrics: a language, a description, and the text.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace auspool::tags {

// The text of a `USLT` frame.
std::optional<std::string> lyrics_text(std::span<const std::uint8_t> frame);

// The text of a `COMM` frame, except where a program keeps data of its own: descriptions that start with "iTun", and
// the marks of a CD database, "CDD". Single-byte encodings alone are looked at for these.
std::optional<std::string> comment_text(std::span<const std::uint8_t> frame);

}  // namespace auspool::tags
