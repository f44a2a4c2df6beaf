// Holds audio back: the library's delay on disk at work.
#include <chrono>
#include <cmath>
#include <cstdio>
#include <thread>

#include "common/audio_input.h"
#include "common/capture_input.h"
#include "common/command_line.h"
#include "common/console.h"
#include "common/device.h"
#include "delay/held_audio.h"
#include "delay/keys.h"
#include "delay/outputs.h"
#include "delay/settings.h"

namespace {

using delay::Keys;
using delay::Settings;

class Delay {
public:
  Delay(const Settings &settings, float rate, double total)
      : settings_(settings),
        rate_(static_cast<double>(rate)),
        total_(total),
        held_(settings.seconds, settings.set, rate),
        output_(settings, rate) {}

  template <typename Input>
  int run(Input &input) {
    const auto begun = std::chrono::steady_clock::now();
    while (const int frames = wants_more() ? input.read(kBlock) : 0) {
      held_.pass(input.left().data(), input.right().data(), frames);
      frames_ += frames;
      emit();
      if (!settings_.capture && !settings_.fast && !output_.is_device())
        std::this_thread::sleep_until(begun + std::chrono::duration<double>(seconds()));
    }
    held_.settle();
    const double delay = held_.delay(), real = held_.real_delay(), length = held_.length();
    while (wants_more() && !settings_.capture && held_.drain(kBlock) > 0) emit();
    output_.finish();
    return report(length, delay, real);
  }

private:
  static constexpr int kBlock = 1024;

  double seconds() const { return static_cast<double>(frames_) / rate_; }

  // False once the user has had enough.
  bool wants_more() {
    for (;;) {
      switch (keys_.next()) {
      case Keys::Key::none:
        return !quit_ && !example::interrupted();
      case Keys::Key::quit:
        quit_ = true;
        break;
      case Keys::Key::zero:
        held_.end();
        break;
      case Keys::Key::up:
        held_.move(1);
        break;
      case Keys::Key::down:
        held_.move(-1);
        break;
      case Keys::Key::right:
        held_.move(10);
        break;
      case Keys::Key::left:
        held_.move(-10);
        break;
      }
    }
  }

  void emit() {
    output_.write(held_.left(), held_.right());
    const double total = total_ > 0 ? total_ : 4 * (seconds() + 1);
    if (settings_.json || !console_.due(seconds(), total)) return;
    char text[100];
    snprintf(text, sizeof text, "  length %.1f s  delay %.2f s  real %.2f s", held_.length(), held_.delay(),
             held_.real_delay());
    console_.progress(seconds(), total, {}, text);
  }

  int report(double length, double delay, double real) {
    if (settings_.json) {
      console_.say(nlohmann::ordered_json{{"seconds", seconds()},
                                          {"rate", rate_},
                                          {"length", length},
                                          {"delay", delay},
                                          {"real_delay", real},
                                          {"frames", output_.frames()}});
      return 0;
    }
    char line[200];
    snprintf(line, sizeof line, "%.1f s in, %.1f s out, length %.1f s, delay %.2f s, real delay %.2f s", seconds(),
             static_cast<double>(output_.frames()) / rate_, length, delay, real);
    console_.say(std::string(line));
    return 0;
  }

  const Settings &settings_;
  const double rate_, total_;
  delay::HeldAudio held_;
  delay::Output output_;
  Keys keys_;
  example::Console console_;
  std::int64_t frames_ = 0;
  bool quit_ = false;
};

int run(const Settings &settings) {
  if (settings.capture) {
    example::CaptureInput input;
    return Delay(settings, input.rate(), 0).run(input);
  }
  example::AudioInput input(settings.input);
  return Delay(settings, input.rate(), input.seconds()).run(input);
}

}  // namespace

int main(int argc, char **argv) {
  return example::guarded("auspool-delay", [&] {
    const Settings settings = delay::settings_from(argc, argv);
    if (settings.help) return std::puts(delay::kHelp) < 0 ? 1 : 0;
    if (settings.backend == "help") return example::print_backends();
    example::choose_backend(settings.backend);
    return run(settings);
  });
}
