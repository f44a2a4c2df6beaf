#include <algorithm>
#include <functional>
#include <numeric>
#include <span>

#include "resampler/planning/candidates.h"
#include "resampler/planning/stage_design.h"

namespace auspool {
namespace {

using Factors = std::vector<std::int32_t>;

constexpr std::size_t kMaxFactors = 31;
constexpr std::size_t kMaxLists = 63;  // beside the single stage

// [16], [2, 8], [2, 2, 4], [2, 2, 2, 2]: the last factor splits into two as near to each other as can be.
std::vector<Factors> splits(std::int32_t factor) {
  std::vector<Factors> lists = {{factor}};
  while (lists.size() < kMaxLists && lists.back().size() < kMaxFactors) {
    const std::int32_t last = lists.back().back();
    const std::int32_t divisor = last > 3 ? largest_divisor(last, last / 2) : 0;
    if (divisor == 0) break;
    Factors next = lists.back();
    next.back() = last / divisor;
    next.push_back(divisor);
    lists.push_back(std::move(next));
  }
  return lists;
}

// Two factors: all but the last, and the last. The list of a single factor, the first, takes no part.
void add_merges(std::vector<Factors> &lists) {
  if (lists.back().size() < 3) return;
  const std::size_t count = lists.size();
  for (std::size_t i = 1; i < count && lists.size() < kMaxLists; ++i) {
    const Factors &list = lists[i];
    if (list.size() < 3) continue;
    const std::int32_t merged = std::accumulate(list.begin(), list.end() - 1, 1, std::multiplies<>());
    lists.push_back({merged, list.back()});
  }
}

void add_reversals(std::vector<Factors> &lists) {
  const std::size_t count = lists.size();
  for (std::size_t i = 1; i < count && lists.size() < kMaxLists; ++i) {
    if (lists[i].size() > 1) lists.emplace_back(lists[i].rbegin(), lists[i].rend());
  }
}

// The factors as stages. What is left of the larger side stands beside the smaller side in one rational stage.
std::vector<Fraction> stages_of(const Factors &factors, Fraction ratio, std::int32_t rest) {
  const bool rises = ratio.up >= ratio.down;
  std::vector<Fraction> stages;
  if (rises && rest != 1) stages.push_back({rest, ratio.down});
  for (const std::int32_t factor : factors) stages.push_back(rises ? Fraction{factor, 1} : Fraction{1, factor});
  if (!rises && rest != 1) stages.push_back({ratio.up, rest});
  return stages;
}

resampler_structure design(std::int32_t quality, Fraction ratio, std::span<const Fraction> stages) {
  const double fraction = pass_fraction(quality, static_cast<double>(ratio.up) / ratio.down);
  const double base = std::min(ratio.up, ratio.down);
  resampler_structure structure = {};
  double up_product = 1, down_product = 1, rate = ratio.down;
  for (const auto [up, down] : stages) {
    const bool first = structure.count == 0;
    const bool last = static_cast<std::size_t>(structure.count) + 1 == stages.size();
    const double band = base / (up * rate);
    double stop = 1.0 / std::max(up, down);
    // Inside the chain images and aliases may reach up to the band itself: another stage takes them away.
    if (up > down ? !first : !last) stop = (2 * stop - band) * 0.99;
    structure.stages[structure.count++] = low_pass_stage(quality, up, down, band * fraction, stop);
    up_product *= up;
    down_product *= down;
    rate = ratio.down * up_product / down_product;
  }
  estimate(structure);
  return structure;
}

}  // namespace

resampler_structure single_stage_candidate(std::int32_t quality, Fraction ratio) {
  return design(quality, ratio, {&ratio, 1});
}

std::vector<resampler_structure> factored_candidates(std::int32_t quality, Fraction ratio) {
  const std::int32_t larger = std::max(ratio.up, ratio.down);
  const std::int32_t smaller = std::min(ratio.up, ratio.down);
  const std::int32_t factor = largest_divisor(larger, larger / smaller);
  if (factor == 0) return {};

  std::vector<Factors> lists = splits(factor);
  add_merges(lists);
  add_reversals(lists);
  std::vector<resampler_structure> candidates;
  for (const Factors &factors : lists) {
    candidates.push_back(design(quality, ratio, stages_of(factors, ratio, larger / factor)));
    optimize_structure(quality, &candidates.back());
  }
  return candidates;
}

}  // namespace auspool
