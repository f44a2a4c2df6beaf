// What the command line of auspool-delay says.
#pragma once

#include <auspool/auplayer.h>

#include <string>

namespace delay {

extern const char *const kHelp;

struct Settings {
  std::string input, out, backend;  // no `out`: a device
  AuPlayerOptions options{};
  int seconds = 3600;
  double set = 0;
  bool capture = false, fast = false, json = false, help = false;
};

Settings settings_from(int argc, char **argv);

}  // namespace delay
