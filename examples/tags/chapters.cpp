#include "tags/chapters.h"

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string_view>

#include "common/value.h"

namespace example {
namespace {

namespace fs = std::filesystem;

double seconds_of(const audict *element, const char *key) {
  double seconds = 0;
  audict_get_float(element, key, &seconds);
  return seconds;
}

double start_of(const audict *element) {
  return seconds_of(element, "Autag2ChapterElementStartTime");
}

// The element of a track that lasts at a time; null without one.
const audict *element_at(const audict *track, double seconds) {
  for (std::size_t i = audict_count(track); i-- > 0;) {
    const audict *element = audict_at(track, i);
    const double start = start_of(element);
    if (start <= seconds && seconds < start + seconds_of(element, "Autag2ChapterElementDuration")) return element;
  }
  return nullptr;
}

std::string time_text(double seconds) {
  const auto milliseconds = std::llround(seconds * 1000);
  char text[40];
  std::snprintf(text, sizeof text, "%lld:%02lld:%02lld.%03lld", milliseconds / 3600000, milliseconds / 60000 % 60,
                milliseconds / 1000 % 60, milliseconds % 1000);
  return text;
}

std::string text_of(const audict *element, const char *key) {
  const char *text = audict_get_string(element, key);
  return text != nullptr ? text : "";
}

std::string_view image_of(const audict *element) {
  std::size_t length = 0;
  const void *bytes = audict_get_data(element, "Autag2ChapterElementImage", &length);
  return {static_cast<const char *>(bytes), length};
}

const char *extension_of(std::string_view image) {
  return image.substr(0, 2) == "\xFF\xD8" ? ".jpg" : image.substr(0, 4) == "\x89PNG" ? ".png" : ".bin";
}

// One chapter: its time and title, and its link and picture where it has them.
std::string line_of(const audict *chapters, std::size_t index) {
  const audict *title = audict_at(audict_get(chapters, "Autag2ChapterTOCTrack"), index);
  const double start = start_of(title);
  const audict *link = element_at(audict_get(chapters, "Autag2ChapterHRefTrack"), start);
  const std::string url = text_of(link, "Autag2ChapterElementURL"), text = text_of(link, "Autag2ChapterElementTitle");
  std::string line = "  " + time_text(start) + "  " + text_of(title, "Autag2ChapterElementTitle");
  if (!url.empty()) line += "  <" + url + ">" + (text.empty() ? "" : " " + text);
  const std::string_view image = image_of(element_at(audict_get(chapters, "Autag2ChapterImageTrack"), start));
  if (!image.empty()) line += "  [picture, " + std::to_string(image.size()) + " bytes]";
  return line;
}

void save_images(const audict *chapters, const fs::path &file, const fs::path &folder) {
  const audict *images = audict_get(chapters, "Autag2ChapterImageTrack");
  for (std::size_t i = 0; i < audict_count(images); ++i) {
    const std::string_view image = image_of(audict_at(images, i));
    if (image.empty()) continue;
    const fs::path path = folder / (file.stem().string() + "-" + std::to_string(i + 1) + extension_of(image));
    write_whole_file(path.string(), std::string(image));
  }
}

bool print_file(const std::string &file, const std::string &image_folder) {
  int32_t error = 0;
  const Value chapters(autag2_chapter_read(file.c_str(), &error));
  const std::size_t count = audict_count(audict_get(chapters.get(), "Autag2ChapterTOCTrack"));
  if (error != 0) {
    std::printf("%s: %s\n", file.c_str(), code_text(error).c_str());
  } else {
    std::printf("%s: %zu chapters\n", file.c_str(), count);
  }
  for (std::size_t i = 0; i < count; ++i) std::printf("%s\n", line_of(chapters.get(), i).c_str());
  if (!image_folder.empty()) save_images(chapters.get(), file, image_folder);
  return error == 0;
}

}  // namespace

bool print_chapters(const std::vector<std::string> &files, const std::string &image_folder) {
  if (!image_folder.empty()) fs::create_directories(image_folder);
  bool good = true;
  for (const std::string &file : files) good = print_file(file, image_folder) && good;
  return good;
}

}  // namespace example
