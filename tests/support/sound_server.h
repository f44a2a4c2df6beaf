// A private sound server for tests: PipeWire with its session manager, no bus, no hardware. Programs of this process
// and its children find it, and no other.
#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "support/other_programs.h"
#include "support/temp_dir.h"

namespace auspool::testing {

// Skips a test, aloud, where the server's programs are missing.
#define NEED_SOUND_SERVER()    \
  NEED_PROGRAM("pipewire");    \
  NEED_PROGRAM("wireplumber"); \
  NEED_PROGRAM("pw-record")

// A program in the background, killed at the end of the scope and with this process.
class Background {
public:
  Background() = default;
  Background(const std::vector<std::string> &command, const std::string &log);
  ~Background() { end(); }
  Background(const Background &) = delete;
  Background &operator=(const Background &) = delete;

  void start(const std::vector<std::string> &command, const std::string &log);
  void end(int signal = 9);  // and waits for it
  void signal(int number) const;

private:
  pid_t pid_ = 0;
};

// Its sinks: "main", the default, and "other" of two channels, "quad" of four, FL FR RL RR. Its source: "line" of two
// channels, whose input ports a test feeds. All run at the graph's rate, at first 48000 Hz.
class SoundServer {
public:
  SoundServer();
  // Without one, in an environment where there will be one.
  struct NotYet {};
  explicit SoundServer(NotYet);

  void start();
  void start_server();
  void start_manager();  // without it no stream is connected with any device
  void kill();
  void kill_manager() { manager_.end(); }
  void pause_manager(bool paused) { manager_.signal(paused ? SIGSTOP : SIGCONT); }

  void add_sink(const std::string &name, int channels, const std::string &positions, int priority = 1);
  void remove(const std::string &node);
  void set_default_sink(const std::string &name);
  void set(const std::string &key, int value);  // a setting of the graph's clock

  std::string file(const std::string &name) const { return dir_.file(name); }

private:
  void write_configuration();

  TempDir dir_;
  Background server_, manager_;
};

// Records what a sink plays, at its monitor, until the end of the scope.
class MonitorRecorder {
public:
  MonitorRecorder(const SoundServer &server, const std::string &sink, const std::string &positions, int rate = 48000);

  // What arrived so far, interleaved.
  std::vector<float> samples() const;

private:
  std::string path_;
  Background program_;
};

// A WAVE file of 32-bit floats.
void write_float_file(const std::string &path, const std::vector<float> &samples, int channels, int rate);

// Waits, for half a minute at most, until `done` is true, and says whether it is. No test decides by how long it took.
template <typename Done>
bool eventually(const Done &done) {
  for (int i = 0; i < 3000; ++i) {
    if (done()) return true;
    usleep(10000);
  }
  return done();
}

// ---- A signal that tells of each frame and channel which it is ----

inline float numbered_sample(std::uint64_t frame, std::uint32_t channel) {
  return static_cast<float>(frame * 8 + channel + 1) / static_cast<float>(1 << 24);  // exact for 40 seconds
}

// Runs of frames that follow each other, all channels right; silence between them.
struct Stretch {
  std::uint64_t first;  // of the signal
  std::uint64_t frames;
  std::uint64_t silence;  // frames before it
};

std::ostream &operator<<(std::ostream &out, const Stretch &stretch);

// What numbered audio came through; one stretch of no frames stands for a frame that is neither silence nor of the
// signal.
std::vector<Stretch> stretches_of(const std::vector<float> &samples, std::uint32_t channels);

// Waits until an exact stretch of so many frames came, of nothing but silence and exact ones. A server on a busy
// computer may be late for a buffer now and then, which ends a stretch.
void expect_exact(const std::function<std::vector<float>()> &samples, std::uint32_t channels, std::uint64_t frames);

}  // namespace auspool::testing
