#include "meter/settings.h"

namespace meter {

const char *const kHelp = R"(usage: auspool-meter FILE [OPTION]...
Shows the peak, the RMS level, clipping and the spectrum of an audio file, whatever libsndfile reads, in its own time, as
a player would. Mono counts as both channels; of more than two channels the first two are taken. On a terminal the
meters move; elsewhere only the last line is printed: the highest levels and whether any sample
clipped.

  --fast           as fast as the file can be read: each twentieth of a second by itself, without the fall of a meter
  --falloff DB     the fall of peak and RMS, decibels a second, 0 to 1000 (20)
  --svg FILE       draws the levels over time, and the highest that each part of the spectrum reached
  --json           prints a line of JSON for each twentieth of a second: seconds, peak_db, rms_db, clip (left and right),
                   spectrum (bands of equal ratio up to half the sample rate, 0 at -80 dB to 1 at 0); at the end one with
                   path, rate, frames, seconds, peak_db, rms_db, clip
  --capture        measures what the system's default input hears rather than a file, until an interrupt
  --backend NAME   the backend of devices to use with --capture

Exit status: 0, 1 if something failed, 2 for a wrong command line. An interrupt ends the measurement as the end of the
file does.)";

Settings settings_from(int argc, char **argv) {
  Settings s;
  const std::vector<std::string> inputs =
      example::parse(argc, argv,
                     {example::flag("help", s.help), example::flag("capture", s.capture), example::flag("fast", s.fast),
                      example::number_option("falloff", s.falloff, 0, 1000), example::text_option("svg", s.svg),
                      example::text_option("backend", s.backend), example::flag("json", s.json)});
  if (s.help) return s;
  if (inputs.size() > 1) throw example::UsageError("one input is wanted");
  if (inputs.empty() != s.capture) throw example::UsageError(s.capture ? "a file or --capture, not both" : "no input");
  if (s.capture && s.fast) throw example::UsageError("--fast is for files");
  s.input = s.capture ? "capture" : inputs.front();
  return s;
}

}  // namespace meter
