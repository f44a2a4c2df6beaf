// The recorder's two sides. The audio thread's: what one aurec_record costs while the worker runs, over a million
// calls. The worker's: the CPU time of a file, from its start to its end, beside libsndfile writing the same and beside
// the bare write() of the same bytes, which is the least that it can cost.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sndfile.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "recording.h"

namespace {

using namespace bench;

// Arguments: frames a call, silence mode.
void record_call(benchmark::State &state) {
  const auto frames = static_cast<std::int32_t>(state.range(0));
  constexpr int kCalls = 1000000;
  const std::vector<float> left = noise(static_cast<std::size_t>(frames)), right = left;
  const float *const channels[2] = {left.data(), right.data()};
  std::vector<std::uint32_t> spans(kCalls);
  for (auto _ : state) {
    Recording recording(AuRecOutputTypeWAVE, 0);
    aurec_set_silence_killer(recording.rec(), static_cast<std::int32_t>(state.range(1)), -60.0f, 5.0f);
    recording.start();
    for (int call = 0; call < kCalls; ++call) {
      recording.wait_for_room(8 * frames);
      const auto before = std::chrono::steady_clock::now();
      const std::int32_t lost = aurec_record(recording.rec(), kRate, channels, frames);
      const auto after = std::chrono::steady_clock::now();
      if (lost) state.SkipWithError("audio was dropped");
      spans[static_cast<std::size_t>(call)] = static_cast<std::uint32_t>((after - before).count());
    }
  }
  std::sort(spans.begin(), spans.end());
  state.counters["median_ns"] = spans[kCalls / 2];
  state.counters["median_ns_a_frame"] = static_cast<double>(spans[kCalls / 2]) / frames;
  state.counters["p99.9_ns"] = spans[kCalls - kCalls / 1000];
  state.counters["worst_ns"] = spans.back();
}

constexpr std::size_t kFileFrames = 60 * 44100;
constexpr std::size_t kBlock = 1024;
constexpr auto kMoment = std::chrono::milliseconds(1);

void report(benchmark::State &state, double cpu_seconds, std::size_t frame_bytes) {
  const double frames = static_cast<double>(kFileFrames) * static_cast<double>(state.iterations());
  state.counters["cpu_ns_a_frame"] = 1e9 * cpu_seconds / frames;
  state.counters["MB/s"] = frames * static_cast<double>(frame_bytes) / cpu_seconds / 1e6;
}

// All audio is put into the ring, and the worker left alone with it: a thread that spins would slow it down.
// Arguments: type, bit depth.
void worker(benchmark::State &state) {
  const std::vector<float> left = noise(kFileFrames), right = left;
  const float *const channels[2] = {left.data(), right.data()};
  double total = 0;
  for (auto _ : state) {
    Recording recording(static_cast<AuRecOutputType>(state.range(0)), static_cast<std::uint32_t>(state.range(1)));
    aurec_set_buffer_size(recording.rec(), 52428800);
    recording.start();
    if (aurec_record(recording.rec(), kRate, channels, kFileFrames)) state.SkipWithError("audio was dropped");
    while (aurec_buffer_available_space(recording.rec()) < 52428800) std::this_thread::sleep_for(kMoment);
    aurec_stop(recording.rec());
    state.SetIterationTime(recording.cpu_seconds());
    total += recording.cpu_seconds();
  }
  report(state, total, state.range(1) ? 6 : 4);
}

// The same file by libsndfile, from interleaved audio as long as that in the ring. It clips, as we do.
void libsndfile(benchmark::State &state) {
  const std::vector<float> audio = noise(2 * (kFileFrames + kBlock));
  double total = 0;
  for (auto _ : state) {
    const std::string path = temporary_path();
    const double before = thread_cpu_seconds();
    SF_INFO info = {};
    info.samplerate = static_cast<int>(kRate);
    info.channels = 2;
    info.format = (state.range(0) == AuRecOutputTypeAIFF ? SF_FORMAT_AIFF : SF_FORMAT_WAV) |
                  (state.range(1) ? SF_FORMAT_PCM_24 : SF_FORMAT_PCM_16);
    SNDFILE *const file = sf_open(path.c_str(), SFM_WRITE, &info);
    sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
    for (std::size_t done = 0; done < kFileFrames; done += kBlock) {
      sf_writef_float(file, audio.data() + 2 * done, kBlock);
    }
    sf_close(file);
    const double seconds = thread_cpu_seconds() - before;
    state.SetIterationTime(seconds);
    total += seconds;
    unlink(path.c_str());
  }
  report(state, total, state.range(1) ? 6 : 4);
}

// Bytes that are there already, block by block.
void bare_write(benchmark::State &state) {
  const std::size_t frame_bytes = state.range(1) ? 6 : 4;
  const std::vector<char> bytes((kFileFrames + kBlock) * frame_bytes, 'x');
  double total = 0;
  for (auto _ : state) {
    const std::string path = temporary_path();
    const double before = thread_cpu_seconds();
    const int fd = open(path.c_str(), O_CREAT | O_EXCL | O_RDWR, 0600);
    for (std::size_t done = 0; done < kFileFrames; done += kBlock) {
      benchmark::DoNotOptimize(write(fd, bytes.data() + done * frame_bytes, kBlock * frame_bytes));
    }
    close(fd);
    const double seconds = thread_cpu_seconds() - before;
    state.SetIterationTime(seconds);
    total += seconds;
    unlink(path.c_str());
  }
  report(state, total, frame_bytes);
}

}  // namespace

BENCHMARK(record_call)
    ->ArgNames({"frames", "silence"})
    ->ArgsProduct({{64, 256, 1024}, {0, 1}})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
const std::vector<std::vector<std::int64_t>> kFiles = {{AuRecOutputTypeAIFF, AuRecOutputTypeWAVE}, {0, 1}};
BENCHMARK(worker)->ArgNames({"type", "24bit"})->ArgsProduct(kFiles)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(libsndfile)->ArgNames({"type", "24bit"})->ArgsProduct(kFiles)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(bare_write)
    ->ArgNames({"type", "24bit"})
    ->ArgsProduct({{AuRecOutputTypeWAVE}, {0, 1}})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
