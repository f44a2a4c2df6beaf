// Shows the levels and the spectrum of an audio file as it goes by: the library's meters at work.
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <thread>

#include "common/audio_input.h"
#include "common/capture_input.h"
#include "common/command_line.h"
#include "common/device.h"
#include "meter/display.h"
#include "meter/history.h"
#include "meter/picture.h"
#include "meter/settings.h"

namespace {

using example::AudioInput;
using meter::Moment;
using meter::Settings;
using nlohmann::ordered_json;

std::string title_of(const Settings &settings) {
  return settings.capture ? settings.input : std::filesystem::path(settings.input).filename().string();
}

double hundredths(double value) {
  return std::round(value * 100) / 100 + 0.0;  // never -0
}
ordered_json hundredths(const meter::Stereo &levels) {
  return {hundredths(static_cast<double>(levels[0])), hundredths(static_cast<double>(levels[1]))};
}

void print(const ordered_json &object) {
  std::puts(object.dump(-1, ' ', false, ordered_json::error_handler_t::replace).c_str());  // a path need not be UTF-8
}

void print(const Moment &m) {
  ordered_json spectrum = ordered_json::array();
  for (const float band : m.spectrum) spectrum.push_back(hundredths(static_cast<double>(band)));
  print({{"seconds", m.seconds},
         {"peak_db", hundredths(m.peak)},
         {"rms_db", hundredths(m.rms)},
         {"clip", m.clip},
         {"spectrum", spectrum}});
}

// Shows every moment of the input, and returns what there was. A file is shown in its own time, a device has it.
template <typename Input>
meter::History measure(Input &input, meter::Measurement &measurement, const Settings &settings) {
  meter::History history;
  meter::Display display(title_of(settings), input.seconds(), measurement);
  const bool draws = !settings.json && isatty(STDOUT_FILENO) == 1;
  auto due = std::chrono::steady_clock::now();
  std::vector<float> left, right;
  while (const int frames = example::interrupted() ? 0 : input.read(measurement.block_frames())) {
    due += std::chrono::nanoseconds(std::llround(frames * 1e9 / static_cast<double>(input.rate())));
    if (!settings.fast && !settings.capture) std::this_thread::sleep_until(due);
    left = input.left(), right = input.right();
    const Moment moment = measurement.take({left.data(), right.data()}, frames);
    history.add(moment);
    if (settings.json) print(moment);
    if (draws) display.draw(moment);
  }
  return history;
}

void report(const meter::History &history, float rate, const Settings &settings) {
  const Moment &highest = history.highest();
  if (settings.json) {
    print({{"path", settings.input},
           {"rate", rate},
           {"frames", std::llround(highest.seconds * static_cast<double>(rate))},
           {"seconds", highest.seconds},
           {"peak_db", hundredths(highest.peak)},
           {"rms_db", hundredths(highest.rms)},
           {"clip", highest.clip}});
    return;
  }
  std::printf("%s: %.2f s, highest peak %.1f and %.1f dB, highest RMS %.1f and %.1f dB, %s\n", settings.input.c_str(),
              highest.seconds, static_cast<double>(highest.peak[0]), static_cast<double>(highest.peak[1]),
              static_cast<double>(highest.rms[0]), static_cast<double>(highest.rms[1]),
              highest.clip[0] || highest.clip[1] ? "clipped" : "no clipping");
}

// A file that is made before the work begins, so that one that cannot be made costs no time.
class Output {
public:
  explicit Output(const std::string &path) : path_(path), file_(path) { check(); }
  void write(const std::string &text) {
    file_ << text;
    file_.close();
    check();
  }

private:
  void check() const {
    if (!file_) throw std::runtime_error(path_ + ": cannot be written");
  }
  std::string path_;
  std::ofstream file_;
};

template <typename Input>
int run(Input &input, const Settings &settings) {
  std::optional<Output> svg;
  if (!settings.svg.empty()) svg.emplace(settings.svg);
  meter::Measurement measurement(input.rate(), settings.falloff, settings.fast);
  const meter::History history = measure(input, measurement, settings);
  if (history.columns().empty()) throw std::runtime_error(settings.input + ": there is no audio in it");
  if (svg) svg->write(meter::picture_of(history, measurement, title_of(settings)));
  report(history, input.rate(), settings);
  return 0;
}

int run(const Settings &settings) {
  if (settings.capture) {
    example::choose_backend(settings.backend);
    example::CaptureInput input;
    return run(input, settings);
  }
  AudioInput input(settings.input);
  return run(input, settings);
}

}  // namespace

int main(int argc, char **argv) {
  return example::guarded("auspool-meter", [&] {
    const Settings settings = meter::settings_from(argc, argv);
    return settings.help ? std::puts(meter::kHelp) < 0 : run(settings);
  });
}
