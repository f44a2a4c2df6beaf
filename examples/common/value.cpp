#include "common/value.h"

#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace example {

std::string code_text(int32_t code) {
  const auto letter = [code](int place) { return static_cast<char>(code >> (24 - 8 * place) & 0xFF); };
  if (code > 0x01000000) return {letter(0), letter(1), letter(2), letter(3)};
  return code == 0 ? "0" : std::to_string(code) + " (" + std::strerror(code) + ")";
}

std::string read_whole_file(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error(path + " cannot be opened");
  return {std::istreambuf_iterator<char>(file), {}};
}

void write_whole_file(const std::string &path, const std::string &bytes) {
  std::ofstream file(path, std::ios::binary);
  if (!file.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush()) {
    throw std::runtime_error(path + " cannot be written");
  }
}

}  // namespace example
