// The kinds of file that this build can write.
#pragma once

#include "auspool/aurec.h"

namespace auspool {

class Recorder;

struct OutputType {
  bool (*is_available)();
  Recorder *(*make)(aurec &rec);  // null if memory ran out
};

// Null for a type that does not exist or that this build cannot write.
const OutputType *output_type(AuRecOutputType type);

}  // namespace auspool
