// A player's pass of 256 stereo frames on the IO thread, from the ring into the device's interleaved buffer, beside the
// same pass around libswresample and libsoxr. Each pass is timed by itself: the median, the 99.9th percentile and the
// worst of 100000 count, for one late pass is one that everybody hears. `share` is that of the worst in the time that
// the device gives, 256 frames.
#include <benchmark/benchmark.h>
#include <soxr.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "auspool/audevice.h"
#include "auspool/audevice_simulated.h"
#include "auspool/auplayer.h"
#include "auspool/rbuffer.h"
#include "platform/audio_device.h"
extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace {

using namespace auspool::platform;
using Clock = std::chrono::steady_clock;

constexpr int kPasses = 100000;
constexpr std::uint32_t kFrames = 256, kFed = 4096;
constexpr double kSourceRate = 44100;

std::vector<float> sine() {
  std::vector<float> samples(kFed);
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = 0.5f * std::sin(static_cast<float>(i) * 0.1f);
  return samples;
}

// A simulated device that times what happens between its input and its output.
class TimedDevice {
public:
  explicit TimedDevice(double rate) : rate_(rate) {
    audevice_choose_backend("simulated");
    sim_ = ausim_create();
    const std::uint32_t stereo[] = {2};
    ausim_device description = {};
    description.output_buffers = stereo;
    description.output_buffer_count = 1;
    description.rate = rate;
    description.buffer_frames = kFrames;
    id_ = ausim_add_device(sim_, &description);
    ausim_set_default(sim_, 0, id_);
    ausim_set_input_callback(sim_, begin, this);
    ausim_set_output_callback(sim_, end, this);
  }
  ~TimedDevice() { ausim_destroy(sim_); }

  std::uint32_t id() const { return id_; }

  // Runs pass after pass; `feed` keeps the ring filled, outside the time that counts.
  template <typename Feed>
  void run(benchmark::State &state, const Feed &feed) {
    std::vector<double> microseconds;
    microseconds.reserve(kPasses);
    for (int i = 0; i < 100; ++i) {  // what is built once
      feed();
      ausim_run(sim_, id_, 1);
    }
    for (auto _ : state) {
      feed();
      ausim_run(sim_, id_, 1);
      microseconds.push_back(1e6 * seconds_);
      state.SetIterationTime(seconds_);
    }
    std::sort(microseconds.begin(), microseconds.end());
    const auto at = [&](double fraction) {
      return microseconds[static_cast<std::size_t>(fraction * static_cast<double>(microseconds.size() - 1))];
    };
    state.counters["median_us"] = at(0.5);
    state.counters["p99.9_us"] = at(0.999);
    state.counters["worst_us"] = at(1.0);
    state.counters["share"] = at(1.0) * 1e-6 / (kFrames / rate_);
    state.SetLabel("44100 to " + std::to_string(static_cast<int>(rate_)));
  }

private:
  static void begin(void *self, std::uint32_t, const ausim_buffer *, std::uint32_t, std::uint32_t) {
    static_cast<TimedDevice *>(self)->begin_ = Clock::now();
  }
  static void end(void *self, std::uint32_t, const ausim_buffer *, std::uint32_t, std::uint32_t) {
    auto &device = *static_cast<TimedDevice *>(self);
    device.seconds_ = std::chrono::duration<double>(Clock::now() - device.begin_).count();
  }

  ausim *sim_ = nullptr;
  std::uint32_t id_ = 0;
  double rate_ = 0, seconds_ = 0;
  Clock::time_point begin_;
};

void player2(benchmark::State &state) {
  TimedDevice device(static_cast<double>(state.range(0)));
  auplayer2 *const player = auplayer2_create();
  auplayer2_start(player);
  std::vector<float> samples = sine();
  const au_channel_pair channels = {samples.data(), samples.data()};
  device.run(state, [&] {
    if (auplayer2_get_buffer_length(player) < 0.1f) auplayer2_play(player, &channels, 1, kFed, kSourceRate);
  });
  auplayer2_destroy(player);
}

void player1(benchmark::State &state) {
  TimedDevice device(static_cast<double>(state.range(0)));
  auplayer *const player = auplayer_create();
  auplayer_start(player);
  std::vector<float> samples = sine();
  const au_channel_pair channels = {samples.data(), samples.data()};
  device.run(state, [&] {
    if (auplayer_get_buffer_length(player) < 0.1f) auplayer_play(player, &channels, kFed, kSourceRate);
  });
  auplayer_destroy(player);
}

// A player as one would write it around another converter, which pulls from the ring and gives interleaved frames.
template <typename Converter>
class Peer {
public:
  Peer(TimedDevice &device, double rate)
      : id_(device.id()), ring_(rbuffer2_create(65536 * 4, 1)), convert_(ring_, rate) {
    devices_.create_io_proc(id_, run, this, &proc_);
    devices_.start(id_, proc_);
  }
  ~Peer() {
    devices_.stop(id_, proc_);
    devices_.destroy_io_proc(id_, proc_);
    rbuffer2_destroy(ring_);
  }

  void feed(const std::vector<float> &samples) {
    if (rbuffer2_used_space(ring_) < 4410 * 4) rbuffer2_write(ring_, samples.data(), samples.data(), 4 * kFed);
  }

private:
  static DeviceStatus run(ObjectId, const TimeStamp *, const BufferList *, const TimeStamp *, BufferList *output,
                          const TimeStamp *, void *self) {
    float interleaved[2 * kFrames] = {};
    static_cast<Peer *>(self)->convert_(interleaved);
    std::memcpy(output->buffers()[0].data, interleaved, sizeof interleaved);
    return 0;
  }

  ObjectId id_;
  rbuffer2 *ring_;
  Converter convert_;
  AudioDevices devices_;
  IoProcId proc_ = 0;
};

class Swresample {
public:
  Swresample(rbuffer2 *ring, double rate) : ring_(ring), context_(swr_alloc()) {
    AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
    swr_alloc_set_opts2(&context_, &stereo, AV_SAMPLE_FMT_FLT, static_cast<int>(rate), &stereo, AV_SAMPLE_FMT_FLTP,
                        static_cast<int>(kSourceRate), 0, nullptr);
    swr_init(context_);
  }
  ~Swresample() { swr_free(&context_); }

  // What it has not given yet it keeps.
  void operator()(float *interleaved) {
    auto *out = reinterpret_cast<std::uint8_t *>(interleaved);
    int got = swr_convert(context_, &out, kFrames, nullptr, 0);
    while (got < static_cast<int>(kFrames)) {
      float planes[2][kBlock];
      const int read = rbuffer2_read(ring_, planes[0], planes[1], 4 * kBlock) / 4;
      if (read == 0) return;
      const std::uint8_t *in[] = {reinterpret_cast<const std::uint8_t *>(planes[0]),
                                  reinterpret_cast<const std::uint8_t *>(planes[1])};
      out = reinterpret_cast<std::uint8_t *>(interleaved + 2 * got);
      got += swr_convert(context_, &out, static_cast<int>(kFrames) - got, in, read);
    }
  }

private:
  static constexpr int kBlock = 64;
  rbuffer2 *ring_;
  SwrContext *context_;
};

template <unsigned long kQuality>
class Soxr {
public:
  Soxr(rbuffer2 *ring, double rate) : ring_(ring) {
    const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT32_S, SOXR_FLOAT32_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(kQuality, 0);
    const soxr_runtime_spec_t one_thread = soxr_runtime_spec(1);
    soxr_ = soxr_create(kSourceRate, rate, 2, nullptr, &io, &quality, &one_thread);
    soxr_set_input_fn(soxr_, read, this, kBlock);
  }
  ~Soxr() { soxr_delete(soxr_); }

  void operator()(float *interleaved) { soxr_output(soxr_, interleaved, kFrames); }

private:
  static constexpr std::size_t kBlock = 256;

  static std::size_t read(void *self, soxr_in_t *data, std::size_t wanted) {
    auto &soxr = *static_cast<Soxr *>(self);
    const auto count = static_cast<std::int32_t>(4 * std::min(wanted, kBlock));
    const std::int32_t got = rbuffer2_read(soxr.ring_, soxr.planes_[0], soxr.planes_[1], count);
    soxr.pointers_[0] = soxr.planes_[0];
    soxr.pointers_[1] = soxr.planes_[1];
    *data = soxr.pointers_;
    return static_cast<std::size_t>(got) / 4;
  }

  rbuffer2 *ring_;
  soxr_t soxr_ = nullptr;
  float planes_[2][kBlock];
  const void *pointers_[2];
};

template <typename Converter>
void peer(benchmark::State &state) {
  const auto rate = static_cast<double>(state.range(0));
  TimedDevice device(rate);
  Peer<Converter> player(device, rate);
  const std::vector<float> samples = sine();
  player.feed(samples);
  device.run(state, [&] { player.feed(samples); });
}

#define PASSES(benchmark) benchmark->Arg(44100)->Arg(48000)->Iterations(kPasses)->UseManualTime()
PASSES(BENCHMARK(player2));
PASSES(BENCHMARK(player1));
PASSES(BENCHMARK(peer<Swresample>)->Name("libswresample"));
PASSES(BENCHMARK(peer<Soxr<SOXR_QQ>>)->Name("libsoxr_quick"));
PASSES(BENCHMARK(peer<Soxr<SOXR_LQ>>)->Name("libsoxr_low"));

}  // namespace

BENCHMARK_MAIN();
