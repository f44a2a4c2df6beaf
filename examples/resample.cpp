// Converts an audio file to another sample rate: the library's sample-rate conversion at work, whole or streaming.
#include <auspool/raesampler.h>

#include <algorithm>
#include <chrono>
#include <exception>
#include <filesystem>

#include "common/audio_input.h"
#include "common/audio_output.h"
#include "common/command_line.h"
#include "common/console.h"
#include "resample/settings.h"

namespace {

namespace fs = std::filesystem;
using example::AudioInput;
using example::AudioOutput;
using resample::Settings;

void stop_if_interrupted() {
  if (example::interrupted()) throw std::runtime_error("interrupted");
}

// A buffer for each channel.
template <typename Sample>
struct Planes {
  Planes(int channels, int frames) : channels_(static_cast<std::size_t>(channels)) {
    for (auto &channel : channels_) channel.resize(static_cast<std::size_t>(frames));
    move_to(0);
  }
  void silence() {
    for (auto &channel : channels_) std::fill(channel.begin(), channel.end(), Sample(0));
  }
  // The pointers lead to this frame from now on.
  void move_to(int frame) {
    pointers.clear();
    for (auto &channel : channels_) pointers.push_back(channel.data() + frame);
  }
  std::vector<Sample *> pointers;

private:
  std::vector<std::vector<Sample>> channels_;
};

template <typename Sample>
class Conversion {
public:
  Conversion(const Settings &settings, AudioInput &input, AudioOutput &output)
      : settings_(settings), input_(input), output_(output), channels_(input.info().channels) {}

  // The whole file in one call, which calls back for audio.
  void run_at_once() {
    const int32_t result = raesampler_single_shot(
        settings_.flags(), channels_, sizeof(Sample), &ratio, this,
        [](void *self, void *const *channels, int32_t most) {
          return static_cast<Conversion *>(self)->read_for(reinterpret_cast<Sample *const *>(channels), most);
        },
        [](void *self, const void *const *channels, int32_t frames) {
          static_cast<Conversion *>(self)->write_for(reinterpret_cast<const Sample *const *>(channels), frames);
        },
        nullptr, settings_.threads, input_.info().samplerate, settings_.rate, settings_.tolerance);
    if (failure_) std::rethrow_exception(failure_);
    if (result == RAESAMPLER_NO_STRUCTURE || result == RAESAMPLER_NO_STAGE) throw no_chain();
    if (result != 0 && frames_read_ > 0) throw std::bad_alloc();
  }

  // Block by block, with room for as much output as a block of input has, as a player with fixed buffers does.
  void run_streaming() {
    const Handle converter(raesampler_create(settings_.flags(), channels_, &ratio, settings_.low_latency,
                                             input_.info().samplerate, settings_.rate, settings_.tolerance),
                           raesampler_destroy);
    if (!converter) throw no_chain();
    Planes<Sample> in(channels_, settings_.block), out(channels_, settings_.block);
    while (const int frames = read(in.pointers.data(), settings_.block)) {
      feed(converter.get(), in, frames, out);
    }
    expected_ = std::llround(static_cast<double>(frames_read_) * settings_.rate / input_.info().samplerate);
    in.silence();  // brings out what the filters still hold
    while (output_.frames() < expected_) {
      feed(converter.get(), in, std::clamp(raesampler_padding(converter.get()), 1, settings_.block), out);
    }
  }

  double ratio = 0;  // that the conversion really had

private:
  using Handle = std::unique_ptr<raesampler, void (*)(raesampler *)>;

  int read(Sample *const *channels, int most) {
    stop_if_interrupted();
    const int frames = input_.read(channels, most);
    frames_read_ += frames;
    const double seconds = static_cast<double>(frames_read_) / input_.info().samplerate;
    if (frames > 0 && !settings_.json && console_.due(seconds, input_.seconds()))
      console_.progress(seconds, input_.seconds(), input_.level());
    return frames;
  }

  void write(const Sample *const *channels, int frames) {
    output_.write(channels, static_cast<int>(std::min<std::int64_t>(frames, expected_ - output_.frames())));
  }

  // What the library calls throws nothing through it: a negative count ends the conversion.
  int32_t read_for(Sample *const *channels, int32_t most) noexcept try {
    return failure_ ? -1 : read(channels, most);
  } catch (...) {
    failure_ = std::current_exception();
    return -1;
  }

