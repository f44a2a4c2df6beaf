// auspool-devices: the sound devices of the computer.
#include <auspool/audevice.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "common/command_line.h"
#include "common/device.h"

namespace {

const char *const kHelp = R"(usage: auspool-devices [OPTION]...
Lists the sound devices that players and lines may use.

  --backend NAME   the backend to ask; --backend help lists them
  --json           prints a line of JSON for each device: id, name, uid, inputs, outputs, rate, buffer_frames,
                   default_input, default_output
  --watch          lists them again whenever something changes, until it is interrupted; with --json an empty line
                   stands between lists

Exit status: 0, 1 if the devices cannot be asked, 2 for a wrong command line.)";

struct Settings {
  std::string backend;
  bool json = false, watch = false, help = false;
};

void print_json(const audevice_info &device) {
  const nlohmann::ordered_json object = {{"id", device.id},
                                         {"name", device.name},
                                         {"uid", device.uid},
                                         {"inputs", device.input_channels},
                                         {"outputs", device.output_channels},
                                         {"rate", device.rate},
                                         {"buffer_frames", device.buffer_frames},
                                         {"default_input", device.is_default_input != 0},
                                         {"default_output", device.is_default_output != 0}};
  std::puts(object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
}

void print_row(const audevice_info &device) {
  const char *const is_default = device.is_default_input && device.is_default_output ? "default in and out"
                                 : device.is_default_input                           ? "default in"
                                 : device.is_default_output                          ? "default out"
                                                                                     : "";
  std::printf("%8u %4u %4u %8.0f %7u  %-18s %s\n", device.id, device.input_channels, device.output_channels,
              device.rate, device.buffer_frames, is_default, device.name);
}

void print_all(bool json) {
  const std::vector<audevice_info> devices = example::devices();
  if (!json) std::printf("%8s %4s %4s %8s %7s  %-18s %s\n", "id", "in", "out", "rate", "buffer", "", "name");
  for (const audevice_info &device : devices) json ? print_json(device) : print_row(device);
  std::fflush(stdout);
}

// Wakes the main thread: the list is read there, not on the backend's.
class Changes {
public:
  Changes() : watch_(audevice_watch_create([](void *self) { static_cast<Changes *>(self)->note(); }, this)) {
    if (!watch_) throw std::runtime_error("the devices cannot be watched");
  }
  ~Changes() { audevice_watch_destroy(watch_); }
  Changes(const Changes &) = delete;
  Changes &operator=(const Changes &) = delete;

  // False once the user has had enough. Changes that come together are one.
  bool wait() {
    using namespace std::chrono_literals;
    std::unique_lock lock(mutex_);
    while (!changed_) {
      if (example::interrupted()) return false;
      noted_.wait_for(lock, 100ms);
    }
    noted_.wait_for(lock, 50ms, [] { return false; });
    changed_ = false;
    return true;
  }

private:
  void note() {
    const std::lock_guard lock(mutex_);
    changed_ = true;
    noted_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable noted_;
  bool changed_ = false;
  audevice_watch *watch_;
};

int run(const Settings &settings) {
  if (!settings.watch) return print_all(settings.json), 0;
  Changes changes;
  print_all(settings.json);
  while (changes.wait()) {
    std::puts("");
    print_all(settings.json);
  }
  return 0;
}

}  // namespace

int main(int argc, char **argv) {
  return example::guarded("auspool-devices", [&] {
    Settings settings;
    const auto rest =
        example::parse(argc, argv,
                       {example::flag("help", settings.help), example::text_option("backend", settings.backend),
                        example::flag("json", settings.json), example::flag("watch", settings.watch)});
    if (settings.help) return std::puts(kHelp) < 0 ? 1 : 0;
    if (!rest.empty()) throw example::UsageError("no argument is wanted: " + rest.front());
    if (settings.backend == "help") return example::print_backends();
    example::choose_backend(settings.backend);
    return run(settings);
  });
}
