// Records audio files as if they came in live: the library's recorder at work.
#include <auspool/aurec.h>

#include <atomic>
#include <deque>
#include <filesystem>
#include <mutex>
#include <thread>

#include "common/audio_input.h"
#include "common/console.h"
#include "record/settings.h"
#include "record/written_file.h"

namespace {

namespace fs = std::filesystem;
using example::AudioInput;
using record::Settings;

struct File {
  std::string path;
  int32_t index;
  static const File &of(void *token) { return *static_cast<File *>(token); }
};

// The host's side of the callbacks, which come on the recording's worker thread, but for the end of a file of MPEG-4.
struct Host {
  explicit Host(const Settings &all) : settings(all) {}
  static Host &of(void *ref) { return *static_cast<Host *>(ref); }

  // A name that is in use, and the end of a file that was kept, lead to the next number.
  File *name_next(bool taken, char *path, int32_t index) {
    if (taken || files.empty() || files.back().index != index) ++number;
    char name[32];
    snprintf(name, sizeof name, "recording-%03d.%s", number, record::extension(settings.type).c_str());
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

  // Reports a file as another library sees it. Of MPEG-4 an empty one is finished too, while it is being deleted.
  void finished(const File &file) try {
    const record::WrittenFile written = record::look_at(file.path);
    if (written.frames == 0) return;
    const std::lock_guard lock(mutex);
    ++finished_files;
    finished_seconds += written.seconds;
    tell("finished  " + file.path + ": " + std::to_string(written.seconds) + " s", {{"path", file.path},
                                                                                    {"frames", written.frames},
                                                                                    {"seconds", written.seconds},
                                                                                    {"bytes", fs::file_size(file.path)},
                                                                                    {"index", file.index}});
  } catch (const std::exception &error) {
    if (fs::exists(file.path)) failed(error.what());
  }

  void failed(const std::string &message) {
    ++errors;
    console.complain("auspool-record: " + message);
  }

  // The last words; returns the exit status. Of a full disk the recorder says nothing: the files must hold `seconds`.
  int report(int64_t pushed, int64_t dropped, double seconds) {
    if (finished_files == 0 && errors == 0) failed("nothing was recorded");
    // Readers trim what they know to be the encoder's delay from each MP3 file.
    if (settings.type == AuRecOutputTypeMP3) seconds -= 0.15 * finished_files;
    if (finished_files > 0 && settings.silence_mode == 0 && finished_seconds < seconds)
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
  std::mutex mutex;        // files of MPEG-4 are finished by jobs of their own
  int finished_files = 0;
  double finished_seconds = 0;
  std::atomic<int> errors = 0;
};

std::unique_ptr<aurec, void (*)(aurec *)> make_recorder(Host &host, const Settings &settings) {
  aurec *rec = aurec_create(
      &host,
      [](void *ref, void *previous, char *path, int32_t, int32_t index, audict **tags) -> void * {
        *tags = audict_retain(Host::of(ref).settings.tag.get());
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
  aurec_set_mp3_options(rec, settings.mp3);
  aurec_set_flac_options(rec, settings.flac);
  aurec_set_aac_options(rec, settings.aac);
  aurec_set_alac_options(rec, settings.alac);
  aurec_set_limit(rec, settings.limit.value, settings.limit.is_time);
  aurec_set_silence_killer(rec, settings.silence_mode, settings.silence_db, settings.silence_seconds);
  return {rec, aurec_destroy};
}

// Feeds the inputs to the recorder; what a host's audio thread does.
class Source {
public:
  Source(aurec *rec, Host &host) : rec_(rec), settings_(host.settings), console_(host.console) {
    for (const std::string &input : settings_.inputs) total_seconds_ += AudioInput(input).seconds();
    fs::create_directories(settings_.folder);
    rate_ = AudioInput(settings_.inputs.front()).rate();
    const bool converts = settings_.pcm.sample_rate > 0 && settings_.type != AuRecOutputTypeMP3;
    file_rate_ = converts ? settings_.pcm.sample_rate : rate_;  // LAME converts behind the recorder
    if (aurec_start(rec_, rate_) != 0) throw std::runtime_error("the recording could not be started");
    whole_ring_ = aurec_buffer_available_space(rec_);
    while (!aurec_is_recording(rec_) && aurec_is_active(rec_) && host.errors == 0) std::this_thread::sleep_for(kPoll);
  }

  // False once the recording has ended. A change of rate empties the ring, so what waits in it has to go first.
  bool feed(AudioInput input) {
    if (input.rate() != rate_ && !wait_until_empty()) return false;
    rate_ = input.rate();
    auto due = std::chrono::steady_clock::now();
    while (const int frames = input.read(settings_.block)) {
      due += std::chrono::nanoseconds(std::llround(frames * 1e9 / static_cast<double>(rate_)));
      if (settings_.realtime) std::this_thread::sleep_until(due);
      if (!settings_.realtime && !wait_for_room(frames)) return false;
      if (example::interrupted() || !aurec_is_recording(rec_)) return false;
      const float *const channels[2] = {input.left().data(), input.right().data()};
      pushed += frames;
      if (aurec_record(rec_, rate_, channels, frames) == 0)
        seconds += frames / static_cast<double>(rate_);
      else
        dropped += frames;
      if (console_.due(seconds, total_seconds_)) console_.progress(seconds, total_seconds_, input.level());
    }
    return true;
  }

  // Silence splits where the worker stands, so that must keep up, as it does with a live source.
  bool wait_for_room(int frames) { return settings_.silence_mode ? wait_until_empty() : wait_for_space(frames * 8); }

  // What makes no whole frame of the file's rate, or no whole packet of its encoder, stays in the ring.
  bool wait_until_empty() {
    constexpr int32_t kFrameBytes = 8, kOfConversion = 4;
    int32_t rest = rate_ == file_rate_ ? 0 : static_cast<int32_t>(rate_ / file_rate_) + kOfConversion;
    if (in_packets()) rest = static_cast<int32_t>(block_seconds() * static_cast<double>(rate_)) + kOfConversion;
    return wait_for_space(whole_ring_ - kFrameBytes * rest);
  }

  // Less than this much is lost at each change of rate.
  double slack() const { return 0.01 * static_cast<double>(settings_.inputs.size()); }

  int64_t pushed = 0, dropped = 0;  // frames
  double seconds = 0;               // that were kept
  bool gave_up = false;             // the rest of the input was not fed

private:
  static constexpr std::chrono::microseconds kPoll{100};

  // False once the recording has ended, or audio has left the ring and reached no file: the disk is full, and will be.
  bool wait_for_space(int32_t bytes) {
    while (aurec_buffer_available_space(rec_) < bytes) {
      gave_up = is_losing();
      if (!aurec_is_recording(rec_) || example::interrupted() || gave_up) return false;
      std::this_thread::sleep_for(kPoll);
    }
    return aurec_is_recording(rec_);
  }

  bool in_packets() const { return settings_.type == AuRecOutputTypeAAC || settings_.type == AuRecOutputTypeALAC; }

  // What the recorder takes from the ring at once, at most. Which rate AAC is encoded at it does not tell.
  double block_seconds() const {
    const double slower = static_cast<double>(std::min(rate_, file_rate_));
    if (settings_.type == AuRecOutputTypeAAC) return (settings_.aac.profile == 0 ? 1024 : 2048) / 8000.0;
    return (settings_.type == AuRecOutputTypeALAC ? 4096 : 1024) / slower;
  }

  // A few blocks may be on their way.
  bool is_losing() const {
    const double waiting = (whole_ring_ - aurec_buffer_available_space(rec_)) / 8.0 / static_cast<double>(rate_);
    const double missing = seconds - waiting - aurec_total_time(rec_);
    return settings_.silence_mode == 0 && missing > 3 * block_seconds() + slack();
  }

  aurec *const rec_;
  const Settings &settings_;
  example::Console &console_;
  int32_t whole_ring_ = 0;  // bytes
  float rate_ = 0, file_rate_ = 0;
  double total_seconds_ = 0;
};

int run(const Settings &settings) {
  Host host(settings);
  const auto recorder = make_recorder(host, settings);
  Source source(recorder.get(), host);
  for (const std::string &input : settings.inputs) {
    try {
      if (!source.feed(AudioInput(input))) break;
    } catch (const std::exception &error) {
      host.failed(error.what());
    }
  }
  if (source.gave_up) host.failed("what is recorded reaches no file: the rest of the input is left out");
  source.wait_until_empty();  // the limits hold until the end is asked for
  aurec_stop(recorder.get());
  while (aurec_has_active_files(recorder.get())) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  return host.report(source.pushed, source.dropped, source.seconds - source.slack());
}

}  // namespace

int main(int argc, char **argv) {
  return example::guarded("auspool-record", [&] {
    const Settings settings = record::settings_from(argc, argv);
    return settings.help ? std::puts(record::kHelp) < 0 : run(settings);
  });
}
