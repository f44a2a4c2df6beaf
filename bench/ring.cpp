// The ring beside two copies of the same bytes, which is the least that passing them on can cost, and beside other
// queues between two threads. Time is that of one block of stereo frames, the CPU time that of both threads; frames a
// second stand beside it.
#include <benchmark/benchmark.h>
#include <jack/ringbuffer.h>
#include <readerwriterqueue/readerwriterqueue.h>

#include <atomic>
#include <boost/lockfree/spsc_queue.hpp>
#include <cstring>
#include <thread>
#include <vector>

#include "auspool/rbuffer.h"

namespace {

struct Frame {
  float left, right;
};

constexpr std::size_t kCapacity = 8192;  // frames: 64 KiB, which stays in the cache

std::int32_t bytes_of(std::size_t frames) {
  return static_cast<std::int32_t>(frames * sizeof(Frame));
}

// Each queue takes and gives up to `count` frames and says how many it did.

class TwoCopies {
public:
  std::size_t write(const Frame *from, std::size_t count) { return copy(storage_.data() + at_, from, count); }
  std::size_t read(Frame *to, std::size_t count) {
    copy(to, storage_.data() + at_, count);
    at_ = at_ + 2 * count <= kCapacity ? at_ + count : 0;
    return count;
  }

private:
  static std::size_t copy(Frame *to, const Frame *from, std::size_t count) {
    std::memcpy(to, from, count * sizeof(Frame));
    benchmark::ClobberMemory();
    return count;
  }
  std::vector<Frame> storage_ = std::vector<Frame>(kCapacity);
  std::size_t at_ = 0;
};

class Auspool {
public:
  ~Auspool() { rbuffer_destroy(ring_); }
  std::size_t write(const Frame *from, std::size_t count) {
    return static_cast<std::size_t>(rbuffer_write(ring_, from, bytes_of(count))) / sizeof(Frame);
  }
  std::size_t read(Frame *to, std::size_t count) {
    return static_cast<std::size_t>(rbuffer_read(ring_, to, bytes_of(count))) / sizeof(Frame);
  }

private:
  rbuffer *ring_ = rbuffer_create(bytes_of(kCapacity), 0);
};

// The same frames in two planes.
class AuspoolPlanes {
public:
  ~AuspoolPlanes() { rbuffer2_destroy(ring_); }
  std::size_t write(const Frame *from, std::size_t count) {
    const auto *planes = reinterpret_cast<const float *>(from);
    return static_cast<std::size_t>(rbuffer2_write(ring_, planes, planes + count, bytes_of(count) / 2)) / sizeof(float);
  }
  std::size_t read(Frame *to, std::size_t count) {
    auto *planes = reinterpret_cast<float *>(to);
    return static_cast<std::size_t>(rbuffer2_read(ring_, planes, planes + count, bytes_of(count) / 2)) / sizeof(float);
  }

private:
  rbuffer2 *ring_ = rbuffer2_create(bytes_of(kCapacity) / 2, 0);
};

class Jack {
public:
  ~Jack() { jack_ringbuffer_free(ring_); }
  std::size_t write(const Frame *from, std::size_t count) {
    const std::size_t fits = std::min(jack_ringbuffer_write_space(ring_) / sizeof(Frame), count);
    return jack_ringbuffer_write(ring_, reinterpret_cast<const char *>(from), fits * sizeof(Frame)) / sizeof(Frame);
  }
  std::size_t read(Frame *to, std::size_t count) {
    const std::size_t there = std::min(jack_ringbuffer_read_space(ring_) / sizeof(Frame), count);
    return jack_ringbuffer_read(ring_, reinterpret_cast<char *>(to), there * sizeof(Frame)) / sizeof(Frame);
  }

private:
  jack_ringbuffer_t *ring_ = jack_ringbuffer_create(kCapacity * sizeof(Frame));
};

class Boost {
public:
  std::size_t write(const Frame *from, std::size_t count) { return queue_.push(from, count); }
  std::size_t read(Frame *to, std::size_t count) { return queue_.pop(to, count); }

private:
  boost::lockfree::spsc_queue<Frame> queue_{kCapacity};
};

// A queue of elements: it has no call for a block.
class Moodycamel {
public:
  std::size_t write(const Frame *from, std::size_t count) {
    std::size_t i = 0;
    while (i < count && queue_.try_enqueue(from[i])) ++i;
    return i;
  }
  std::size_t read(Frame *to, std::size_t count) {
    std::size_t i = 0;
    while (i < count && queue_.try_dequeue(to[i])) ++i;
    return i;
  }

private:
  moodycamel::ReaderWriterQueue<Frame> queue_{kCapacity};
};

template <typename Queue>
void one_thread(benchmark::State &state) {
  const auto frames = static_cast<std::size_t>(state.range(0));
  const std::vector<Frame> in(frames, {0.5f, -0.5f});
  std::vector<Frame> out(frames);
  Queue queue;
  for (auto _ : state) {
    queue.write(in.data(), frames);
    queue.read(out.data(), frames);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// This thread reads, in blocks, what another writes in blocks.
template <typename Queue>
void two_threads(benchmark::State &state) {
  const auto frames = static_cast<std::size_t>(state.range(0));
  Queue queue;
  std::atomic<bool> stop = false;
  std::thread writer([&] {
    const std::vector<Frame> in(frames, {0.5f, -0.5f});
    while (!stop.load(std::memory_order_relaxed)) {
      for (std::size_t done = 0; done < frames && !stop.load(std::memory_order_relaxed);) {
        const std::size_t written = queue.write(in.data() + done, frames - done);
        if (written == 0) std::this_thread::yield();
        done += written;
      }
    }
  });
  std::vector<Frame> out(frames);
  for (auto _ : state) {
    for (std::size_t done = 0; done < frames;) {
      const std::size_t read = queue.read(out.data() + done, frames - done);
      if (read == 0) std::this_thread::yield();
      done += read;
    }
    benchmark::DoNotOptimize(out.data());
  }
  stop = true;
  writer.join();
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

}  // namespace

#define AUSPOOL_BLOCKS ->Arg(64)->Arg(256)->Arg(1024)
BENCHMARK(one_thread<TwoCopies>) AUSPOOL_BLOCKS;
BENCHMARK(one_thread<Auspool>) AUSPOOL_BLOCKS;
BENCHMARK(one_thread<AuspoolPlanes>) AUSPOOL_BLOCKS;
BENCHMARK(one_thread<Jack>) AUSPOOL_BLOCKS;
BENCHMARK(one_thread<Boost>) AUSPOOL_BLOCKS;
BENCHMARK(one_thread<Moodycamel>) AUSPOOL_BLOCKS;
BENCHMARK(two_threads<Auspool>) AUSPOOL_BLOCKS->UseRealTime()->MeasureProcessCPUTime();
BENCHMARK(two_threads<Jack>) AUSPOOL_BLOCKS->UseRealTime()->MeasureProcessCPUTime();
BENCHMARK(two_threads<Boost>) AUSPOOL_BLOCKS->UseRealTime()->MeasureProcessCPUTime();
BENCHMARK(two_threads<Moodycamel>) AUSPOOL_BLOCKS->UseRealTime()->MeasureProcessCPUTime();
BENCHMARK_MAIN();
