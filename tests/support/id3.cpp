#include "support/id3.h"

namespace auspool::testing {
namespace {

char byte(std::uint32_t value) {
  return static_cast<char>(value & 0xFF);
}

std::string frame_size(int major, std::uint32_t size) {
  if (major == 2) return be32(size).substr(1);
  return major == 3 ? be32(size) : syncsafe(size);
}

std::uint32_t claimed_or(std::int64_t claimed, std::size_t size) {
  return static_cast<std::uint32_t>(claimed >= 0 ? claimed : static_cast<std::int64_t>(size));
}

std::string field(std::string text, std::size_t size, char fill) {
  text.resize(size, fill);
  return text;
}

}  // namespace

std::string syncsafe(std::uint32_t value) {
  const auto seven = [value](int shift) { return byte(value >> shift & 0x7F); };
  return {seven(21), seven(14), seven(7), seven(0)};
}

std::string id3_frame(int major, const std::string &id, const std::string &data, std::int64_t claimed) {
  return id + frame_size(major, claimed_or(claimed, data.size())) + (major == 2 ? ""s : "\0\0"s) + data;
}

std::string id3_tag(int major, const std::string &frames, std::uint8_t flags, std::int64_t claimed) {
  return "ID3"s + byte(static_cast<std::uint32_t>(major)) + '\0' + byte(flags) +
         syncsafe(claimed_or(claimed, frames.size())) + frames;
}

std::string id3_with(const std::string &id, const std::string &data) {
  return id3_tag(3, id3_frame(3, id, data));
}

std::string apic_data(std::uint8_t type, const std::string &image) {
  return "\0image/png\0"s + byte(type) + '\0' + image;
}

std::string ctoc_frame(int major, std::uint8_t flags, std::initializer_list<const char *> names) {
  std::string data = "TOC\0"s + byte(flags) + byte(static_cast<std::uint32_t>(names.size()));
  for (const char *name : names) data += name + "\0"s;
  return id3_frame(major, "CTOC", data);
}

std::string chap_frame(int major, const std::string &name, std::uint32_t start, std::uint32_t end,
                       const std::string &frames) {
  return id3_frame(major, "CHAP", name + '\0' + be32(start) + be32(end) + std::string(8, '\xFF') + frames);
}

std::string id3v1_tag(const Id3v1Fields &fields) {
  std::string tag = "TAG" + field(fields.title, 30, ' ') + field(fields.artist, 30, '\0') +
                    field(fields.album, 30, ' ') + field(fields.year, 4, '\0') + field(fields.comment, 30, ' ');
  if (fields.track != 0) tag.replace(125, 2, "\0"s + byte(fields.track));
  return tag + byte(fields.genre);
}

std::string silent_mp3(int count) {
  std::string frames;
  for (int i = 0; i < count; ++i) frames += "\xFF\xFB\x90\xC4" + std::string(413, '\0');
  return frames;
}

}  // namespace auspool::testing
