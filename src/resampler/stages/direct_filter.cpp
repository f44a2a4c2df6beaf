#include "resampler/stages/direct_filter.h"

#include <cmath>

#include "auspool/filter_design.h"

namespace auspool {

DirectFilter::DirectFilter(std::int32_t sample_size, const stage_spec &spec, std::int32_t length, std::int32_t taps,
                           std::int32_t phases) {
  const Block<double> prototype(create_lp_filter(length, static_cast<std::int32_t>(spec.window),
                                                 static_cast<std::int32_t>(spec.minimum_phase), &peak, spec.gain,
                                                 spec.cutoff, spec.kaiser_beta));
  if (!prototype) throw std::bad_alloc();
  void *block = make_polyphase_filter(sample_size, prototype.get(), length, taps, phases, -1);
  rows.reset(static_cast<std::byte *>(block));
  if (!rows) throw std::bad_alloc();
}

bool is_filter(const stage_spec &spec) {
  constexpr std::int32_t kMost = 1 << 28;
  const auto possible = [](std::int32_t number) { return number >= 1 && number <= kMost; };
  return possible(spec.up) && possible(spec.down) && possible(spec.length) && std::isfinite(spec.gain) &&
         std::isfinite(spec.cutoff) && std::isfinite(spec.kaiser_beta);
}

}  // namespace auspool
