// A recording whose worker is timed, for the benchmarks.
#pragma once

#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "auspool/aurec.h"

namespace bench {

constexpr float kRate = 44100.0f;

inline std::string temporary_path() {
  static int number = 0;
  return std::filesystem::temp_directory_path() /
         ("auspool-bench-" + std::to_string(getpid()) + "-" + std::to_string(++number));
}

inline std::vector<float> noise(std::size_t count) {
  std::mt19937 random(1);
  std::uniform_real_distribution<float> level(-0.9f, 0.9f);
  std::vector<float> samples(count);
  for (float &sample : samples) sample = level(random);
  return samples;
}

inline double thread_cpu_seconds() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// A record that writes temporary files, removes each when it is done, and adds up the CPU time of the worker and of
// what finishes its files.
class Recording {
public:
  explicit Recording(AuRecOutputType type, std::uint32_t bit_depth = 0) {
    aurec_set_output_type(rec_, type);
    aurec_set_pcm_options(rec_, {0, bit_depth, 0, 0.0f});
    aurec_set_limit(rec_, 60, 1);
    aurec_set_state_changed_cb(rec_, state_changed);
  }
  ~Recording() { aurec_destroy(rec_); }

  void start() {
    aurec_start(rec_, kRate);
    while (!aurec_is_recording(rec_)) std::this_thread::yield();
  }
  void wait_for_room(std::int32_t bytes) {
    while (aurec_buffer_available_space(rec_) < bytes) std::this_thread::yield();
  }
  aurec *rec() { return rec_; }
  double cpu_seconds() const { return cpu_seconds_; }

private:
  static void *name(void *ref, void *, char *path, std::int32_t, std::int32_t, audict **) {
    auto &self = *static_cast<Recording *>(ref);
    self.path_ = temporary_path();
    std::snprintf(path, AUREC_PATH_BYTES, "%s", self.path_.c_str());
    return ref;
  }
  static std::int32_t started(void *ref, void *) {
    auto &self = *static_cast<Recording *>(ref);
    self.worker_ = std::this_thread::get_id();
    self.cpu_at_start_ = thread_cpu_seconds();
    return 0;
  }
  // Of a format that finishes its files in the background this is the background's whole time.
  static std::int32_t done(void *ref, void *) {
    auto &self = *static_cast<Recording *>(ref);
    if (std::this_thread::get_id() == self.worker_)
      self.count_worker();
    else
      self.cpu_seconds_ += thread_cpu_seconds();
    unlink(self.path_.c_str());
    return 0;
  }
  // The worker's last call.
  static void state_changed(void *ref) {
    auto &self = *static_cast<Recording *>(ref);
    if (std::this_thread::get_id() == self.worker_) self.count_worker();
  }
  void count_worker() {
    const double now = thread_cpu_seconds();
    cpu_seconds_ += now - cpu_at_start_;
    cpu_at_start_ = now;
  }

  std::string path_;
  std::thread::id worker_;
  double cpu_at_start_ = 0;
  std::atomic<double> cpu_seconds_{0};
  aurec *rec_ = aurec_create(this, name, started, nullptr, done, nullptr);
};

}  // namespace bench
