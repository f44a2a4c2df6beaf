// What is heard: which packet it is time for, and the audio of one after the other. For the thread that gets frames.
#pragma once

#include <cstdint>

#include "auspool/aupacketplayer.h"

namespace auspool {

// Whether packets are to be played now. `remaining` is how many frames are wanted of them.
bool decide_playback(aupacketplayer &ctx, double playing_time, std::uint32_t remaining);

enum class Verdict { play, wait, next };

// Looks at the earliest packet, of which there must be one; with `next` it is gone, or to be looked at anew.
Verdict EvaluateFirstNode(aupacketplayer &ctx, double playing_time, std::uint32_t remaining);

// Takes frames from the sample buffer. Returns how many there were, up to `frames`.
std::uint32_t take_buffered(aupacketplayer &ctx, float *to, std::uint32_t frames);

// Plays packets, and pads gaps between them. The sample buffer must be empty. Returns how many frames were found.
std::uint32_t PlayAudio(aupacketplayer &ctx, float *to, std::uint32_t frames);

}  // namespace auspool
