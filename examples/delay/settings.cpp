#include "delay/settings.h"

#include "common/command_line.h"

namespace delay {

const char *const kHelp = R"(usage: auspool-delay FILE | --capture [OPTION]...
Holds audio back: an audio file, whatever libsndfile reads, in its own time, or what the system's default input hears goes
in, and comes out later, on a sound device or into a file, as 16 bits. Mono goes to both sides; of more than two channels
the first two are taken. Until the delay has filled there is silence. On a terminal keys move the delay meanwhile, as far
back as there is audio: up and down by 1 second, right and left by 10, 0 to none, q ends.

  --seconds S      how far back one can go, 1 to 100000 (3600)
  --set SECONDS    the delay to begin with, up to --seconds (0)
  --out FILE       into this file, whose name tells its kind, rather than to a device
  --fast           as fast as a file can be read and written
  --capture        takes what the default input hears, until an interrupt
  --device ID      the device to play on, by its number in auspool-devices (the system's default)
  --backend NAME   the backend of devices to use; --backend help lists them
  --json           prints one line of JSON at the end: seconds (of input), rate, length (of what is held), delay, real_delay
                   (with the time in which nothing was recorded), frames (of output)

Exit status: 0, 1 if something failed, 2 for a wrong command line. An interrupt ends it as the end of the file does, but
what is still held back is not played.)";

Settings settings_from(int argc, char **argv) {
  Settings s;
  const std::vector<std::string> inputs =
      example::parse(argc, argv,
                     {example::flag("help", s.help), example::number_option("seconds", s.seconds, 1, 100000),
                      example::number_option("set", s.set, 0, 100000), example::text_option("out", s.out),
                      example::flag("fast", s.fast), example::flag("capture", s.capture),
                      example::number_option("device", s.options.device, 2, AUPLAYER_NO_DEVICE - 1.0),
                      example::text_option("backend", s.backend), example::flag("json", s.json)});
  if (s.help || s.backend == "help") return s;
  if (inputs.size() > 1) throw example::UsageError("one input is wanted");
  if (inputs.empty() != s.capture) throw example::UsageError(s.capture ? "a file or --capture, not both" : "no input");
  if (s.fast && (s.capture || s.out.empty())) throw example::UsageError("--fast is for a file into a file");
  if (s.set > s.seconds) throw example::UsageError("--set is above --seconds");
  if (!s.capture) s.input = inputs.front();
  return s;
}

}  // namespace delay
