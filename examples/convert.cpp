// Converts audio files from one sample format to another: the library's conversion and dither at work.
#include <auspool/bitbox.h>

#include "common/console.h"
#include "convert/files.h"
#include "convert/settings.h"

namespace {

namespace fs = std::filesystem;
using convert::Settings;
using convert::Source;
using convert::Target;

using Dither = std::unique_ptr<bitbox_dither, void (*)(bitbox_dither *)>;

void stop_if_interrupted(const Settings &s) {
  if (example::interrupted()) convert::fail(s.out, "interrupted");
}

Dither make_dither(const Settings &s, const SF_INFO &info) {
  if (!s.dither) return {nullptr, bitbox_dither_destroy};
  const auto bits = static_cast<std::int32_t>(s.target().word & BITBOX_WIDTH_MASK);
  Dither dither(bitbox_dither_create(bits, info.channels, s.dither, nullptr, static_cast<float>(info.samplerate)),
                bitbox_dither_destroy);
  if (!dither) convert::fail(s.in, "no shaped dither at rates below 44100; rpdf and tpdf serve there");
  return dither;
}

// Returns how many frames there were.
std::int64_t convert_all(const Settings &s, Source &source, Target &target, bitbox_dither *dither,
                         example::Console &console) {
  constexpr std::int32_t kFrames = 4096;
  const auto channels = static_cast<std::size_t>(source.info.channels),
             bytes = static_cast<std::size_t>(s.target().bytes);
  std::vector<std::uint8_t> stored(kFrames * channels * bytes);
  std::vector<void *> from(channels), to(channels);
  std::int64_t done = 0;
  while (const std::int32_t frames = source.read(kFrames)) {
    stop_if_interrupted(s);
    for (std::size_t i = 0; i < channels; ++i) {
      from[i] = static_cast<char *>(source.first()) + i * source.sample_bytes();
      to[i] = stored.data() + i * bytes;
    }
    bitbox_convert(from.data(), source.word, source.info.channels, to.data(), s.word(), source.info.channels,
                   source.info.channels, frames, dither);
    target.write(stored, static_cast<std::size_t>(frames) * channels * bytes);
    done += frames;
    const double rate = source.info.samplerate, all = static_cast<double>(source.info.frames) / rate;
    if (console.due(static_cast<double>(done) / rate, all)) console.progress(static_cast<double>(done) / rate, all);
  }
  return done;
}

int run(const Settings &s) {
  Source source(s.in);
  const Dither dither = make_dither(s, source.info);
  stop_if_interrupted(s);
  Target target(s, source.info);
  example::Console console;
  const std::int64_t frames = convert_all(s, source, target, dither.get(), console);
  target.finish();
  const std::int64_t clipped = s.to_floats() ? 0 : source.beyond_full_scale;
  if (s.json) {
    console.say({{"path", s.out},
                 {"frames", frames},
                 {"channels", source.info.channels},
                 {"rate", source.info.samplerate},
                 {"format", s.target().name},
                 {"big_endian", s.big_endian},
                 {"dither", s.dither_name()},
                 {"bytes", fs::file_size(s.out)},
                 {"clipped", clipped}});
  } else {
    console.say(s.out.string() + ": " + std::to_string(frames) + " frames of " + std::to_string(source.info.channels) +
                " channels, " + s.target().name + (s.big_endian ? " big" : " little") + "-endian, " +
                std::to_string(clipped) + " samples clipped");
  }
  return 0;
}

}  // namespace

int main(int argc, char **argv) {
  return example::guarded("auspool-convert", [&] {
    const Settings settings = convert::settings_from(argc, argv);
    return settings.help ? std::puts(convert::kHelp) < 0 : run(settings);
  });
}
