// What a host waits for: from the call that starts a player or a line to its first callback, and from a change of the
// default device to a player's first callback on the new one. Beside a bare IO proc, which is the sound system's own
// part. On simulated devices, run by their thread, and on a private PipeWire server.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <string>
#include <vector>

#include "auspool/audevice.h"
#include "auspool/audevice_simulated.h"
#include "auspool/auline.h"
#include "auspool/auplayer.h"
#include "platform/audio_device.h"
#include "support/programs.h"
#include "support/sound_server.h"

namespace {

using namespace auspool::platform;
using Clock = std::chrono::steady_clock;

constexpr int kRuns = 20;

// ---- Where ----

class SimulatedDevices {
public:
  static const char *missing() { return nullptr; }

  SimulatedDevices() {
    audevice_choose_backend("simulated");
    sim_ = ausim_create();
    const std::uint32_t stereo[] = {2};
    ausim_device device = {};
    device.rate = 48000;
    device.buffer_frames = 256;
    device.output_buffers = stereo;
    device.output_buffer_count = 1;
    ausim_set_default(sim_, 0, ausim_add_device(sim_, &device));
    ausim_add_device(sim_, &device);
    device.output_buffer_count = 0;
    device.input_buffers = stereo;
    device.input_buffer_count = 1;
    ausim_set_default(sim_, 1, ausim_add_device(sim_, &device));
    ausim_set_realtime(sim_, 1);
  }
  ~SimulatedDevices() { ausim_destroy(sim_); }

  DeviceStatus set_default(ObjectId output) { return ausim_set_default(sim_, 0, output); }

private:
  ausim *sim_;
};

class PipeWireServer {
public:
  static const char *missing() {
    for (const char *const program : {"pipewire", "wireplumber", "pw-metadata"}) {
      if (!auspool::testing::have_program(program)) return program;
    }
    return nullptr;
  }

  PipeWireServer() { audevice_choose_backend("pipewire"); }

  DeviceStatus set_default(ObjectId output) { return AudioDevices().set(kSystemObject, kDefaultOutput, output); }

private:
  auspool::testing::SoundServer server_;
};

// ---- What ----

// The first callback since begin(), on any device but one.
class FirstCallback {
public:
  void begin(std::uint32_t but = UINT32_MAX) {
    but_ = but;
    at_ = 0;
    begin_ = Clock::now();
  }

  // On the IO thread.
  void came(std::uint32_t device) {
    if (at_ == 0 && device != but_) at_ = Clock::now().time_since_epoch().count();
  }

  // Seconds; negative if none came.
  double wait() const {
    for (int i = 0; at_ == 0 && i < 20000; ++i) usleep(100);
    return std::chrono::duration<double>(Clock::duration(at_) - begin_.time_since_epoch()).count();
  }

private:
  std::atomic<Clock::rep> at_ = 1;
  std::atomic<std::uint32_t> but_ = 0;
  Clock::time_point begin_;
};

// The callbacks leave what they should fill as it is: nobody hears these devices.
struct Player2 {
  explicit Player2(FirstCallback &callback) : first(callback) {
    const auplayer2_audio_callback pull = {
        [](const au_channel_pair *, int32_t, int32_t, int32_t, void *self) { static_cast<Player2 *>(self)->came(); },
        this};
    auplayer2_set_audio_callback(player, &pull);
  }
  ~Player2() { auplayer2_destroy(player); }
  int start() { return auplayer2_start(player); }
  void stop() { auplayer2_stop(player); }
  std::uint32_t device() const { return auplayer2_device(player); }
  void came() { first.came(device()); }

  FirstCallback &first;
  auplayer2 *const player = auplayer2_create();
};

struct Player1 {
  explicit Player1(FirstCallback &callback) : first(callback) {
    const auplayer_audio_callback pull = {
        [](float *, int32_t, float, void *self) { static_cast<Player1 *>(self)->came(); }, this};
    auplayer_set_audio_callback(player, &pull);
  }
  ~Player1() { auplayer_destroy(player); }
  int start() { return auplayer_start(player); }
  void stop() { auplayer_stop(player); }
  std::uint32_t device() const { return auplayer_device(player); }
  void came() { first.came(device()); }

  FirstCallback &first;
  auplayer *const player = auplayer_create();
};

struct Line {
  explicit Line(FirstCallback &callback) : first(callback) {}
  ~Line() { auline_destroy(line); }
  int start() { return auline_start(line, hear, &first); }
  void stop() { auline_stop(line); }
  static void hear(void *first, const au_channel_pair *, int32_t, float) {
    static_cast<FirstCallback *>(first)->came(0);
  }

