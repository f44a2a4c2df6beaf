// The rewrite of a file of chunks, done chunk by chunk on bytes in memory: the plain form that the library's is
// compared with.
#pragma once

#include <cerrno>
#include <cstdint>
#include <string>

#include "auspool/autag2.h"
#include "base/byte_order.h"

namespace auspool::testing {

struct ModelContainer {
  const char *sound_id, *free_id;
  bool big_endian;
  bool (*is_tag)(const std::string &id, const std::string &first_data);
};

inline const ModelContainer kAiffModel = {"SSND", "FREE", true, [](const std::string &id, const std::string &) {
                                            return id == "ID3 " || id == "NAME" || id == "(c) " || id == "ANNO" ||
                                                   id == "AUTH";
                                          }};
inline const ModelContainer kWaveModel = {"data", "JUNK", false, [](const std::string &id, const std::string &data) {
                                            return id == "id3 " || id == "ID3 " || (id == "LIST" && data == "INFO");
                                          }};

class RewriteModel {
public:
  RewriteModel(const ModelContainer &container, std::string &file) : is_(container), file_(file) {}

  std::int32_t run(const std::string &tag) {
    form_size_ = number(4);
    bool sound = false;
    for (std::uint64_t at = 12; at < form_size_ + 8;) {
      if (at + 8 > file_.size()) return EIO;
      const std::string id = file_.substr(at, 4);
      const std::uint64_t size = number(at + 4);
      if (id == "LIST" && !is_.big_endian && at + 12 > file_.size()) return EIO;
      sound = sound || id == is_.sound_id;
      if (!is_.is_tag(id, file_.substr(at + 8, 4))) {
        at += 8 + size + size % 2;
      } else if (!sound) {
        file_.replace(at, 4, is_.free_id);
        at += 8 + size + size % 2;
      } else {
        cut(at, at + 8 + size);
      }
    }
    if (tag.empty()) return 0;
    const std::uint64_t target = form_size_ + 8;
    file_.resize(std::max<std::uint64_t>(file_.size(), target + tag.size()));
    file_.replace(target, tag.size(), tag);
    set_number(4, form_size_ + tag.size());
    return 0;
  }

private:
  // What follows moves to where the chunk was; then the file ends at the form's size, as it is without the header.
  void cut(std::uint64_t at, std::uint64_t end) {
    if (end < file_.size()) file_.replace(at, file_.size() - end, file_.substr(end));
    form_size_ -= end - at;
    file_.resize(form_size_);
  }

  std::uint64_t number(std::uint64_t at) const {
    const auto *bytes = reinterpret_cast<const std::uint8_t *>(&file_[at]);
    return is_.big_endian ? load_be<std::uint32_t>(bytes) : load_le<std::uint32_t>(bytes);
  }

  void set_number(std::uint64_t at, std::uint64_t value) {
    auto *bytes = reinterpret_cast<std::uint8_t *>(&file_[at]);
    const auto number = static_cast<std::uint32_t>(value);
    is_.big_endian ? store_be(bytes, number) : store_le(bytes, number);
  }

  const ModelContainer &is_;
  std::string &file_;
  std::uint64_t form_size_ = 0;
};

}  // namespace auspool::testing
