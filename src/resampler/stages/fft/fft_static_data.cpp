#include "resampler/stages/fft/fft_static_data.h"

#include <algorithm>

#include "auspool/filter_design.h"
#include "platform/vector.h"

namespace auspool {
namespace {

// The branches of the filter, `shape.taps` taps each.
Block<double> design_branches(const stage_spec &spec, const fft_shape &shape, std::int32_t *peak) {
  const Block<double> prototype(create_lp_filter(spec.length, static_cast<std::int32_t>(spec.window),
                                                 static_cast<std::int32_t>(spec.minimum_phase), peak, spec.gain,
                                                 spec.cutoff, spec.kaiser_beta));
  if (!prototype) throw std::bad_alloc();
  void *rows = make_polyphase_filter(8, prototype.get(), spec.length, shape.taps, shape.phases, 1);
  if (!rows) throw std::bad_alloc();
  return Block<double>(static_cast<double *>(rows));
}

}  // namespace

std::unique_ptr<fft_static_data> make_fft_static_data(const stage_spec &spec, const fft_shape &shape,
                                                      std::int32_t partition_taps) {
  auto data = std::make_unique<fft_static_data>(shape.log2_size);
  data->partitions = (shape.taps - 1) / partition_taps + 1;
  const Block<double> branches = design_branches(spec, shape, &data->peak);
  const std::size_t size = data->fft_setup.size();
  const auto count = static_cast<std::size_t>(shape.phases) * static_cast<std::size_t>(data->partitions);
  data->spectra = make_aligned_block<double>(count * size);
  const auto padded = make_aligned_block<double>(2 * size);
  double *spectrum = data->spectra.get();
  for (std::int32_t branch = 0; branch < shape.phases; ++branch) {
    const double *taps = branches.get() + std::ptrdiff_t{branch} * shape.taps;
    for (std::int32_t first = 0; first < shape.taps; first += partition_taps, spectrum += size) {
      std::fill_n(padded.get(), size, 0.0);
      std::copy_n(taps + first, std::min(partition_taps, shape.taps - first), padded.get());
      data->fft_setup.forward_unordered(padded.get(), spectrum, padded.get() + size);
    }
  }
  // Both transforms of a product double, and the way back multiplies by the size.
  vector::scale(data->spectra.get(), 1.0 / (4.0 * static_cast<double>(size)), data->spectra.get(), count * size);
  return data;
}

void fft_free_static_data(void *shared) {
  delete static_cast<fft_static_data *>(shared);
}

}  // namespace auspool
