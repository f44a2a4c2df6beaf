#include "tags/chunks/cuts.h"

#include <algorithm>

#include "tags/rewrite.h"

namespace auspool::tags {

void Cuts::cut(std::uint64_t from, std::uint64_t to, std::uint64_t size) {
  cut_bytes_ += to - from;
  size_ = size;
  if (!pieces_.empty() && pieces_.back().to == from) pieces_.pop_back();  // nothing is left between the two cuts
  pieces_.push_back({from, on_disk(from)});
}

std::int32_t Cuts::apply() {
  if (pieces_.empty()) return 0;
  for (std::size_t i = 0; i < pieces_.size(); ++i) {
    const std::uint64_t end = i + 1 < pieces_.size() ? pieces_[i + 1].to : size_;
    const std::uint64_t length = end - std::min(end, pieces_[i].to);
    if (const std::int32_t error = file_data_move_down(file_, pieces_[i].to, pieces_[i].from, length)) return error;
  }
  pieces_.clear();
  return file_.resize(size_);
}

}  // namespace auspool::tags
