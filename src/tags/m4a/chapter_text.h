// One sample of a text track: a title, and perhaps a link.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace auspool::tags {

struct ChapterText {
  std::string title;
  std::optional<std::string> link;
};

// `is_tx3g` tells the sample's format from the older `text`. Nothing for a sample whose sizes lie.
std::optional<ChapterText> parse_chapter_text(std::span<const std::uint8_t> sample, bool is_tx3g);

}  // namespace auspool::tags
