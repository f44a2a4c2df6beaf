// The options of the formats with an encoder: their defaults, and the correction of what a host sets.
#pragma once

#include "auspool/aurec.h"

namespace auspool {

class RecorderAAC {
public:
  static constexpr AuRecOptionsAAC DefaultOptions() { return {0, 128, 0, 5, 1, 0}; }
  static void fix_opts(AuRecOptionsAAC *options);
};

class RecorderALAC {
public:
  static constexpr AuRecOptionsALAC DefaultOptions() { return {0, 0, 1}; }
  static void fix_opts(AuRecOptionsALAC *options);
};

}  // namespace auspool
