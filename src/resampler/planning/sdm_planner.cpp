// Chains of block transforms for whole-number rates going down.
//
// Powers of two come first, through transforms whose matrices all chains share: a sixteenth at a time, then what is
// left. One transform does the rest of the ratio.
#include <auspool/filter_design.h>
#include <auspool/raesampler_planning.h>

#include <cstdint>
#include <limits>
#include <numeric>
#include <optional>

#include "resampler/planning/ratio.h"
#include "resampler/whole_numbers.h"

namespace auspool {
namespace {

// The rate falls by `power` * `rest` / `up`.
struct Factors {
  std::int64_t power;  // of two
  std::int64_t rest;   // 1: nothing
  std::int64_t up;
};

// A rate falls by `down` / `up`, which is 2 or more.
Factors split(std::int64_t down, std::int64_t up) {
  if (up == 1 && (down & (down - 1)) == 0) return {down, 1, 1};
  Factors factors = {1, down, up};
  const auto quotient = [&] { return static_cast<std::int32_t>(factors.rest / (2 * factors.up)); };
  for (std::int32_t q = quotient(); q > 1; q = quotient()) {
    const std::int32_t log2 = ilog2N(q);
    const std::int64_t power = std::int64_t{1} << log2;
    factors.power *= power;
    factors.rest % power == 0 ? factors.rest /= power : factors.up *= power;
  }
  return factors;
}

class SdmPlan {
public:
  explicit SdmPlan(resampler_structure &structure) : structure_(structure) { structure_ = {}; }

  // Twice the rate, for a band up to `edge` of the new one.
  void add_interpolator(double edge) {
    constexpr double kRipple = 1e-10;
    stage_spec &stage = add(RAESAMPLER_STAGE_INTERPOLATOR, 2, 1, 2.0);
    stage.gain = 2.0;
    stage.pass_edge = edge;
    stage.stop_edge = 2 * edge * 0.95;
    stage.length = static_cast<std::int32_t>(
        kaiser_estimate(&stage.kaiser_beta, &stage.cutoff, stage.pass_edge, stage.stop_edge, kRipple, kRipple) | 1);
  }

  void add_power(std::int64_t power) {
    constexpr std::int32_t kSize = 32;
    constexpr std::int64_t kMost = 16;
    for (; power >= 2; power = power < kMost ? 1 : power / kMost) {
      const auto half = static_cast<std::int32_t>((power < kMost ? power : kMost) / 2);
      add_transform(kSize * half, kSize, Fraction{1, half}, 1.0 / (2 * half));
    }
  }

  // False for sizes beyond what can be counted.
  bool add_rest(std::int64_t down, std::int64_t up) {
    constexpr std::int64_t kLeastUp = 15;  // shorter transforms are worse
    if (down < 2) return true;
    const std::int64_t times = up < kLeastUp ? kLeastUp / up + 1 : 1;
    down *= times;
    up *= times;
    if (2 * down > std::numeric_limits<std::int32_t>::max()) return false;
    const std::int64_t common = std::gcd(2 * up, down);
    const Fraction values = {static_cast<std::int32_t>(2 * up / common), static_cast<std::int32_t>(down / common)};
    add_transform(static_cast<std::int32_t>(down), static_cast<std::int32_t>(2 * up), values,
                  static_cast<double>(up) / static_cast<double>(down));
    return true;
  }

  void add_converter() {
    stage_spec &stage = add(RAESAMPLER_STAGE_COMPLEX_TO_REAL, 1, 2, 1.0);
    stage.length = 10001;
    stage.kaiser_beta = 21.0;
  }

private:
  // `values` are values out for each real sample in; a complex sample in is two.
  void add_transform(std::int32_t block_size, std::int32_t transform_size, Fraction values, double ratio) {
    const std::int32_t in = complex_ && values.up % 2 != 0 ? 2 : 1;
    const std::int32_t out = complex_ && in == 1 ? 2 : 1;
    stage_spec &stage = add(RAESAMPLER_STAGE_SDM, values.up / out, values.down * in, ratio);
    stage.length = 1;
    stage.block_size = block_size;
    stage.transform_size = transform_size;
    stage.complex_input = complex_ ? 1 : 0;
    complex_ = true;
  }

  stage_spec &add(std::uint32_t type, std::int32_t up, std::int32_t down, double ratio) {
    stage_spec &stage = structure_.stages[structure_.count++];
    stage.type = type;
    stage.up = up;
    stage.down = down;
    stage.ratio = ratio;
    stage.gain = stage.cutoff = stage.kaiser_beta = stage.pass_edge = stage.stop_edge = 1.0;
    stage.window = AU_WINDOW_KAISER;
    return stage;
  }

  resampler_structure &structure_;
  bool complex_ = false;
};

}  // namespace
}  // namespace auspool

using namespace auspool;

std::int32_t generate_sdm_resampler_structure(resampler_structure *structure, double input_rate, double output_rate) {
  const std::optional<Fraction> ratio = exact_ratio(input_rate, output_rate);
  if (!ratio || ratio->down <= ratio->up) return -1;
  SdmPlan plan(*structure);
  std::int64_t down = ratio->down, up = ratio->up;
  if (down < 2 * up) {
    plan.add_interpolator(static_cast<double>(up) / static_cast<double>(2 * down));
    const std::int64_t common = std::gcd(2 * down, up);
    down = 2 * down / common;
    up /= common;
  }
  const Factors factors = split(down, up);
  plan.add_power(factors.power);
  if (!plan.add_rest(factors.rest, factors.up)) {
    structure->count = 0;  // none of half a plan
    return -1;
  }
  plan.add_converter();
  return structure->count;
}
