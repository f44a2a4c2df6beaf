#pragma once

#include <string>

namespace quality {

// Draws the pictures of docs/resampling-qualities.md into a folder. False where one cannot be written.
bool draw_pictures(const std::string &folder);

}  // namespace quality
