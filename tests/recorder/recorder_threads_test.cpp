// What the threads of a recording share: the audio thread, the worker, the control thread and onlookers.
#include <atomic>
#include <chrono>
#include <random>

#include "support/pcm_file.h"
#include "support/recording_host.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

#if defined(__SANITIZE_THREAD__)
constexpr auto kSoak = std::chrono::seconds(60);
#else
constexpr auto kSoak = std::chrono::seconds(5);
#endif

constexpr float kRates[] = {44100, 48000, 8000, 96000};

// One recorder with an audio thread that never looks up and a control thread that does whatever it may.
class Soak {
public:
  explicit Soak(std::uint32_t seed) : seed_(seed), host_(seed % 2 ? AuRecOutputTypeWAVE : AuRecOutputTypeAIFF) {
    host_.on_call = [this](const Call &call) {
      if (call.name == "done") remove(host_.path_of(call.file).c_str());
    };
  }

  void run(std::chrono::steady_clock::time_point end) {
    std::atomic<bool> over{false};
    std::thread audio([&] { play(over); });
    std::thread onlooker([&] { watch(over); });
    control(end);
    over = true;
    audio.join();
    onlooker.join();
    host_.destroy();
  }

private:
  void play(const std::atomic<bool> &over) {
    std::mt19937 random(seed_);
    const Samples sound = noise(4096, seed_), silence(4096);
    float rate = 44100;
    while (!over) {
      const Samples &source = random() % 4 ? sound : silence;
      if (random() % 300 == 0) rate = kRates[random() % 4];
      const float *const channels[2] = {source.data(), source.data()};
      aurec_record(host_, rate, channels, static_cast<std::int32_t>(random() % 4096));
      if (random() % 4 == 0) std::this_thread::sleep_for(std::chrono::microseconds(random() % 2000));
    }
  }

  void watch(const std::atomic<bool> &over) {
    while (!over) {
      EXPECT_GE(aurec_total_size(host_), 0);
      EXPECT_GE(aurec_total_time(host_), 0);
      aurec_file_size(host_);
      aurec_file_time(host_);
      aurec_is_active(host_);
      aurec_is_recording(host_);
      aurec_is_paused(host_);
      aurec_buffer_available_space(host_);
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }

  void control(std::chrono::steady_clock::time_point end) {
    std::mt19937 random(seed_ + 1000);
    while (std::chrono::steady_clock::now() < end) {
      act(random);
      std::this_thread::sleep_for(std::chrono::microseconds(random() % 5000));
    }
  }

  void act(std::mt19937 &random) {
    switch (random() % 14) {
    case 0:
      aurec_stop(host_);
      break;
    case 1:
    case 2:
    case 3:
      aurec_set_buffer_size(host_, 32768 << random() % 4);
      EXPECT_EQ(aurec_start(host_, random() % 4 ? kRates[random() % 4] : 0.0f), 0);
      break;
    case 4:
      aurec_pause(host_, random() % 2);
      break;
    case 5:
      aurec_set_limit(host_, random() % 3 ? 60 : 1048576, random() % 2);
      break;
    case 6:
      aurec_set_silence_killer(host_, static_cast<std::int32_t>(random() % 4), random() % 2 ? -60.0f : -80.0f,
                               static_cast<float>(random() % 100) / 100.0f);
      break;
    case 7:
      aurec_set_skip_handler_action(host_, random() % 2);
      break;
    case 8:
      aurec_set_pcm_options(host_, {static_cast<std::uint32_t>(random() % 2), static_cast<std::uint32_t>(random() % 2),
                                    0, random() % 2 ? 22050.0f : 0.0f});
      break;
    default:
      aurec_make_new_file(host_);
    }
  }

  const std::uint32_t seed_;
  Host host_;
};

TEST(RecorderThreads, EightRecordersAtOnceSurviveWhateverTheirHostsDo) {
  const auto end = std::chrono::steady_clock::now() + kSoak;
  std::vector<std::thread> threads;
  for (std::uint32_t seed = 1; seed <= 8; ++seed) {
    threads.emplace_back([seed, end] { Soak(seed).run(end); });
  }
  for (std::thread &thread : threads) thread.join();
}

// While one thread feeds, another splits: every frame arrives once.
TEST(RecorderThreads, SplitsFromTheControlThreadLoseNoFrame) {
  Host host;
  aurec_set_buffer_size(host, 65536);
  ASSERT_EQ(host.start(), 0);
  const Samples left = noise(400000, 1), right = noise(400000, 2);
  std::atomic<bool> over{false};
  std::thread audio([&] {
    host.feed(left, right, 44100, 331);
    over = true;
  });
  while (!over) {
    aurec_make_new_file(host);
    std::this_thread::sleep_for(std::chrono::microseconds(300));
  }
  audio.join();
  host.wait_until_ring_is_empty();
  aurec_stop(host);
  EXPECT_GT(host.finished().size(), 2u);
  std::vector<std::int32_t> all;
  for (const std::string &path : host.finished()) {
    const PcmFile file = read_pcm_file(path);
    EXPECT_TRUE(file.valid);
    all.insert(all.end(), file.samples.begin(), file.samples.end());
  }
  EXPECT_EQ(all, integers_of(left, right, 16));
}

// A source that waits until the ring is empty before it changes its rate loses nothing of the old one, however slowly
// the worker converts what it has taken.
TEST(RecorderThreads, AChangeOfRateOnAnEmptyRingLosesNothingThatWasTaken) {
  Host host(AuRecOutputTypeWAVE);
  ASSERT_EQ(host.start(44100), 0);
  double seconds = 0;
  for (int round = 0; round < 200; ++round) {
    const float rate = kRates[round % 4];
    const auto frames = static_cast<std::size_t>(rate / 50);
    const Samples block(frames, 0.25f);
    host.feed(block, block, rate, frames);
    // What makes no whole frame of the file stays behind.
    host.wait_until([&] { return aurec_buffer_size(host) - aurec_buffer_available_space(host) <= 4 * 8; },
                    "the worker");
    seconds += static_cast<double>(frames) / static_cast<double>(rate);
  }
  aurec_stop(host);
  EXPECT_NEAR(static_cast<double>(read_pcm_file(host.path_of(1)).frames), seconds * 44100, 200 * 4);
}

TEST(RecorderThreads, ALimitIsNeverReadWithTheOtherUnit) {
  Host host;
  std::atomic<bool> over{false};
  std::thread writer([&] {
    for (int i = 0; i < 20000; ++i) {
      aurec_set_limit(host, 60, 1);
      aurec_set_limit(host, 1048576, 0);
    }
    over = true;
  });
  while (!over) {
    std::int32_t is_time = 0;
    const std::int64_t value = aurec_limit(host, &is_time);
    EXPECT_TRUE(value == 0 || value == (is_time ? 60 : 1048576)) << value;
  }
  writer.join();
}

}  // namespace
