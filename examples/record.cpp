// Records audio files as if they came in live: the library's recorder at work.
#include <auspool/aurec.h>

#include <atomic>
#include <deque>
#include <filesystem>
#include <thread>

#include "common/audio_input.h"
#include "common/command_line.h"
#include "common/console.h"

namespace {

namespace fs = std::filesystem;
using example::AudioInput;

constexpr const char *kHelp = R"(usage: auspool-record INPUT... [OPTION]...
Records audio files, whatever libsndfile reads, one after another as one live source. Mono feeds both channels; of more
than two channels the first two are taken. The files appear as recording-001.aiff and so on; none is overwritten.

  --out DIR             the folder of the recordings, made if need be (the current one)
  --type aiff|wave      (aiff)
  --bits 16|24          (16)
  --mono mix|left|right records one channel
  --rate HZ             sample rate of the recordings, 4000 to 192000 (that of each input)
  --limit 90s|5MiB      goes on in a new file at this length or size: s, min, h, KiB, MiB, GiB; from 60s or 1MiB
  --silence skip|split|stop   leaves silence out, begins a new file after it, or ends the recording
  --silence-db DB       what is below this level is silence (-50)
  --silence-seconds S   how long it must last (2)
  --block FRAMES        frames in a block, 1 to 65536 (512)
  --realtime            goes by the clock, as a sound card does, and waits for nothing
  --json                prints a line of JSON for each finished file: path, frames, seconds, bytes, index; at the end
                        one with files, frames_pushed, frames_dropped (in blocks that did not fit whole), errors

Exit status: 0 if nothing was dropped and nothing failed, 1 if something did, 2 for a wrong command line.)";

struct Settings {
  std::vector<std::string> inputs;
  fs::path folder = ".";
  AuRecOutputType type = AuRecOutputTypeAIFF;
  AuRecOptionsPCM pcm{};
  example::Limit limit;
  int32_t silence_mode = 0;
  float silence_db = -50, silence_seconds = 2;
  int block = 512;
  bool realtime = false, json = false, help = false;
};

Settings settings_from(int argc, char **argv) {
  Settings s;
  s.inputs = example::parse(
      argc, argv,
      {example::flag("help", s.help), example::text_option("out", s.folder),
       example::choice_option("type", s.type, {{"aiff", AuRecOutputTypeAIFF}, {"wave", AuRecOutputTypeWAVE}}),
       example::choice_option("bits", s.pcm.bit_depth, {{"16", 0}, {"24", 1}}),
       example::choice_option("mono", s.pcm.mono, {{"mix", 1}, {"left", 2}, {"right", 3}}),
       example::number_option("rate", s.pcm.sample_rate, 4000, 192000), example::limit_option("limit", s.limit),
       example::choice_option("silence", s.silence_mode, {{"skip", 1}, {"split", 2}, {"stop", 3}}),
       example::number_option("silence-db", s.silence_db, -200, 0),
       example::number_option("silence-seconds", s.silence_seconds, 0, 86400),
       example::number_option("block", s.block, 1, 65536), example::flag("realtime", s.realtime),
       example::flag("json", s.json)});
  s.pcm.mono_source = s.pcm.mono ? s.pcm.mono - 1 : 0;
  if (s.inputs.empty() && !s.help) throw example::UsageError("no input");
  return s;
}

struct File {
  std::string path;
  int32_t index;
  static const File &of(void *token) { return *static_cast<File *>(token); }
};

// The host's side of the callbacks, which come on the recording's worker thread.
struct Host {
  explicit Host(const Settings &all) : settings(all) {}
  static Host &of(void *ref) { return *static_cast<Host *>(ref); }

  // A name that is in use, and the end of a file that was kept, lead to the next number.
  File *name_next(bool taken, char *path, int32_t index) {
    if (taken || files.empty() || files.back().index != index) ++number;
    char name[32];
    snprintf(name, sizeof name, "recording-%03d.%s", number, settings.type == AuRecOutputTypeWAVE ? "wav" : "aiff");
    const std::string whole = settings.folder / name;
    if (whole.size() >= AUREC_PATH_BYTES) return failed(whole + ": the path is too long"), nullptr;
    path[whole.copy(path, whole.size())] = 0;
    return &files.emplace_back(File{whole, index});
  }

  // One line for a person; what a program wants to know too it gets as JSON.
  void tell(const std::string &line, const nlohmann::ordered_json &object = nullptr) {
    if (!settings.json) console.say(line);
    if (settings.json && !object.is_null()) console.say(object);
  }

  // Reports a file as another library sees it.
  void finished(const File &file) try {
    const AudioInput written(file.path);
    ++finished_files;
    finished_seconds += written.seconds();
    tell("finished  " + file.path + ": " + std::to_string(written.seconds()) + " s",
         {{"path", file.path},
          {"frames", written.frames()},
          {"seconds", written.seconds()},
          {"bytes", fs::file_size(file.path)},
          {"index", file.index}});
  } catch (const std::exception &error) {
    failed(error.what());
  }

  void failed(const std::string &message) {
    ++errors;
    console.complain("auspool-record: " + message);
  }

  // The last words; returns the exit status. The recorder says nothing of a disk that is full, the files do.
  int report(int64_t pushed, int64_t dropped, double seconds) {
    if (finished_files == 0 && errors == 0) failed("nothing was recorded");
    if (settings.silence_mode == 0 && finished_files > 0 && dropped == 0 && finished_seconds < seconds - 0.01)
      failed(std::to_string(seconds - finished_seconds) + " seconds are missing in the files");
    tell(
        "files: " + std::to_string(finished_files) + ", frames pushed: " + std::to_string(pushed) +
            ", dropped: " + std::to_string(dropped) + ", errors: " + std::to_string(errors),
        {{"files", finished_files}, {"frames_pushed", pushed}, {"frames_dropped", dropped}, {"errors", errors.load()}});
    return errors == 0 && dropped == 0 ? 0 : 1;
  }

