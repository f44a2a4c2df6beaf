// The command line of auspool-convert.
#pragma once

#include <auspool/bitbox.h>

#include <filesystem>
#include <string>

#include "common/command_line.h"

namespace convert {

extern const char *const kHelp;

struct Format {
  const char *name;
  std::uint32_t word;
  int bytes, subtype;  // the subtype of libsndfile, 0 where no container has the format
};

struct Container {
  const char *extension;
  int type;
  bool big_endian;
};

struct Settings {
  std::filesystem::path in, out;
  int format = -1;
  std::uint32_t dither = 0;
  bool big_endian = false, json = false, help = false;
  const Container *container = nullptr;  // null for raw samples

  const Format &target() const;
  bool to_floats() const { return (target().word & BITBOX_FLOAT) != 0; }
  std::string dither_name() const;
  std::uint32_t word() const { return target().word | (big_endian ? BITBOX_BIG_ENDIAN : BITBOX_LITTLE_ENDIAN); }
};

// Throws example::UsageError.
Settings settings_from(int argc, char **argv);

}  // namespace convert
