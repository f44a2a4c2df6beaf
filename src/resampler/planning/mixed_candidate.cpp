#include <algorithm>
#include <initializer_list>

#include "resampler/planning/candidates.h"
#include "resampler/planning/stage_design.h"

namespace auspool {
namespace {

std::int32_t first_divisor(std::int32_t value, std::initializer_list<std::int32_t> choices) {
  const auto *found = std::find_if(choices.begin(), choices.end(), [&](std::int32_t c) { return value % c == 0; });
  return found == choices.end() ? 0 : *found;
}

// Going down: come near the output rate by a whole factor, or, where there is no room for one, double first.
std::optional<Fraction> first_stage_down(Fraction ratio) {
  const auto [up, down] = ratio;
  const std::int32_t room = down / up;
  if (room < 2) {
    const std::int32_t u = first_divisor(up, {2, 3, 5, 7, 9});
    return u == 0 ? std::nullopt : std::optional(Fraction{u, 1});
  }
  for (std::int32_t f = room; f >= 2; --f) {
    if (down % f == 0 && (down / f) / up > 1) return Fraction{1, f};
  }
  return Fraction{1, 1};
}

// Going up: rise past twice the output rate, so that the second stage has a wide transition.
std::optional<Fraction> first_stage_up(Fraction ratio) {
  const std::int64_t up = ratio.up, down = ratio.down;
  const std::int64_t room = 2 * up / down;
  struct Choice {
    std::int64_t factor, room_above;
  };
  std::int64_t u = 1;
  for (const Choice choice : {Choice{7, 5}, Choice{5, 3}, Choice{3, 2}}) {
    if (u == 1 && up % choice.factor == 0 && room > choice.room_above) u = choice.factor;
  }
  while (u * down < 2 * up) {
    const std::int32_t more = first_divisor(static_cast<std::int32_t>(up / u), {2, 3, 5, 7});
    if (more == 0) return std::nullopt;
    u *= more;
  }
  return Fraction{static_cast<std::int32_t>(u), 1};
}

}  // namespace

std::optional<Fraction> mixed_first_stage(Fraction ratio) {
  if (ratio.up == ratio.down || ratio.up == 1 || ratio.down == 1) return std::nullopt;
  return ratio.up < ratio.down ? first_stage_down(ratio) : first_stage_up(ratio);
}

resampler_structure mixed_candidate(std::int32_t quality, Fraction ratio, Fraction first) {
  const std::int32_t up_left = ratio.up / first.up;
  const std::int32_t down_left = ratio.down / first.down;
  const double stop = std::min(ratio.up, ratio.down) / (static_cast<double>(ratio.down) * first.up);
  const double pass = pass_fraction(quality, static_cast<double>(ratio.up) / ratio.down) * stop;
  const double band = first.down * pass;

  resampler_structure structure = {};
  structure.count = 2;
  structure.stages[0] = low_pass_stage(quality, first.up, first.down, pass, stop);
  structure.stages[1] = low_pass_stage(quality, up_left, down_left, band / up_left, (2.0 - band) / up_left * 0.99);
  structure.stages[1].type = RAESAMPLER_STAGE_RATIONAL;
  estimate(structure);
  optimize_structure(quality, &structure);
  return structure;
}

}  // namespace auspool
