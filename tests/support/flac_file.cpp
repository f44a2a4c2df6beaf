#include "support/flac_file.h"

#include <array>

#include "base/byte_order.h"

namespace auspool::testing {
namespace {

const std::uint8_t *bytes_at(const std::string &text, std::size_t at) {
  return reinterpret_cast<const std::uint8_t *>(text.data()) + at;
}

}  // namespace

std::string u32(std::uint32_t value, bool big_endian) {
  std::array<std::uint8_t, 4> bytes;
  big_endian ? store_be(bytes.data(), value) : store_le(bytes.data(), value);
  return {bytes.begin(), bytes.end()};
}

std::string flac_block(int type, const std::string &data, bool last, int size) {
  const std::size_t claimed = size < 0 ? data.size() : static_cast<std::size_t>(size);
  const auto first = static_cast<std::uint32_t>(type | (last ? 0x80 : 0));
  return u32(first << 24 | static_cast<std::uint32_t>(claimed), true) + data;
}

std::string flac_file(const std::vector<std::string> &blocks, std::size_t audio_bytes) {
  std::string file = "fLaC";
  for (const std::string &block : blocks) file += block;
  return file + (audio_bytes >= 2 ? "\xFF\xF8" + std::string(audio_bytes - 2, 'a') : "");
}

std::string stream_info() {
  std::string data(34, '\0');
  data.replace(0, 4, "\x10\0\x10\0", 4);               // blocks of 4096 frames
  data.replace(10, 8, "\x0A\xC4\x42\xF0\0\0\0\0", 8);  // 20 bits of rate, 3 channels - 1, 5 bits - 1
  return data;
}

std::string vorbis_comments(const std::vector<std::string> &comments, const std::string &vendor) {
  std::string data = u32(static_cast<std::uint32_t>(vendor.size()), false) + vendor +
                     u32(static_cast<std::uint32_t>(comments.size()), false);
  for (const std::string &comment : comments) data += u32(static_cast<std::uint32_t>(comment.size()), false) + comment;
  return data;
}

std::string flac_picture(std::uint32_t type, const std::string &image, std::uint32_t width, std::uint32_t height) {
  return u32(type, true) + u32(10, true) + "image/jpeg" + u32(5, true) + "about" + u32(width, true) +
         u32(height, true) + u32(24, true) + u32(0, true) + u32(static_cast<std::uint32_t>(image.size()), true) + image;
}

std::string base64(const std::string &bytes) {
  constexpr char kLetters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i) group = group << 8 | (at + i < bytes.size() ? *bytes_at(bytes, at + i) : 0u);
    for (std::size_t i = 0; i < 4; ++i) {
      text += at + i > bytes.size() ? '=' : kLetters[group >> (18 - 6 * i) & 63];
    }
  }
  return text;
}

std::vector<FoundBlock> blocks_of(const std::string &file) {
  std::vector<FoundBlock> blocks;
  for (std::size_t at = 4; at + 4 <= file.size();) {
    const auto header = load_be<std::uint32_t>(bytes_at(file, at));
    blocks.push_back({static_cast<int>(header >> 24 & 0x7F), file.substr(at + 4, header & 0xFFFFFF)});
    at += 4 + (header & 0xFFFFFF);
    if (header >> 31) break;
  }
  return blocks;
}

std::string audio_of(const std::string &file) {
  std::size_t at = 4;
  for (const FoundBlock &block : blocks_of(file)) at += 4 + block.data.size();
  return file.substr(at);
}

StreamInfo stream_info_of(const std::string &file) {
  const std::uint64_t fields = load_be<std::uint64_t>(bytes_at(file, 8 + 10));
  return {static_cast<std::uint32_t>(fields >> 44), static_cast<std::uint32_t>(fields >> 41 & 7) + 1,
          static_cast<std::uint32_t>(fields >> 36 & 31) + 1, fields & 0xFFFFFFFFF, file.substr(8 + 18, 16)};
}

}  // namespace auspool::testing
