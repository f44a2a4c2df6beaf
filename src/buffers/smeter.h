// The record of `smeter`.
#pragma once

#include <cstdint>

#include "auspool/smeter.h"

struct smeter {
  float rms_threshold_db = -120.0f;
  float rms_threshold = 1e-6f;
  float silence_time = 0.0f;
  std::int32_t has_signal = 0;
};
