// The way of 441 frames from a producer to an output that follows drift: the packet player beside what programs build
// for it from JACK's ring and zita-resampler's VResampler at its shortest filter, which neither sort nor pad.
#include <benchmark/benchmark.h>
#include <jack/ringbuffer.h>
#include <zita-resampler/vresampler.h>

#include <vector>

#include "auspool/aupacketplayer.h"
#include "support/hand_clock.h"

namespace {

constexpr std::uint32_t kFrames = 441;
constexpr float kRate = 44100.0f;
constexpr int kShortestFilter = 8;            // half of its length
constexpr float kDrifting = kRate * 1.0001f;  // what the output says, so that it is never at rest

void packet_player(benchmark::State &state, bool plays) {
  auspool::testing::HandClock clock;
  clock.move(100);
  aupacketplayer *player = aupacketplayer_create(64, nullptr, nullptr, kRate);
  aupacketplayer_start(player);
  const std::vector<float> packet(2 * kFrames, 0.25f);
  std::vector<float> output(2 * kFrames);
  double due = 100;
  for (int ahead = 0; plays && ahead < 4; ++ahead, due += 0.01)
    aupacketplayer_play(player, packet.data(), kFrames, due);
  for (auto _ : state) {
    if (plays) aupacketplayer_play(player, packet.data(), kFrames, due);
    aupacketplayer_get_frames(player, output.data(), kFrames, kDrifting);
    due += 0.01;
    clock.ticks += 10'000'000;
  }
  const bool played = aupacketplayer_get_status(player).state == AuPacketPlayerPlayback;
  if (played != plays) state.SkipWithError("it is not in the state that is measured");
  aupacketplayer_destroy(player);
}
void packet_player_plays(benchmark::State &state) {
  packet_player(state, true);
}
void packet_player_waits(benchmark::State &state) {
  packet_player(state, false);
}

void jack_ring_and_zita_vresampler(benchmark::State &state) {
  jack_ringbuffer_t *ring = jack_ringbuffer_create(64 * kFrames * 8);
  VResampler resampler;
  resampler.setup(1.0, 2, kShortestFilter);
  const std::vector<float> packet(2 * kFrames, 0.25f);
  std::vector<float> input(2 * kFrames), output(2 * kFrames);
  for (auto _ : state) {
    jack_ringbuffer_write(ring, reinterpret_cast<const char *>(packet.data()), kFrames * 8);
    jack_ringbuffer_read(ring, reinterpret_cast<char *>(input.data()), kFrames * 8);
    resampler.set_rratio(1.0001);
    resampler.inp_count = kFrames;
    resampler.inp_data = input.data();
    resampler.out_count = kFrames;
    resampler.out_data = output.data();
    resampler.process();
    benchmark::DoNotOptimize(output.data());
  }
  jack_ringbuffer_free(ring);
}

}  // namespace

BENCHMARK(packet_player_plays);
BENCHMARK(packet_player_waits);
BENCHMARK(jack_ring_and_zita_vresampler);
BENCHMARK_MAIN();
