// Changes to a tag as a command line gives them.
#pragma once

#include <string>
#include <vector>

#include "common/command_line.h"
#include "common/value.h"

namespace example {

struct Changes {
  bool clear = false;
  std::vector<std::string> removals;
  std::string cover;                  // path of an image
  std::vector<std::string> settings;  // KEY=VALUE

  // The options that fill this: --clear, --remove KEY, --cover IMAGE.
  std::vector<Option> options();
  // Clears, removes, sets, in this order. Throws UsageError for a key or value that no tag has.
  void apply(audict *tag) const;
};

}  // namespace example
