#include "tags/chunks/rewrite.h"

#include <algorithm>
#include <array>
#include <vector>

#include "auspool/autag2.h"
#include "base/byte_order.h"
#include "base/four_cc.h"
#include "tags/chunks/cuts.h"

namespace auspool::tags {
namespace {

// One rewrite. Offsets are those of the file as it will be after the cuts.
class Rewrite {
public:
  Rewrite(platform::File &file, const Container &container) : file_(file), is_(container), cuts_(file) {}

  std::int32_t run(const Bytes &tag);

private:
  std::int32_t read_form();
  std::int32_t walk();
  std::int32_t step(std::uint64_t &at);
  std::int32_t read_chunk_at(std::uint64_t at, Chunk &chunk);
  std::int32_t find_tag(const Chunk &chunk, bool &found);
  bool cut(const Chunk &chunk);
  std::int32_t apply();
  std::int32_t write_u32(std::uint64_t at, std::uint32_t value, Order order);
  std::uint64_t form_end() const { return form_size_ + kChunkHeaderBytes; }

  platform::File &file_;
  const Container &is_;
  Cuts cuts_;
  std::vector<std::uint64_t> freed_;  // headers of the chunks that become free
  std::uint64_t form_size_ = 0;
  bool sound_seen_ = false;
};

std::int32_t Rewrite::read_form() {
  Chunk form;
  if (const std::int32_t error = read_chunk(file_, 0, is_.order, form)) return error;
  if (form.id != is_.form_id || form.size < 1 || form.size > is_.largest_size) return AUTAG2_EPRS;
  form_size_ = form.size;
  return 0;
}

std::int32_t Rewrite::read_chunk_at(std::uint64_t at, Chunk &chunk) {
  if (at + kChunkHeaderBytes > cuts_.size()) return EIO;
  const std::int32_t error = read_chunk(file_, cuts_.on_disk(at), is_.order, chunk);
  chunk.data = at + kChunkHeaderBytes;
  return error == 0 && chunk.size > is_.largest_size ? AUTAG2_EPRS : error;
}

std::int32_t Rewrite::find_tag(const Chunk &chunk, bool &found) {
  found = std::find(is_.tag_ids.begin(), is_.tag_ids.end(), chunk.id) != is_.tag_ids.end();
  if (!is_.has_info_list || chunk.id != four_cc("LIST")) return 0;
  std::array<std::uint8_t, 4> type;
  if (chunk.data + type.size() > cuts_.size()) return EIO;
  const std::int32_t error = file_.read(cuts_.on_disk(chunk.data), type);
  found = error == 0 && load_be<std::uint32_t>(type.data()) == four_cc("INFO");
  return error;
}

// Takes a chunk out of the file. Its pad byte stays, and the file ends 8 bytes before the form does: both are part of
// the format of these files, whose next tag fills the gap. False for a chunk that reaches out of the form, or a form
// out of the file, where the cut would take what is not the chunk's.
bool Rewrite::cut(const Chunk &chunk) {
  const std::uint64_t at = chunk.data - kChunkHeaderBytes;
  if (chunk.end() > form_end()) return false;
  const std::uint64_t size = form_size_ - (chunk.end() - at);
  if (size > cuts_.size() - std::min(cuts_.size() - at, chunk.end() - at)) return false;
  form_size_ = size;
  cuts_.cut(at, chunk.end(), size);
  return true;
}

std::int32_t Rewrite::step(std::uint64_t &at) {
  Chunk chunk;
  bool is_tag = false;
  if (const std::int32_t error = read_chunk_at(at, chunk)) return error;
  if (const std::int32_t error = find_tag(chunk, is_tag)) return error;
  if (chunk.id == is_.sound_id) sound_seen_ = true;
  if (is_tag && sound_seen_) return cut(chunk) ? 0 : AUTAG2_EPRS;  // the next chunk now begins where this one did
  if (is_tag) freed_.push_back(at);
  at = chunk.padded_end();
  return 0;
}

std::int32_t Rewrite::walk() {
  std::int32_t error = 0;
  for (std::uint64_t at = 12; error == 0 && at < form_end();) error = step(at);
  return error;
}

std::int32_t Rewrite::write_u32(std::uint64_t at, std::uint32_t value, Order order) {
  std::array<std::uint8_t, 4> bytes;
  store_u32(bytes.data(), value, order);
  return file_.write(at, bytes);
}

std::int32_t Rewrite::apply() {
  for (const std::uint64_t at : freed_) {
    if (const std::int32_t error = write_u32(at, is_.free_id, Order::big)) return error;
  }
  return cuts_.apply();
}

std::int32_t Rewrite::run(const Bytes &tag) {
  if (const std::int32_t error = read_form()) return error;
  const std::int32_t broken = walk();
  if (broken == 0 && tag.size() > is_.largest_size - form_size_) return EFBIG;
  if (const std::int32_t error = apply()) return error;
  if (broken != 0 || tag.empty()) return broken;
  if (const std::int32_t error = file_.write(form_end(), tag)) return error;
  return write_u32(4, static_cast<std::uint32_t>(form_size_ + tag.size()), is_.order);
}

}  // namespace

std::int32_t rewrite(const char *path, const Container &container, const Bytes &tag) {
  platform::File file;
  const std::int32_t error = file.open(path, platform::File::Access::change);
  return error != 0 ? error : Rewrite(file, container).run(tag);
}

}  // namespace auspool::tags
