#include "auplayer/aupacketplayer/playback.h"

#include <algorithm>

#include "auplayer/aupacketplayer/context.h"
#include "auplayer/aupacketplayer/controller.h"
#include "auplayer/aupacketplayer/log.h"
#include "auplayer/aupacketplayer/require.h"

namespace auspool {
namespace {

// Gaps that are padded, in frames at any rate.
constexpr double kLeastGap = 301.0;
constexpr double kGapTooLong = 44100.0;

// Frames between what was played and this packet, where they are to become silence; otherwise 0.
std::int32_t gap_before(const aupacketplayer &ctx, const Packet &packet) {
  if (ctx.next_timestamp == 0.0 || !ctx.pads_missing_audio) return 0;
  const double gap = (packet.timestamp - ctx.next_timestamp) * static_cast<double>(ctx.sample_rate);
  return gap >= kLeastGap && gap < kGapTooLong ? static_cast<std::int32_t>(gap) : 0;
}

void buffer_silence(aupacketplayer &ctx, std::int32_t frames, double until) {
  std::fill_n(ctx.sample_buffer.get(), 2 * frames, 0.0f);
  ctx.sample_buffer_start = 0;
  ctx.sample_buffer_count = frames;
  ctx.next_timestamp = until;
  ctx.skip_derivative = 1;
}

void buffer_packet(aupacketplayer &ctx, const Packet &packet) {
  ctx.last_timestamp = packet.timestamp;
  ctx.next_timestamp = packet.timestamp + static_cast<double>(static_cast<float>(packet.frames) / ctx.sample_rate);
  std::copy_n(packet.data.get(), 2 * packet.frames, ctx.sample_buffer.get());
  ctx.sample_buffer_start = 0;
  ctx.sample_buffer_count = static_cast<std::int32_t>(packet.frames);
}

}  // namespace

bool decide_playback(aupacketplayer &ctx, double playing_time, std::uint32_t remaining) {
  begin_when_due(ctx, playing_time);
  if (ctx.state != State::playback && ctx.state != State::empty) return false;
  while (has_packet(ctx)) {
    const Verdict verdict = EvaluateFirstNode(ctx, playing_time, remaining);
    if (verdict != Verdict::next) return verdict == Verdict::play;
  }
  run_empty(ctx);
  return false;
}

Verdict EvaluateFirstNode(aupacketplayer &ctx, double playing_time, std::uint32_t remaining) {
  const Packet &packet = first_packet(ctx);
  go_on(ctx);
  if (is_too_old(ctx, packet)) {
    log(ctx, kPacketDetail, "skipping too-old packet %f", packet.timestamp);
    RemoveMinNode(ctx);
    return Verdict::next;
  }
  smooth_offset(ctx, packet.timestamp - playing_time, remaining);
  if (ctx.offset < -kMostOffset) {
    log(ctx, kStateChange, "Throwing away packets to catch up");
    RemovePacketsUntilTime(ctx, playing_time);
    ctx.offset = 0.0;
    return Verdict::next;
  }
  if (ctx.offset > kMostOffset) {
    wait_again(ctx, packet, playing_time);
    return Verdict::wait;
  }
  return Verdict::play;
}

std::uint32_t take_buffered(aupacketplayer &ctx, float *to, std::uint32_t frames) {
  const std::uint32_t taken = std::min(frames, static_cast<std::uint32_t>(ctx.sample_buffer_count));
  std::copy_n(ctx.sample_buffer.get() + 2 * ctx.sample_buffer_start, 2 * taken, to);
  ctx.sample_buffer_start += static_cast<std::int32_t>(taken);
  ctx.sample_buffer_count -= static_cast<std::int32_t>(taken);
  return taken;
}

std::uint32_t PlayAudio(aupacketplayer &ctx, float *to, std::uint32_t frames) {
  std::uint32_t found = 0;
  while (found < frames && has_packet(ctx)) {
    const Packet &packet = first_packet(ctx);
    if (is_too_old(ctx, packet)) {
      RemoveMinNode(ctx);
      continue;
    }
    const std::int32_t gap = gap_before(ctx, packet);
    if (gap > 0) {
      buffer_silence(ctx, gap, packet.timestamp);
    } else {
      require(static_cast<std::uint32_t>(ctx.sample_buffer_size) >= packet.frames,
              "ctx->sample_buffer_size >= packet->frames");
      require(ctx.sample_buffer_count == 0, "ctx->sample_buffer_count == 0");
      buffer_packet(ctx, packet);
    }
    found += take_buffered(ctx, to + 2 * found, frames - found);
    if (gap == 0) RemoveMinNode(ctx);
  }
  if (found < frames) run_empty(ctx);
  return found;
}

}  // namespace auspool
