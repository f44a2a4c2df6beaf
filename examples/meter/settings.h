// The command line of auspool-meter.
#pragma once

#include <string>

#include "common/command_line.h"

namespace meter {

extern const char *const kHelp;

struct Settings {
  std::string input;
  std::string backend;  // of devices; empty for the default
  std::string svg;      // where to draw; empty for nowhere
  float falloff = 20;
  bool capture = false, fast = false, json = false, help = false;
};

// Throws example::UsageError.
Settings settings_from(int argc, char **argv);

}  // namespace meter
