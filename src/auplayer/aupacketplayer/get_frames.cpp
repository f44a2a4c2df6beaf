#include <algorithm>

#include "auplayer/aupacketplayer/context.h"
#include "auplayer/aupacketplayer/controller.h"
#include "auplayer/aupacketplayer/playback.h"
#include "auspool/auclock.h"

namespace auspool {
namespace {

// The most frames at the packets' rate that lie on the stack at a time. Longer blocks are made in pieces, which differ
// from a whole in rounding alone.
constexpr std::uint32_t kPieceFrames = 8192;

// Rates further apart are a mistake, and would spoil the sampler's state for good.
constexpr double kMostRatio = 1000.0;

struct Rates {
  double packets, output;
};

// When the first frame of a call is heard.
double playing_time(const aupacketplayer &ctx) {
  const double now = au_now();
  const double latency = ctx.callbacks.get_latency ? ctx.callbacks.get_latency(ctx.callbacks.context) : 0.0;
  return latency + now + ctx.time_adjustment;
}

// Output frames that can be made from one piece: each takes `ratio` frames, and the first up to four more.
std::uint32_t piece_output(double ratio) {
  return static_cast<std::uint32_t>((kPieceFrames - 4) / std::max(ratio, 1.0));
}

// Finds audio for a piece: first what is buffered, then packets if they are to be played; silence behind.
void find_audio(aupacketplayer &ctx, bool playing, float *to, std::uint32_t frames) {
  std::uint32_t found = take_buffered(ctx, to, frames);
  if (playing && found < frames) found += PlayAudio(ctx, to + 2 * found, frames - found);
  std::fill(to + 2 * found, to + 2 * frames, 0.0f);
}

void make_block(aupacketplayer &ctx, bool playing, float *output, std::uint32_t frames, Rates rates) {
  const double ratio = rates.packets / rates.output;
  if (!(ratio > 1.0 / kMostRatio && ratio < kMostRatio)) return void(std::fill_n(output, 2 * frames, 0.0f));
  float input[2 * kPieceFrames];
  for (std::uint32_t left = frames; left > 0;) {
    const std::uint32_t made = std::min(left, piece_output(ratio));
    find_audio(ctx, playing, input, ausampler_read_frames_in(ctx.sampler.get(), made, rates.packets, rates.output));
    ausampler_read_interleaved(ctx.sampler.get(), input, output, made, rates.packets, rates.output);
    output += 2 * made;
    left -= made;
  }
}

}  // namespace
}  // namespace auspool

using namespace auspool;

void aupacketplayer_get_frames(aupacketplayer *player, float *output, int32_t frames, float output_rate) {
  aupacketplayer &ctx = *player;
  StealPackets(ctx);
  const Rates rates = {static_cast<double>(ctx.sample_rate), static_cast<double>(next_output_rate(ctx, output_rate))};
  const auto count = static_cast<std::uint32_t>(std::max(frames, 0));
  const std::uint32_t input_frames = ausampler_read_frames_in(ctx.sampler.get(), count, rates.packets, rates.output);
  const std::uint32_t remaining =
      input_frames - std::min(input_frames, static_cast<std::uint32_t>(ctx.sample_buffer_count));
  const bool playing = decide_playback(ctx, playing_time(ctx), remaining);
  make_block(ctx, playing, output, count, rates);
}