  void write_for(const Sample *const *channels, int32_t frames) noexcept try {
    if (!failure_) write(channels, frames);
  } catch (...) {
    failure_ = std::current_exception();
  }

  void feed(raesampler *converter, Planes<Sample> &in, int frames, Planes<Sample> &out) {
    int done = 0;
    for (int32_t used = 1, made = 1; used > 0 || made > 0; done += used) {
      used = frames - done;
      in.move_to(done);
      made = convert(converter, in.pointers.data(), out.pointers.data(), &used);
      write(out.pointers.data(), made);
    }
    in.move_to(0);
    if (done < frames) throw std::bad_alloc();
  }

  int32_t convert(raesampler *converter, Sample *const *in, Sample *const *out, int32_t *frames) const {
    if constexpr (sizeof(Sample) == 8)
      return raesampler_resampleD(converter, in, 1, out, 1, frames, settings_.block);
    else
      return raesampler_resample(converter, in, 1, out, 1, frames, settings_.block);
  }

  std::runtime_error no_chain() const {
    const std::string from = std::to_string(input_.info().samplerate), to = std::to_string(settings_.rate);
    if (settings_.sdm)
      return std::runtime_error("--sdm: there are no block transforms from " + from + " to " + to + " Hz");
    return std::runtime_error("this version has no chain from " + from + " to " + to + " Hz at quality " +
                              std::to_string(settings_.quality));
  }

  const Settings &settings_;
  AudioInput &input_;
  AudioOutput &output_;
  example::Console console_;
  const int channels_;
  std::int64_t frames_read_ = 0, expected_ = INT64_MAX;
  std::exception_ptr failure_;
};

// Returns the ratio that it really had.
template <typename Sample>
double convert(const Settings &settings, AudioInput &input, AudioOutput &output) {
  Conversion<Sample> conversion(settings, input, output);
  settings.stream ? conversion.run_streaming() : conversion.run_at_once();
  return conversion.ratio;
}

void check_paths_and_rates(const Settings &settings, const AudioInput &input) {
  std::error_code ignored;
  if (fs::equivalent(settings.input, settings.output, ignored))
    throw std::runtime_error(settings.output + ": is the input itself");
  const double ratio = static_cast<double>(settings.rate) / input.info().samplerate;
  if (ratio > 256 || ratio < 1.0 / 256)
    throw std::runtime_error("from " + std::to_string(input.info().samplerate) + " to " +
                             std::to_string(settings.rate) + " Hz is a factor beyond 256");
}

void report(const Settings &settings, const AudioInput &input, const AudioOutput &output, double ratio,
            double elapsed) {
  const int channels = input.info().channels;
  example::Console console;
  if (settings.json) {
    return console.say({{"path", settings.output},
                        {"frames", output.frames()},
                        {"rate", settings.rate},
                        {"channels", channels},
                        {"seconds", output.seconds()},
                        {"ratio", ratio},
                        {"peak", output.peak()},
                        {"clipped", output.clipped()},
                        {"elapsed", elapsed}});
  }
  char text[200];
  snprintf(text, sizeof text,
           ": %lld frames at %d Hz, %d channel%s, peak %.1f dB, clipped %lld, took %.2f s for %.2f s",
           static_cast<long long>(output.frames()), settings.rate, channels, channels == 1 ? "" : "s",
           20 * std::log10(output.peak() + 1e-10), static_cast<long long>(output.clipped()), elapsed, output.seconds());
  console.say(settings.output + text);
}

int run(const Settings &settings) {
  const auto begin = std::chrono::steady_clock::now();
  AudioInput input(settings.input);
  check_paths_and_rates(settings, input);
  stop_if_interrupted();
  AudioOutput output(settings.output, settings.rate, input.info());
  // The higher qualities work in doubles inside.
  const bool wide = settings.quality >= RaesamplerQualityVeryHigh;
  const double ratio = wide ? convert<double>(settings, input, output) : convert<float>(settings, input, output);
  output.finish();
  report(settings, input, output, ratio,
         std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
  return 0;
}

}  // namespace

int main(int argc, char **argv) {
  return example::guarded("auspool-resample", [&] {
    const Settings settings = resample::settings_from(argc, argv);
    return settings.help ? std::puts(resample::kHelp) < 0 : run(settings);
  });
}
