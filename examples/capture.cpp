// auspool-capture: records from a sound device.
#include <auspool/auline.h>
#include <auspool/aurec.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <memory>
#include <new>
#include <string>
#include <thread>

#include "common/command_line.h"
#include "common/console.h"
#include "common/device.h"

namespace {

namespace fs = std::filesystem;

const char *const kHelp = R"(usage: auspool-capture [OPTION]...
Records what an input device hears, until it is interrupted. The files appear as capture-001.aiff and so on; none is
overwritten.

  --out DIR        the folder of the recordings, made if need be (the current one)
  --type TYPE      aiff, wave, mp3, aac, alac or flac, as far as this library was built for it (aiff)
  --bits 16|24     of AIFF and WAVE (16)
  --seconds S      ends after so many seconds of audio (none)
  --device ID      the device to hear, by its uid or number in auspool-devices (the system's default)
  --left N         the device's channel for the left side, from 1 (the device's choice)
  --right N        the same for the right side
  --rate HZ        sets the device's rate (as it is)
  --backend NAME   the backend to use; --backend help lists them
  --json           prints a line of JSON for each finished file, path, and one at the end: seconds, rate,
                   frames_dropped (in blocks that did not fit whole), errors

Exit status: 0 if nothing was dropped and nothing failed, 1 if something did, 2 for a wrong command line.)";

struct Settings {
  fs::path folder = ".";
  AuRecOutputType type = AuRecOutputTypeAIFF;
  AuRecOptionsPCM pcm{};
  AuLineOptions line{};
  double seconds = 0;
  std::string backend, device;
  bool json = false, help = false;
};

struct Type {
  const char *name, *extension;
  AuRecOutputType type;
};
constexpr Type kTypes[] = {{"aiff", "aiff", AuRecOutputTypeAIFF}, {"wave", "wav", AuRecOutputTypeWAVE},
                           {"mp3", "mp3", AuRecOutputTypeMP3},    {"aac", "m4a", AuRecOutputTypeAAC},
                           {"alac", "m4a", AuRecOutputTypeALAC},  {"flac", "flac", AuRecOutputTypeFLAC}};

Settings settings_from(int argc, char **argv) {
  Settings s;
  std::vector<std::pair<std::string, int>> types;
  for (const Type &type : kTypes)
    if (aurec_can_output_type(type.type)) types.emplace_back(type.name, static_cast<int>(type.type));
  const auto rest = example::parse(
      argc, argv,
      {example::flag("help", s.help), example::text_option("out", s.folder),
       example::choice_option("type", s.type, types),
       example::choice_option("bits", s.pcm.bit_depth, {{"16", 0}, {"24", 1}}),
       example::number_option("seconds", s.seconds, 0.001, 1e9), example::text_option("device", s.device),
       example::number_option("left", s.line.left_channel, 1, 1e4),
       example::number_option("right", s.line.right_channel, 1, 1e4),
       example::number_option("rate", s.line.sample_rate, 1000, 1e6), example::text_option("backend", s.backend),
       example::flag("json", s.json)});
  if (!rest.empty()) throw example::UsageError("no argument is wanted: " + rest.front());
  return s;
}

class Capture {
public:
  explicit Capture(const Settings &settings) : settings_(settings), line_(auline_create(), auline_destroy) {
    if (settings.folder.string().size() + kNameBytes > AUREC_PATH_BYTES)
      throw example::UsageError("the folder's path is too long");
    fs::create_directories(settings.folder);
    make_recorder();
    if (!line_) throw std::bad_alloc();
    auline_set_options(line_.get(), &settings.line);
  }

  int run() {
    if (aurec_start(recorder_.get(), 0) != 0) throw std::runtime_error("the recording could not be started");
    const int32_t status = auline_start(line_.get(), hear, this);
    if (status != 0) throw std::runtime_error("the input device does not start" + example::status_text(status));
    wait();
    auline_stop(line_.get());
    const double seconds = aurec_total_time(recorder_.get());
    aurec_stop(recorder_.get());
    return report(seconds);
  }

private:
  static constexpr std::size_t kNameBytes = 32;  // of a file, with all that is around it
  static constexpr std::chrono::milliseconds kLook{5};
  static constexpr std::chrono::seconds kPatience{5};

