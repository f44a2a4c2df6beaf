#include "resampler/stages/sdm/find_sdm_trmx.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace auspool {
namespace {

struct Row {
  std::int32_t transform_size;
  std::int32_t block_size;
  TransformMatrix matrix;
};

// The order in which rows were asked for; a process uses a handful.
struct Matrices {
  std::mutex mutex;
  std::vector<Row> sTransformMatrixArray;
};

// Never destroyed: streams may run while the process ends.
Matrices &matrices() {
  static auto *const all = new Matrices;
  return *all;
}

}  // namespace

const transform_matrix *find_sdm_trmx(std::int32_t transform_size, std::int32_t block_size) try {
  Matrices &all = matrices();
  const std::lock_guard lock(all.mutex);
  auto &rows = all.sTransformMatrixArray;
  const auto found = std::find_if(rows.begin(), rows.end(), [&](const Row &row) {
    return row.transform_size == transform_size && row.block_size == block_size;
  });
  if (found != rows.end()) return found->matrix.get();
  TransformMatrix matrix = compute_transform_matrix(block_size, transform_size);
  if (!matrix) return nullptr;
  rows.push_back({transform_size, block_size, std::move(matrix)});
  return rows.back().matrix.get();
} catch (const std::bad_alloc &) {
  return nullptr;
}

}  // namespace auspool
