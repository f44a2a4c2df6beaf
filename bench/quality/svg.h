// Text of SVG pictures.
#pragma once

#include <string>

namespace quality {

// As printf, up to 511 characters.
__attribute__((format(printf, 1, 2))) std::string svg_text(const char *format, ...);

// A white picture with `body` on it. False where the file cannot be written.
bool write_svg(const std::string &path, double width, double height, const std::string &body);

}  // namespace quality
