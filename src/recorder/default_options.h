// The options that a new record starts with.
#pragma once

#include "auspool/aurec.h"

namespace auspool {

struct AuRecOptionsDefault {
  AuRecOptionsPCM pcm;
  AuRecOptionsMP3 mp3;
  AuRecOptionsAAC aac;
  AuRecOptionsALAC alac;
  AuRecOptionsFLAC flac;
};
extern const AuRecOptionsDefault sAuRecOptionsDefault;

}  // namespace auspool
