// The threads of an MPEG-4 recording: besides those of all recordings, the background jobs of its plain files.
#include <atomic>
#include <chrono>
#include <random>

#include "recorder/recorder_alac.h"
#include "support/recording_host.h"

using namespace auspool;
using namespace auspool::testing;

namespace {

#if defined(__SANITIZE_THREAD__)
constexpr auto kSoak = std::chrono::seconds(20);
#else
constexpr auto kSoak = std::chrono::seconds(2);
#endif

// Records, splits and ends, and destroys the recorder while the jobs of its last files run.
void live_and_die(std::uint32_t seed) {
  std::mt19937 random(seed);
  Host host(AuRecOutputTypeALAC);
  const bool is_plain = seed % 4 != 0;
  aurec_set_alac_options(host, {0, 0, is_plain});
  host.on_call = [&host](const Call &call) {
    if (call.name == "done") remove(host.path_of(call.file).c_str());
  };
  std::atomic<bool> over{false};
  std::thread audio([&] {
    const Samples sound = noise(2048, seed);
    const float *const channels[2] = {sound.data(), sound.data()};
    while (!over) {
      aurec_record(host, 44100, channels, 2048);
      std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
  });
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(aurec_start(host, 44100), 0);
    for (int split = 0; split < 5; ++split) {
      std::this_thread::sleep_for(std::chrono::microseconds(random() % 10000));
      aurec_make_new_file(host);
      EXPECT_GE(aurec_total_time(host), 0);
      EXPECT_GE(aurec_total_size(host), 0);
      aurec_has_active_files(host);
    }
    if (random() % 2) aurec_stop(host);
  }
  over = true;
  audio.join();
  if (random() % 2) aurec_stop(host);
  host.destroy();                                                  // waits for the jobs
  const std::size_t deleted = is_plain ? 0 : host.count("error");  // a plain file is done even if it was empty
  EXPECT_EQ(host.count("start"), host.count("done") + deleted);
}

TEST(RecordedM4aThreads, RecordersMayEndRightBehindTheirLastFile) {
  if (!RecorderALAC::is_available()) GTEST_SKIP() << "this build has no libavcodec";
  const auto end = std::chrono::steady_clock::now() + kSoak;
  std::atomic<std::uint32_t> seed{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      while (std::chrono::steady_clock::now() < end) live_and_die(++seed);
    });
  }
  for (std::thread &thread : threads) thread.join();
}

}  // namespace
