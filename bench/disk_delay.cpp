// The delays on disk. First how long the calls of a host's audio threads take while the worker writes to the disk and
// reads from it, beside a host that would write and read a file itself; then what it costs to take audio all the way.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <thread>
#include <vector>

#include "audiskdelay/audiskdelay2_record.h"
#include "audiskdelay/audiskdelay_record.h"
#include "audiskdelay/pcm16.h"

namespace {

using auspool::audiskdelay::pass;
using Clock = std::chrono::steady_clock;

constexpr float kRate = 44100;
constexpr int kBlock = 512;     // frames of a call
constexpr double kFaster = 20;  // than real time
constexpr int kCalls = 20000;   // nearly four minutes of audio in twelve seconds
constexpr int kSeconds = 3600;

// Sound, of which no frame is silent.
std::vector<float> sound() {
  std::vector<float> block(2 * kBlock);
  for (std::size_t i = 0; i < block.size(); ++i) block[i] = 0.5f * std::sin(static_cast<float>(i + 1));
  return block;
}

class Newer {
public:
  void write(const float *block) { audiskdelay2_write(delay_, block, kBlock); }
  void read(float *block) { audiskdelay2_read(delay_, block, kBlock); }
  ~Newer() { audiskdelay2_destroy(delay_); }

private:
  audiskdelay2 *delay_ = audiskdelay2_create(kSeconds, nullptr, kRate);
};

class Older {
public:
  void write(const float *block) { audiskdelay_write(delay_, block, kBlock); }
  void read(float *block) { audiskdelay_read(delay_, block, kBlock); }
  ~Older() { audiskdelay_destroy(delay_); }

private:
  audiskdelay *delay_ = audiskdelay_create(kSeconds, 1, nullptr, kRate);
};

// A host without a delay of ours: 16 bits into a file and back, on its own threads.
class PlainFile {
public:
  void write(const float *block) {
    std::int16_t samples[2 * kBlock];
    std::transform(block, block + 2 * kBlock, samples, auspool::audiskdelay::to_pcm16);
    if (pwrite(descriptor_, samples, sizeof samples, static_cast<off_t>(written_)) < 0) std::abort();
    written_ += sizeof samples;
  }
  void read(float *block) {
    if (read_ >= written_) return;
    read_ += static_cast<std::uint64_t>(
        std::max<ssize_t>(pread(descriptor_, block, 4 * kBlock, static_cast<off_t>(read_)), 0));
    auspool::audiskdelay::expand_pcm16(block, 2 * kBlock);
  }
  ~PlainFile() { close(descriptor_); }

private:
  int descriptor_ = open(P_tmpdir, O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  std::atomic<std::uint64_t> written_ = 0;
  std::uint64_t read_ = 0;
};

// Calls at a steady pace, and how long each of them took.
template <typename Call>
std::vector<double> microseconds_of(const Call &call) {
  std::vector<double> taken;
  taken.reserve(kCalls);
  const auto begun = Clock::now();
  for (int i = 1; i <= kCalls; ++i) {
    const auto before = Clock::now();
    call();
    taken.push_back(std::chrono::duration<double, std::micro>(Clock::now() - before).count());
    std::this_thread::sleep_until(begun + std::chrono::duration<double>(i * kBlock / (kFaster * kRate)));
  }
  std::sort(taken.begin(), taken.end());
  return taken;
}

void report(benchmark::State &state, const std::string &name, const std::vector<double> &sorted) {
  const auto at = [&](double part) { return sorted[static_cast<std::size_t>(part * (kCalls - 1))]; };
  state.counters[name + "_median_us"] = at(0.5);
  state.counters[name + "_99.9%_us"] = at(0.999);
  state.counters[name + "_most_us"] = at(1);
}

template <typename Delay>
void calls_of_the_audio_threads(benchmark::State &state) {
  for ([[maybe_unused]] const auto _ : state) {
    Delay delay;
    const std::vector<float> block = sound();
    std::vector<double> reads;
    std::thread reader([&] {
      std::vector<float> out(2 * kBlock);
      reads = microseconds_of([&] { delay.read(out.data()); });
    });
    const std::vector<double> writes = microseconds_of([&] { delay.write(block.data()); });
    reader.join();
    report(state, "write", writes);
    report(state, "read", reads);
  }
}
BENCHMARK(calls_of_the_audio_threads<Newer>)->Name("calls/audiskdelay2")->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(calls_of_the_audio_threads<Older>)->Name("calls/audiskdelay")->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(calls_of_the_audio_threads<PlainFile>)->Name("calls/pwrite_pread")->Iterations(1)->Unit(benchmark::kSecond);

// Processor time of a block from the writer over the disk to the reader, worker included, on one thread.
template <typename Make, typename Write, typename Read>
void all_the_way(benchmark::State &state, const Make &make, const Write &write, const Read &read) {
  const auto delay = make();
  const std::vector<float> block = sound();
  std::vector<float> out(2 * kBlock);
  for ([[maybe_unused]] const auto _ : state) {
    write(delay.get(), block.data(), kBlock);
    while (pass(*delay)) {
    }
    benchmark::DoNotOptimize(read(delay.get(), out.data(), kBlock));
  }
  state.counters["a_frame"] = benchmark::Counter(static_cast<double>(state.iterations()) * kBlock,
                                                 benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void newer_all_the_way(benchmark::State &state) {
  all_the_way(
      state, [] { return auspool::audiskdelay::make_delay2(kSeconds, nullptr, kRate); }, audiskdelay2_write,
      audiskdelay2_read);
}
void older_all_the_way(benchmark::State &state) {
  all_the_way(
      state, [] { return auspool::audiskdelay::make_delay(kSeconds, 1, nullptr, kRate); }, audiskdelay_write,
      audiskdelay_read);
}
void file_all_the_way(benchmark::State &state) {
  PlainFile file;
  const std::vector<float> block = sound();
  std::vector<float> out(2 * kBlock);
  for ([[maybe_unused]] const auto _ : state) {
    file.write(block.data());
    file.read(out.data());
  }
  state.counters["a_frame"] = benchmark::Counter(static_cast<double>(state.iterations()) * kBlock,
                                                 benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(newer_all_the_way)->Name("all_the_way/audiskdelay2");
BENCHMARK(older_all_the_way)->Name("all_the_way/audiskdelay");
BENCHMARK(file_all_the_way)->Name("all_the_way/pwrite_pread");

}  // namespace

BENCHMARK_MAIN();
