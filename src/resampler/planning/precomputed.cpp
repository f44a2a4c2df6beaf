// Looking up ready chains. Nothing here searches or allocates: it runs where a device's thread makes a converter.
#include <auspool/raesampler_planning.h>

#include <span>

#include "resampler/planning/find_structure.h"
#include "resampler/planning/ratio.h"
#include "resampler/quality.h"

namespace auspool {
namespace {

using Table = std::span<const precomputed_chain>;

constexpr Table kTables[kQualities] = {RaesamplerQualityRealTimeChains, RaesamplerQualityNormalChains,
                                       RaesamplerQualityHighChains, RaesamplerQualityVeryHighChains,
                                       RaesamplerQualityUltraHighChains};

struct Found {
  const precomputed_structure *chain = nullptr;
  double ratio = 0;
};

Found look_up(std::int32_t quality, double input_rate, double output_rate, double rate_tolerance) {
  const double ratio = output_rate / input_rate;
  if (const auto exact = exact_ratio(input_rate, output_rate)) {
    if (const auto *chain = find_chain(quality, exact->up, exact->down)) return {chain, ratio};
  }
  if (!(rate_tolerance > 0)) return {};
  const auto near = approximate_ratio(ratio, rate_tolerance);
  if (!near || near->up == near->down) return {};
  return {find_chain(quality, near->up, near->down), static_cast<double>(near->up) / near->down};
}

}  // namespace
}  // namespace auspool

using namespace auspool;

const precomputed_structure *find_chain(std::int32_t quality, std::int32_t up, std::int32_t down) {
  if (!is_quality(quality)) return nullptr;
  for (const precomputed_chain &row : kTables[quality]) {
    if (row.up > up || (row.up == up && row.down > down)) break;
    if (row.up == up && row.down == down) return &row.structure;
  }
  return nullptr;
}

std::int32_t get_precomputed_structure(std::int32_t quality, double *actual_ratio, resampler_structure *structure,
                                       double input_rate, double output_rate, double rate_tolerance) {
  const Found found = look_up(quality, input_rate, output_rate, rate_tolerance);
  if (!found.chain) return -1;
  if (actual_ratio) *actual_ratio = found.ratio;
  return expand_precomputed(*found.chain, structure);
}
