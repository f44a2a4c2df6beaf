#include "quality/svg.h"

#include <cstdarg>
#include <cstdio>
#include <fstream>

namespace quality {

std::string svg_text(const char *format, ...) {
  char buffer[512];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(buffer, sizeof buffer, format, arguments);
  va_end(arguments);
  return buffer;
}

bool write_svg(const std::string &path, double width, double height, const std::string &body) {
  constexpr const char *kHead =
      "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 %g %g' font-family='sans-serif' font-size='12'>\n";
  std::ofstream file(path);
  file << svg_text(kHead, width, height) << "<rect width='100%' height='100%' fill='#fff'/>\n" << body << "</svg>\n";
  return file.flush().good();
}

}  // namespace quality
