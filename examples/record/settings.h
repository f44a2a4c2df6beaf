// The command line of auspool-record.
#pragma once

#include <auspool/aurec.h>

#include <filesystem>
#include <string>
#include <vector>

#include "common/change.h"
#include "common/command_line.h"

namespace record {

extern const char *const kHelp;

struct Settings {
  std::vector<std::string> inputs;
  std::filesystem::path folder = ".";
  AuRecOutputType type = AuRecOutputTypeAIFF;
  AuRecOptionsPCM pcm{};
  AuRecOptionsMP3 mp3{0, 5, 0, 5, 128, 0, 0};
  AuRecOptionsFLAC flac{};
  AuRecOptionsAAC aac{0, 128, 0, 5, 1, 0};
  AuRecOptionsALAC alac{0, 0, 1};
  example::Changes changes;  // of nothing: the tag of all files
  example::Value tag;        // null for none
  example::Limit limit;
  int32_t silence_mode = 0;
  float silence_db = -50, silence_seconds = 2;
  int block = 512;
  bool realtime = false, json = false, help = false;
};

// Of a file's name.
std::string extension(AuRecOutputType type);

// Throws example::UsageError.
Settings settings_from(int argc, char **argv);

}  // namespace record
