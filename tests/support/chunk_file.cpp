#include "support/chunk_file.h"

#include <algorithm>
#include <random>

#include "base/byte_order.h"

namespace auspool::testing {
namespace {

template <typename T>
std::string big(T value) {
  std::string bytes(sizeof value, '\0');
  store_be(reinterpret_cast<std::uint8_t *>(bytes.data()), value);
  return bytes;
}

template <typename T>
std::string little(T value) {
  std::string bytes(sizeof value, '\0');
  store_le(reinterpret_cast<std::uint8_t *>(bytes.data()), value);
  return bytes;
}

template <typename T>
T size_of(const std::string &data, std::int64_t claimed) {
  return static_cast<T>(claimed != kTrueSize ? claimed : static_cast<std::int64_t>(data.size()));
}

std::string padded(const std::string &data) {
  return data.size() % 2 != 0 ? data + '\0' : data;
}

std::string noise_bytes(int count) {
  std::minstd_rand random(11);
  std::string bytes(static_cast<std::size_t>(count), '\0');
  for (char &byte : bytes) byte = static_cast<char>(random() >> 8);
  return bytes;
}

template <typename LoadSize>
std::vector<FoundChunk> chunks_of(const std::string &file, const LoadSize &load_size) {
  std::vector<FoundChunk> chunks;
  const auto size_at = [&](std::size_t at) -> std::uint32_t {
    return load_size(reinterpret_cast<const std::uint8_t *>(&file[at]));
  };
  const std::size_t end = std::min<std::size_t>(file.size(), 8u + size_at(4));
  for (std::size_t at = 12; at + 8 <= end;) {
    const std::uint32_t size = size_at(at + 4);
    chunks.push_back({file.substr(at, 4), file.substr(at + 8, size)});
    at += 8u + size + size % 2;
  }
  return chunks;
}

}  // namespace

std::string aiff_chunk(const std::string &id, const std::string &data, std::int64_t claimed) {
  return id + big(size_of<std::uint32_t>(data, claimed)) + padded(data);
}

std::string wave_chunk(const std::string &id, const std::string &data, std::int64_t claimed) {
  return id + little(size_of<std::uint32_t>(data, claimed)) + padded(data);
}

std::string caf_chunk(const std::string &type, const std::string &data, std::int64_t claimed) {
  return type + big(size_of<std::int64_t>(data, claimed)) + data;
}

std::string aiff_file(const std::string &chunks, std::int64_t claimed) {
  return "FORM" + big(size_of<std::uint32_t>("AIFF" + chunks, claimed)) + "AIFF" + chunks;
}

std::string wave_file(const std::string &chunks, std::int64_t claimed) {
  return "RIFF" + little(size_of<std::uint32_t>("WAVE" + chunks, claimed)) + "WAVE" + chunks;
}

std::string caf_file(const std::string &chunks, int version) {
  return "caff" + big(static_cast<std::uint16_t>(version)) + std::string(2, '\0') + chunks;
}

std::string info_list(const std::string &chunks, std::int64_t claimed) {
  return wave_chunk("LIST", "INFO" + chunks, claimed);
}

std::string caf_info(const std::vector<std::pair<std::string, std::string>> &entries, std::int64_t count) {
  const auto true_count = static_cast<std::int64_t>(entries.size());
  std::string data = big(static_cast<std::uint32_t>(count != kTrueSize ? count : true_count));
  for (const auto &[key, value] : entries) data += key + '\0' + value + '\0';
  return caf_chunk("info", data);
}

std::string aiff_sound(int frames) {
  const std::string rate("\x40\x0E\xAC\x44\0\0\0\0\0\0", 10);  // 44100 as 80-bit float
  return aiff_chunk("COMM", std::string("\0\2", 2) + big(frames) + std::string("\0\20", 2) + rate) +
         aiff_chunk("SSND", std::string(8, '\0') + noise_bytes(4 * frames));
}

std::string wave_sound(int frames) {
  return wave_chunk("fmt ",
                    std::string("\1\0\2\0", 4) + little(44100) + little(4 * 44100) + std::string("\4\0\20\0", 4)) +
         wave_chunk("data", noise_bytes(4 * frames));
}

std::string caf_sound(int frames) {
  const std::string rate("\x40\xE5\x88\x80\0\0\0\0", 8);  // 44100 as 64-bit float
  return caf_chunk("desc", rate + "lpcm" + big(0) + big(4) + big(1) + big(2) + big(16)) +
         caf_chunk("data", std::string(4, '\0') + noise_bytes(4 * frames));
}

std::vector<FoundChunk> aiff_chunks(const std::string &file) {
  return chunks_of(file, load_be<std::uint32_t>);
}

std::vector<FoundChunk> wave_chunks(const std::string &file) {
  return chunks_of(file, load_le<std::uint32_t>);
}

std::string ids_of(const std::vector<FoundChunk> &chunks) {
  std::string ids;
  for (const FoundChunk &chunk : chunks) ids += chunk.id;
  return ids;
}

std::string data_of(const std::vector<FoundChunk> &chunks, const std::string &id) {
  const auto found = std::find_if(chunks.begin(), chunks.end(), [&id](const FoundChunk &it) { return it.id == id; });
  return found != chunks.end() ? found->data : "none";
}

}  // namespace auspool::testing
