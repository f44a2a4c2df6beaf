// auspool-play: plays audio files on a sound device.
#include <auspool/auplayer.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "common/audio_input.h"
#include "common/command_line.h"
#include "common/console.h"
#include "common/device.h"

namespace {

using example::AudioInput;

const char *const kHelp = R"(usage: auspool-play FILE... [OPTION]...
Plays audio files, whatever libsndfile reads, one after another. Mono goes to both sides; of more than two channels the
first two are taken. Follows the system's default device, unless one is chosen, and its changes.

  --device ID      the device to play on, by its uid or number in auspool-devices (the system's default)
  --gain DB        louder or softer, -100 to 20 (0)
  --left N         the device's channel for the left side, from 1 (the device's choice)
  --right N        the same for the right side
  --buffer FRAMES  frames in a cycle to ask the device for, up to 4096 (as it is)
  --backend NAME   the backend to use; --backend help lists them
  --json           prints one line of JSON at the end: files, seconds, position, latency, device

Exit status: 0 if all was played, 1 if something failed, 2 for a wrong command line.)";

struct Settings {
  std::vector<std::string> files;
  AuPlayerOptions options{};
  double gain = 0;
  std::string backend, device;
  bool json = false, help = false;
};

Settings settings_from(int argc, char **argv) {
  Settings s;
  s.files = example::parse(
      argc, argv,
      {example::flag("help", s.help), example::text_option("device", s.device),
       example::number_option("gain", s.gain, -100, 20), example::number_option("left", s.options.left_channel, 1, 1e4),
       example::number_option("right", s.options.right_channel, 1, 1e4),
       example::number_option("buffer", s.options.io_buffer_frames, 1, 4096),
       example::text_option("backend", s.backend), example::flag("json", s.json)});
  if (s.files.empty() && !s.help && s.backend != "help") throw example::UsageError("no file");
  return s;
}

class Playback {
public:
  explicit Playback(const Settings &settings) : player_(auplayer2_create(), auplayer2_destroy) {
    if (!player_) throw std::bad_alloc();
    AuPlayerOptions options = settings.options;
    for (const std::string &file : settings.files) {
      const AudioInput input(file);
      total_ += input.seconds();
      options.ring_frames = std::max(options.ring_frames, ring_for(input.rate()));
    }
    auplayer2_set_options(player_.get(), &options);
    auplayer2_set_gain(player_.get(), static_cast<float>(std::pow(10.0, settings.gain / 20)));
    const int32_t status = auplayer2_start(player_.get());
    if (status == AUPLAYER_NO_DEFAULT_DEVICE) throw std::runtime_error("there is no default output device");
    if (status != 0) throw std::runtime_error("the device does not start" + example::status_text(status));
  }

  // False once the user has had enough.
  bool play(AudioInput input) {
    // What waits at another rate would be thrown away.
    if (input.rate() != rate_ && !wait_until_waiting(0)) return false;
    rate_ = input.rate();
    while (const int frames = input.read(kBlock)) {
      if (!wait_until_waiting(kAhead)) return false;
      au_channel_pair channels = {const_cast<float *>(input.left().data()), const_cast<float *>(input.right().data())};
      auplayer2_play(player_.get(), &channels, 1, static_cast<uint32_t>(frames), rate_);
      seconds_ += frames / static_cast<double>(rate_);
      level_ = input.level();
    }
    return true;
  }

  // Until the last of it has been heard.
  void finish() {
    auplayer2_play_done(player_.get());
    if (!wait_until_waiting(0)) return;
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(latency());
    while (std::chrono::steady_clock::now() < end && !example::interrupted()) std::this_thread::sleep_for(kLook);
  }

  double seconds() const { return seconds_; }
  double position() const { return static_cast<double>(auplayer2_now_playing(player_.get())); }
  double latency() const { return static_cast<double>(auplayer2_device_latency(player_.get())); }
  uint32_t device() const { return auplayer2_device(player_.get()); }

private:
  static constexpr int kBlock = 4096;
  static constexpr double kAhead = 0.5;  // seconds
  static constexpr std::chrono::milliseconds kLook{5};
  static constexpr std::chrono::seconds kPatience{5};

  // Room for what is played ahead and the block behind it, and to spare: what finds none would be lost.
  static uint32_t ring_for(float rate) {
    return static_cast<uint32_t>(kAhead * static_cast<double>(rate)) + 2 * kBlock;
  }

  // Waits until at most so many seconds wait in the ring. A device may go and another come; but not for ever.
  bool wait_until_waiting(double most) {
    float last = -1;
    auto moved = std::chrono::steady_clock::now();
    for (float waiting; (waiting = auplayer2_get_buffer_length(player_.get())) > static_cast<float>(most);) {
      if (example::interrupted()) return false;
      if (waiting != last) moved = std::chrono::steady_clock::now();
      if (std::chrono::steady_clock::now() - moved > kPatience) throw std::runtime_error("the device takes no audio");
      last = waiting;
      show();
      std::this_thread::sleep_for(kLook);
    }
    return !example::interrupted();
  }

  void show() {
    if (!console_.due(position(), total_)) return;
    char more[64];
    snprintf(more, sizeof more, "  latency %.1f ms", 1000 * latency());
    console_.progress(position(), total_, level_, more);
  }

  std::unique_ptr<auplayer2, void (*)(auplayer2 *)> player_;
  example::Console console_;
  float rate_ = 0;
  double seconds_ = 0, total_ = 0, level_ = -100;
};

int run(const Settings &settings) {
  Playback playback(settings);
  const std::string device = example::device_name(playback.device());
  int played = 0;
  for (const std::string &file : settings.files) {
    if (!playback.play(AudioInput(file))) break;
    ++played;
  }
  playback.finish();
  example::Console console;
  if (settings.json) {
    console.say(nlohmann::ordered_json{{"files", played},
                                       {"seconds", playback.seconds()},
                                       {"position", playback.position()},
                                       {"latency", playback.latency()},
                                       {"device", device}});
  } else {
    char line[200];
    snprintf(line, sizeof line, "played %.1f s of %d file%s, latency %.1f ms, on ", playback.seconds(), played,
             played == 1 ? "" : "s", 1000 * playback.latency());
    console.say(line + device);
  }
  return played == static_cast<int>(settings.files.size()) ? 0 : 1;
}

}  // namespace

int main(int argc, char **argv) {
  return example::guarded("auspool-play", [&] {
    Settings settings = settings_from(argc, argv);
    if (settings.help) return std::puts(kHelp) < 0 ? 1 : 0;
    if (settings.backend == "help") return example::print_backends();
    example::choose_backend(settings.backend);
    settings.options.device = example::find_device(settings.device);
    return run(settings);
  });
}