  FirstCallback &first;
  auline *const line = auline_create();
};

// On the default device of a direction.
template <bool kIsInput>
struct BareProc {
  explicit BareProc(FirstCallback &callback) : first(callback) {
    devices.get(kSystemObject, kIsInput ? kDefaultInput : kDefaultOutput, &device);
  }
  int start() {
    const DeviceStatus status = devices.create_io_proc(device, run, &first, &proc);
    return status ? status : devices.start(device, proc);
  }
  void stop() {
    devices.stop(device, proc);
    devices.destroy_io_proc(device, proc);
  }
  static DeviceStatus run(ObjectId, const TimeStamp *, const BufferList *, const TimeStamp *, BufferList *,
                          const TimeStamp *, void *first) {
    static_cast<FirstCallback *>(first)->came(0);
    return 0;
  }

  FirstCallback &first;
  AudioDevices devices;
  ObjectId device = 0;
  IoProcId proc = 0;
};

// ---- Runs ----

// Runs `once`, which gives seconds, again and again; in between a time that is no multiple of any device's cycle.
template <typename Once>
void measure(benchmark::State &state, const Once &once) {
  std::vector<double> milliseconds;
  for (auto _ : state) {
    const double seconds = once();
    if (seconds < 0) return state.SkipWithError("no callback came");
    state.SetIterationTime(seconds);
    milliseconds.push_back(1e3 * seconds);
    usleep(51700);
  }
  std::sort(milliseconds.begin(), milliseconds.end());
  state.counters["median_ms"] = milliseconds[milliseconds.size() / 2];
  state.counters["worst_ms"] = milliseconds.back();
}

template <typename System>
bool can_run(benchmark::State &state) {
  const char *const missing = System::missing();
  if (missing) state.SkipWithError((std::string(missing) + " is not installed").c_str());
  return !missing;
}

template <typename System, typename What>
void start(benchmark::State &state) {
  if (!can_run<System>(state)) return;
  System system;
  const AudioDevices open;  // to the end: that it is reached is not part of a start
  FirstCallback first;
  What what(first);
  measure(state, [&] {
    first.begin();
    const double seconds = what.start() == 0 ? first.wait() : -1;
    what.stop();
    return seconds;
  });
}

// Two outputs of two channels, the default first.
std::vector<std::uint32_t> outputs() {
  audevice_info devices[16];
  std::int32_t count = 0;
  audevice_list(devices, 16, &count);
  std::vector<std::uint32_t> found;
  for (int i = 0; i < std::min(count, 16); ++i) {
    if (devices[i].output_channels != 2) continue;
    found.insert(devices[i].is_default_output ? found.begin() : found.end(), devices[i].id);
  }
  return found;
}

template <typename System, typename Player>
void change(benchmark::State &state) {
  if (!can_run<System>(state)) return;
  System system;
  FirstCallback first;
  Player player(first);
  std::vector<std::uint32_t> both = outputs();
  if (both.size() < 2 || player.start() != 0) return state.SkipWithError("there are no two devices to play on");
  usleep(200000);
  measure(state, [&] {
    first.begin(both[0]);
    const DeviceStatus status = system.set_default(both[1]);
    const double seconds = status == 0 ? first.wait() : -1;
    for (int i = 0; player.device() != both[1] && i < 2000; ++i) usleep(1000);  // told after the first callback
    std::swap(both[0], both[1]);
    return seconds;
  });
}

#define RUNS(name, ...) \
  BENCHMARK(__VA_ARGS__)->Name(name)->Iterations(kRuns)->UseManualTime()->Unit(benchmark::kMillisecond)
#define RUNS_ON(where, System)                                      \
  RUNS("start/auplayer2/" where, start<System, Player2>);           \
  RUNS("start/auplayer/" where, start<System, Player1>);            \
  RUNS("start/bare_output/" where, start<System, BareProc<false>>); \
  RUNS("start/auline/" where, start<System, Line>);                 \
  RUNS("start/bare_input/" where, start<System, BareProc<true>>);   \
  RUNS("change/auplayer2/" where, change<System, Player2>);         \
  RUNS("change/auplayer/" where, change<System, Player1>)
RUNS_ON("simulated", SimulatedDevices);
RUNS_ON("pipewire", PipeWireServer);

}  // namespace
