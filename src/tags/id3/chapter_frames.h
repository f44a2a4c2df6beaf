// What `CTOC` and `CHAP` frames say (ID3v2 chapter frame addendum, 3.1 and 3.2).
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/four_cc.h"

namespace auspool::tags {

constexpr std::uint32_t kContentsId = four_cc("CTOC");
constexpr std::uint32_t kChapterId = four_cc("CHAP");
constexpr std::uint32_t kLinkId = four_cc("WXXX");

// In the flags of a table of contents.
constexpr std::uint8_t kTopLevel = 2;
constexpr std::uint8_t kOrdered = 1;

struct Contents {
  std::uint8_t flags;
  std::span<const std::uint8_t> counted_entries;  // the count, and as many names that end in a NUL
};

// Nothing for a frame without flags.
std::optional<Contents> parse_contents(std::span<const std::uint8_t> frame);

// The names of the chapters in their order. Nothing when there are none, or fewer than were counted.
std::optional<std::vector<std::string_view>> entries_of(std::span<const std::uint8_t> frame, const Contents &contents);

struct Link {
  std::string url;
  std::optional<std::string> title;
};

// The views are into the tag.
struct Chapter {
  std::string_view name;
  double start_seconds = 0;
  double duration_seconds = 0;
  std::string title;
  std::optional<Link> link;
  std::optional<std::span<const std::uint8_t>> image;  // no bytes when the frame of it is broken
};

// The name at the start of a `CHAP` frame; nothing when the frame has no room for the times behind it.
std::optional<std::string_view> chapter_name(std::span<const std::uint8_t> frame);

Chapter parse_chapter(std::span<const std::uint8_t> frame, int major_version);

}  // namespace auspool::tags