  // The device's thread: no lock, no memory, no system call but the recorder's waking of its worker.
  static void hear(void *self, const au_channel_pair *channels, int32_t frames, float rate) {
    auto &capture = *static_cast<Capture *>(self);
    const float *const sides[2] = {channels->left, channels->right};
    capture.rate_ = rate;
    float peak = 0;
    for (int32_t i = 0; i < frames; ++i) peak = std::max({peak, std::abs(sides[0][i]), std::abs(sides[1][i])});
    capture.peak_ = peak;
    if (aurec_record(capture.recorder_.get(), rate, sides, frames) != 0) capture.dropped_ += frames;
    capture.heard_ += frames;
  }

  void wait() {
    int64_t last = -1;
    auto moved = std::chrono::steady_clock::now();
    while (!example::interrupted() && aurec_is_active(recorder_.get())) {
      const double seconds = aurec_total_time(recorder_.get());
      if (settings_.seconds > 0 && seconds >= settings_.seconds) return;
      const double total = settings_.seconds > 0 ? settings_.seconds : 4 * (seconds + 1);
      if (console_.due(seconds, total)) console_.progress(seconds, total, 20 * std::log10(peak_ + 1e-5f));
      if (heard_ != last) moved = std::chrono::steady_clock::now();
      last = heard_;
      if (std::chrono::steady_clock::now() - moved > kPatience) return failed("the device brings no audio");
      std::this_thread::sleep_for(kLook);
    }
  }

  int report(double seconds) {
    if (settings_.json) {
      console_.say(nlohmann::ordered_json{{"seconds", seconds},
                                          {"rate", rate_.load()},
                                          {"frames_dropped", dropped_.load()},
                                          {"errors", errors_.load()}});
    } else {
      char line[100];
      snprintf(line, sizeof line, "captured %.1f s at %.0f Hz, %lld frames dropped", seconds,
               static_cast<double>(rate_), static_cast<long long>(dropped_));
      console_.say(std::string(line));
    }
    return dropped_ == 0 && errors_ == 0 ? 0 : 1;
  }

  void failed(const std::string &text) {
    ++errors_;
    console_.complain("auspool-capture: " + text);
  }

  // The recorder gives the path back as the token of its file.
  void *name_next(char *path) {
    const std::string extension = std::ranges::find(kTypes, settings_.type, &Type::type)->extension;
    for (;;) {
      char name[kNameBytes - 8];
      snprintf(name, sizeof name, "capture-%03d.", ++number_);
      const std::string next = (settings_.folder / (name + extension)).string();
      if (fs::exists(next)) continue;
      snprintf(path, AUREC_PATH_BYTES, "%s", next.c_str());
      return &paths_.emplace_back(next);
    }
  }

  void finished(const std::string &path) {
    settings_.json ? console_.say(nlohmann::ordered_json{{"path", path}}) : console_.say("finished  " + path);
  }

  void make_recorder() {
    recorder_.reset(aurec_create(
        this,
        [](void *self, void *, char *path, int32_t, int32_t, audict **) {
          return static_cast<Capture *>(self)->name_next(path);
        },
        nullptr, nullptr,
        [](void *self, void *token) {
          return static_cast<Capture *>(self)->finished(*static_cast<std::string *>(token)), 0;
        },
        [](void *self, void *, int32_t code, const char *format, va_list args) {
          char text[512];
          vsnprintf(text, sizeof text, format, *va_arg(args, va_list *));
          if (code != AuRecErrorNoAudio) static_cast<Capture *>(self)->failed(text);
        }));
    if (!recorder_) throw std::bad_alloc();
    aurec_set_output_type(recorder_.get(), settings_.type);
    aurec_set_pcm_options(recorder_.get(), settings_.pcm);
  }

  const Settings &settings_;
  example::Console console_;
  int number_ = 0;
  std::deque<std::string> paths_;
  std::atomic<int> errors_ = 0;
  std::atomic<int64_t> dropped_ = 0, heard_ = 0;  // frames
  std::atomic<float> rate_ = 0, peak_ = 0;
  std::unique_ptr<aurec, void (*)(aurec *)> recorder_{nullptr, aurec_destroy};
  std::unique_ptr<auline, void (*)(auline *)> line_;  // ends first: its thread records
};

}  // namespace

int main(int argc, char **argv) {
  return example::guarded("auspool-capture", [&] {
    Settings settings = settings_from(argc, argv);
    if (settings.help) return std::puts(kHelp) < 0 ? 1 : 0;
    if (settings.backend == "help") return example::print_backends();
    example::choose_backend(settings.backend);
    settings.line.device = example::find_device(settings.device);
    return Capture(settings).run();
  });
}
