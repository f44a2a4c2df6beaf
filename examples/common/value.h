// An audict that is released at the end of its scope.
#pragma once

#include <auspool/autag2.h>

#include <memory>
#include <string>

namespace example {

struct Release {
  void operator()(audict *value) const { audict_release(value); }
};
using Value = std::unique_ptr<audict, Release>;

// A result of autag2 as its four letters, or as a number.
std::string code_text(int32_t code);

std::string read_whole_file(const std::string &path);
void write_whole_file(const std::string &path, const std::string &bytes);

}  // namespace example