  const Settings &settings;
  const aurec *recorder = nullptr;
  example::Console console;
  std::deque<File> files;  // the tokens that the recorder gives back point into it
  int number = 0;          // in the name of the last file
  int finished_files = 0;
  double finished_seconds = 0;
  std::atomic<int> errors = 0;
};

std::unique_ptr<aurec, void (*)(aurec *)> make_recorder(Host &host, const Settings &settings) {
  aurec *rec = aurec_create(
      &host,
      [](void *ref, void *previous, char *path, int32_t, int32_t index, audict **) -> void * {
        return Host::of(ref).name_next(previous != nullptr, path, index);
      },
      [](void *ref, void *token) { return Host::of(ref).tell("started   " + File::of(token).path), 0; },
      [](void *ref, void *token) { return Host::of(ref).tell("finishing " + File::of(token).path), 0; },
      [](void *ref, void *token) { return Host::of(ref).finished(File::of(token)), 0; },
      [](void *ref, void *token, int32_t code, const char *format, va_list args) {
        char text[512];
        vsnprintf(text, sizeof text, format, *va_arg(args, va_list *));
        const std::string message = (token ? File::of(token).path + ": " : "") + text;
        // That a file turned out empty is no failure, as long as there are others.
        code == AuRecErrorNoAudio ? Host::of(ref).console.complain(message) : Host::of(ref).failed(message);
      });
  if (!rec) throw std::bad_alloc();
  host.recorder = rec;
  aurec_set_state_changed_cb(rec, [](void *ref) {
    Host::of(ref).tell(aurec_is_active(Host::of(ref).recorder) ? "recording" : "not recording");
  });
  aurec_set_output_type(rec, settings.type);
  aurec_set_pcm_options(rec, settings.pcm);
  aurec_set_limit(rec, settings.limit.value, settings.limit.is_time);
  aurec_set_silence_killer(rec, settings.silence_mode, settings.silence_db, settings.silence_seconds);
  return {rec, aurec_destroy};
}

// Feeds the inputs to the recorder; what a host's audio thread does.
class Source {
public:
  Source(aurec *rec, const Settings &settings, example::Console &console)
      : rec_(rec), settings_(settings), console_(console) {
    for (const std::string &input : settings.inputs) total_seconds_ += AudioInput(input).seconds();
    rate_ = AudioInput(settings.inputs.front()).rate();
    file_rate_ = settings.pcm.sample_rate > 0 ? settings.pcm.sample_rate : rate_;
    if (aurec_start(rec_, rate_) != 0) throw std::runtime_error("the recording could not be started");
    whole_ring_ = aurec_buffer_available_space(rec_);
    while (!aurec_is_recording(rec_) && aurec_is_active(rec_)) std::this_thread::sleep_for(kPoll);
  }

  // False once the recording has ended. A change of rate empties the ring, so what waits in it has to go first.
  bool feed(AudioInput input) {
    if (input.rate() != rate_ && !wait_until_empty()) return false;
    rate_ = input.rate();
    auto due = std::chrono::steady_clock::now();
    while (const int frames = input.read(settings_.block)) {
      due += std::chrono::nanoseconds(std::llround(frames * 1e9 / static_cast<double>(rate_)));
      if (settings_.realtime) std::this_thread::sleep_until(due);
      // Silence splits where the worker stands, so that must keep up, as it does with a live source.
      else if (!(settings_.silence_mode ? wait_until_empty() : wait_for_space(frames * 8)))
        return false;
      if (example::interrupted() || !aurec_is_recording(rec_)) return false;
      const float *const channels[2] = {input.left().data(), input.right().data()};
      if (aurec_record(rec_, rate_, channels, frames) != 0) dropped += frames;
      pushed += frames;
      seconds += frames / static_cast<double>(rate_);
      if (console_.due(seconds, total_seconds_)) console_.progress(seconds, total_seconds_, input.level());
    }
    return true;
  }

  // What makes no whole frame of the file's rate stays in the ring.
  bool wait_until_empty() const {
    return wait_for_space(whole_ring_ - (rate_ == file_rate_ ? 0 : 8 * static_cast<int32_t>(rate_ / file_rate_ + 4)));
  }

  int64_t pushed = 0, dropped = 0;  // frames
  double seconds = 0;               // of them

private:
  static constexpr std::chrono::microseconds kPoll{100};

  bool wait_for_space(int32_t bytes) const {
    while (aurec_buffer_available_space(rec_) < bytes && aurec_is_active(rec_)) std::this_thread::sleep_for(kPoll);
    return aurec_is_active(rec_);
  }

  aurec *const rec_;
  const Settings &settings_;
  example::Console &console_;
  int32_t whole_ring_ = 0;  // bytes
  float rate_ = 0, file_rate_ = 0;
  double total_seconds_ = 0;
};

int record(const Settings &settings) {
  Host host(settings);
  fs::create_directories(settings.folder);
  const auto recorder = make_recorder(host, settings);
  Source source(recorder.get(), settings, host.console);
  for (const std::string &input : settings.inputs) {
    try {
      if (!source.feed(AudioInput(input))) break;
    } catch (const std::exception &error) {
      host.failed(error.what());
    }
  }
  source.wait_until_empty();  // the limits hold until the end is asked for
  aurec_stop(recorder.get());
  return host.report(source.pushed, source.dropped, source.seconds);
}

}  // namespace

int main(int argc, char **argv) {
  return example::guarded("auspool-record", [&] {
    const Settings settings = settings_from(argc, argv);
    return settings.help ? std::puts(kHelp) < 0 : record(settings);
  });
}
