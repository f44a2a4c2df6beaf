#include "platform/vector_targets.h"

#include "platform/vector/tables.h"
#include "platform/vector/targets.h"

#include <hwy/targets.h>

namespace auspool::vector {
namespace {

void forget_choice() {
  hwy::GetChosenTarget().DeInit();
  chosen_table<DotKernels<float>> = nullptr;
  chosen_table<DotKernels<double>> = nullptr;
  chosen_table<RowKernels<float>> = nullptr;
  chosen_table<RowKernels<double>> = nullptr;
  chosen_table<CopyKernel<float, float>> = nullptr;
  chosen_table<CopyKernel<double, double>> = nullptr;
  chosen_table<CopyKernel<float, double>> = nullptr;
  chosen_table<CopyKernel<double, float>> = nullptr;
}

}  // namespace

std::vector<Target> targets() {
  std::vector<Target> found;
  for (const std::int64_t bit : hwy::SupportedAndGeneratedTargets()) found.push_back({bit, hwy::TargetName(bit)});
  constexpr std::int64_t kFallback = HWY_STATIC_TARGET;
  if (found.empty() || found.back().bit != kFallback) found.push_back({kFallback, hwy::TargetName(kFallback)});
  return found;
}

OnlyTarget::OnlyTarget(const Target &target) {
  hwy::SetSupportedTargetsForTest(target.bit);
  forget_choice();
}

OnlyTarget::~OnlyTarget() {
  hwy::SetSupportedTargetsForTest(0);
  forget_choice();
}

}  // namespace auspool::vector
