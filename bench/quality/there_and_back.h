#pragma once

namespace quality {

// The tables of docs/resampling-qualities.md: what 48000 to 44100 and back does to speech and music.
void print_there_and_back();

}  // namespace quality
