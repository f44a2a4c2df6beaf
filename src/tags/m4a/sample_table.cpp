#include "tags/m4a/sample_table.h"

#include <algorithm>
#include <array>
#include <span>

#include "auspool/autag2.h"
#include "base/byte_order.h"
#include "tags/dict/node.h"
#include "tags/m4a/find_atom.h"

namespace auspool::tags {
namespace {

// A table: 0 size   4 name   8 version and flags   12 ...   and rows that a count before them tells of.
class Table {
public:
  // Whether the atom's own size covers so many rows of so many bytes behind the `head` bytes.
  std::int32_t load(platform::File &file, std::uint64_t stbl, const char *path, std::size_t head,
                    std::size_t row_bytes) {
    std::uint64_t offset = 0;
    if (!find_atom(file, stbl, path, offset)) return AUTAG2_EPRS;
    std::array<std::uint8_t, 4> size;
    if (const std::int32_t error = file.read(offset, size)) return error;
    const auto bytes = load_be<std::uint32_t>(size.data());
    if (bytes < head || bytes > file.size() - offset) return AUTAG2_EPRS;
    if (const std::int32_t error = file.read(offset, bytes, bytes_)) return error;
    head_ = head;
    return row_bytes * std::uint64_t{count()} <= bytes - head ? 0 : AUTAG2_EPRS;
  }

  std::uint32_t count() const { return word(head_ - 4); }
  std::uint32_t word(std::size_t at) const { return load_be<std::uint32_t>(&bytes_[at]); }
  std::uint32_t row_word(std::size_t row, std::size_t words_of_row, std::size_t number) const {
    return word(head_ + 4 * (row * words_of_row + number));
  }
  std::size_t size() const { return bytes_.size(); }

private:
  Bytes bytes_;
  std::size_t head_ = 0;
};

constexpr std::size_t kTableHead = 16, kSizesHead = 20;

// The descriptions' own sizes lead from one to the next.
std::int32_t load_formats(platform::File &file, std::uint64_t stbl, std::vector<std::uint32_t> &formats) {
  Table table;
  if (const std::int32_t error = table.load(file, stbl, "stbl.stsd", kTableHead, kAtomHeaderBytes)) return error;
  std::size_t at = kTableHead;
  for (std::uint32_t i = 0; i < table.count(); ++i) {
    if (table.size() - at < kAtomHeaderBytes) return AUTAG2_EPRS;
    const std::uint32_t size = table.word(at);
    formats.push_back(table.word(at + 4));
    if (size < kAtomHeaderBytes || size > table.size() - at) return AUTAG2_EPRS;
    at += size;
  }
  return 0;
}

std::int32_t load_sizes(platform::File &file, std::uint64_t stbl, std::uint32_t &uniform,
                        std::vector<std::uint32_t> &sizes) {
  constexpr std::size_t kUniform = 12;
  Table table;
  if (const std::int32_t error = table.load(file, stbl, "stbl.stsz", kSizesHead, 0)) return error;
  uniform = table.word(kUniform);
  if (uniform != 0) return 0;
  if (4 * std::uint64_t{table.count()} > table.size() - kSizesHead) return AUTAG2_EPRS;
  for (std::uint32_t i = 0; i < table.count(); ++i) sizes.push_back(table.row_word(i, 1, 0));
  return 0;
}

std::int32_t load_chunks(platform::File &file, std::uint64_t stbl, std::vector<std::uint64_t> &chunks) {
  std::uint64_t offset = 0;
  const bool wide = !find_atom(file, stbl, "stbl.stco", offset);
  Table table;
  const std::size_t words = wide ? 2 : 1;
  if (const std::int32_t error = table.load(file, stbl, wide ? "stbl.co64" : "stbl.stco", kTableHead, 4 * words))
    return error;
  for (std::uint32_t i = 0; i < table.count(); ++i) {
    const std::uint64_t high = wide ? table.row_word(i, words, 0) : 0;
    chunks.push_back(high << 32 | table.row_word(i, words, words - 1));
  }
  return 0;
}

}  // namespace

std::int32_t SampleTable::load(platform::File &file, std::uint64_t track) {
  std::uint64_t stbl = 0;
  if (!find_atom(file, track, "trak.mdia.minf.stbl", stbl)) return AUTAG2_EPRS;
  file_size_ = file.size();
  Table times, runs;
  if (const std::int32_t error = load_formats(file, stbl, formats_)) return error;
  if (const std::int32_t error = times.load(file, stbl, "stbl.stts", kTableHead, 8)) return error;
  for (std::uint32_t i = 0; i < times.count(); ++i)
    times_.push_back({times.row_word(i, 2, 0), times.row_word(i, 2, 1)});
  if (const std::int32_t error = runs.load(file, stbl, "stbl.stsc", kTableHead, 12)) return error;
  for (std::uint32_t i = 0; i < runs.count(); ++i) {
    chunk_runs_.push_back({runs.row_word(i, 3, 0), runs.row_word(i, 3, 1), runs.row_word(i, 3, 2)});
  }
  if (const std::int32_t error = load_sizes(file, stbl, uniform_size_, sizes_)) return error;
  return load_chunks(file, stbl, chunks_);
}

bool SampleTable::step_time(std::uint32_t &duration) {
  while (time_run_ < times_.size() && in_time_run_ == times_[time_run_].count) {
    ++time_run_;
    in_time_run_ = 0;
  }
  if (time_run_ == times_.size()) return false;
  ++in_time_run_;
  duration = times_[time_run_].duration;
  return true;
}

// To the chunk of the next sample. False when there is none.
bool SampleTable::step_chunk() {
  if (chunk_run_ >= chunk_runs_.size()) return false;
  if (in_chunk_ == chunk_runs_[chunk_run_].samples) {
    ++chunk_;
    in_chunk_ = 0;
  }
  if (in_chunk_ == 0) {
    if (chunk_run_ + 1 < chunk_runs_.size() && chunk_ + 1 == chunk_runs_[chunk_run_ + 1].first_chunk) ++chunk_run_;
    if (chunk_ >= chunks_.size()) return false;
    offset_ = chunks_[chunk_];
  }
  const ChunkRun &run = chunk_runs_[chunk_run_];
  return run.samples > 0 && run.description > 0 && run.description <= formats_.size();
}

bool SampleTable::next(Sample &sample, std::int32_t &error) {
  if (!step_time(sample.duration)) return false;
  error = AUTAG2_EPRS;
  if (uniform_size_ == 0 && sample_ >= sizes_.size()) return false;
  if (!step_chunk()) return false;
  sample.size = uniform_size_ != 0 ? uniform_size_ : sizes_[sample_];
  sample.offset = offset_;
  sample.format = formats_[chunk_runs_[chunk_run_].description - 1];
  if (sample.offset > file_size_ || sample.size > file_size_ - sample.offset) return false;
  error = 0;
  offset_ += sample.size;
  ++in_chunk_;
  ++sample_;
  return true;
}

}  // namespace auspool::tags
