#include "auplayer/aupacketplayer/states.h"

#include "auplayer/aupacketplayer/context.h"
#include "auplayer/aupacketplayer/log.h"

namespace auspool {

// The output may be flushing at this moment, and go on from there.
void leave_created(aupacketplayer &ctx) {
  State expected = State::created;
  while (expected == State::created && !ctx.state.replace(expected, State::buffering)) {
  }
}

void flush(aupacketplayer &ctx) {
  log(ctx, kPacketDetail, "flushing buffered audio");
  while (has_packet(ctx)) RemoveMinNode(ctx);
  ctx.sample_buffer_count = 0;
  ctx.state = State::buffering;
}

void begin_when_due(aupacketplayer &ctx, double playing_time) {
  if (ctx.state != State::buffering || !has_packet(ctx)) return;
  const double timestamp = first_packet(ctx).timestamp;
  if (!(timestamp <= playing_time)) return;
  ctx.state = State::playback;
  ctx.next_timestamp = 0.0;
  log(ctx, kStateChange, "switching to playback state node:%f playback:%f", timestamp, playing_time);
}

void wait_again(aupacketplayer &ctx, const Packet &too_new, double playing_time) {
  log(ctx, kStateChange, "Buffered packets are too new, oldest:%f playing:%f, padding with silence", too_new.timestamp,
      playing_time);
  ctx.state = State::buffering;
  ctx.next_timestamp = 0.0;
  ctx.offset = 0.0;
}

void run_empty(aupacketplayer &ctx) {
  if (ctx.state == State::empty) return;
  log(ctx, kStateChange, "Empty buffer!");
  ctx.state = State::empty;
}

void go_on(aupacketplayer &ctx) {
  ctx.state = State::playback;
}

}  // namespace auspool
