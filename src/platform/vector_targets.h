// The processor targets that the kernels are compiled for, for tests that run each of them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace auspool::vector {

struct Target {
  std::int64_t bit;
  std::string name;
};

// Those that this processor can run, the best first.
std::vector<Target> targets();

// From here to the end of the scope kernels and transforms made are those of one target. Nothing else may compute when
// it begins or ends.
class OnlyTarget {
public:
  explicit OnlyTarget(const Target &target);
  ~OnlyTarget();
  OnlyTarget(const OnlyTarget &) = delete;
  OnlyTarget &operator=(const OnlyTarget &) = delete;
};

}  // namespace auspool::vector
