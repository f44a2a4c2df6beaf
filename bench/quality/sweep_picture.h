#pragma once

#include <string>

namespace quality {

// What comes out of a sweep from 20 Hz to half of 96000 that is converted to 44100. False where it cannot be written.
bool draw_sweep(const std::string &path);

}  // namespace quality
