// What a packet player is doing, and all that changes it.
//
//   from       to         when
//   created    buffering  aupacketplayer_start
//   any        buffering  a flush marker was taken from the queue
//   buffering  playback   the earliest packet's time has come
//   playback   buffering  the audio would be heard too early
//   playback   empty      no packet is there where one is wanted
//   empty      playback   a packet is there again, whatever its time
#pragma once

#include <cstdint>

#include "auspool/aupacketplayer.h"

namespace auspool {

enum class State : std::uint32_t {
  created = AuPacketPlayerCreated,
  playback = AuPacketPlayerPlayback,
  empty = AuPacketPlayerEmpty,
  buffering = AuPacketPlayerBuffering,
};

struct Packet;

// On the control thread; the others belong to the thread that gets frames.
void leave_created(aupacketplayer &ctx);

void flush(aupacketplayer &ctx);
void begin_when_due(aupacketplayer &ctx, double playing_time);
void wait_again(aupacketplayer &ctx, const Packet &too_new, double playing_time);
void run_empty(aupacketplayer &ctx);
void go_on(aupacketplayer &ctx);

}  // namespace auspool
