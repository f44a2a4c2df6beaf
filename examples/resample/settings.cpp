#include "resample/settings.h"

#include <auspool/raesampler.h>

#include <algorithm>
#include <thread>

#include "common/command_line.h"

namespace resample {

const char *const kHelp = R"(usage: auspool-resample IN OUT --rate HZ [OPTION]...
Converts an audio file, whatever libsndfile reads, to another sample rate. The ending of OUT says what kind of file it
becomes; samples keep their form where that kind has it. OUT appears once it is complete.

  --rate HZ             the new sample rate, 1 to 6144000; at most 256 times the old one, or a 256th
  --quality 0..4        from cheap and short to flat and clean: 85, 92.5, 98, 99 or 99.5 % of the band (2)
  --minimum-phase       filters without ringing ahead of a transient
  --sdm                 block transforms, for very high rates going down by whole-number ratios of which no ready chain is
                        known, such as 2822400 to 44100
  --tolerance X         a simpler ratio of rates may be taken, that far from the true one at most (0)
  --threads N           how many may work at once (as many as there are processors)
  --stream              in small blocks, as a player does, instead of in one call
  --block FRAMES        frames of such a block, 1 to 1048576 (1024)
  --low-latency MICROSECONDS   like --stream, with long filters in partitions of this length
  --json                prints a line of JSON: path, frames, rate, channels, seconds, ratio, peak, clipped, elapsed

Exit status: 0 if OUT was written, 1 if not, 2 for a wrong command line.)";

std::int32_t Settings::flags() const {
  return quality | (sdm ? RAESAMPLER_FLAG_SDM : 0) | (minimum_phase ? RAESAMPLER_FLAG_MINIMUM_PHASE : 0) |
         (low_latency > 0 ? RAESAMPLER_FLAG_LOW_LATENCY : 0);
}

Settings settings_from(int argc, char **argv) {
  Settings s;
  bool in_blocks = false;
  const auto files = example::parse(argc, argv,
                                    {example::flag("help", s.help),
                                     example::number_option("rate", s.rate, 1, 6144000),
                                     example::number_option("quality", s.quality, 0, 4),
                                     example::number_option("threads", s.threads, 1, 1024),
                                     example::flag("minimum-phase", s.minimum_phase),
                                     example::flag("sdm", s.sdm),
                                     example::number_option("low-latency", s.low_latency, 1, 60e6),
                                     example::flag("stream", s.stream),
                                     {"block", true,
                                      [&](const std::string &text) {
                                        example::number_option("block", s.block, 1, 1 << 20).set(text);
                                        in_blocks = true;
                                      }},
                                     example::number_option("tolerance", s.tolerance, 0, 0.01),
                                     example::flag("json", s.json)});
  if (s.help) return s;
  if (files.size() != 2) throw example::UsageError("one input and one output are wanted");
  if (s.rate == 0) throw example::UsageError("--rate is wanted");
  if (s.low_latency > 0) s.stream = true;
  if (in_blocks && !s.stream) throw example::UsageError("--block goes with --stream or --low-latency");
  if (s.threads > 0 && s.stream) throw example::UsageError("--threads does not go with --stream or --low-latency");
  if (s.threads == 0) s.threads = static_cast<std::int32_t>(std::max(1U, std::thread::hardware_concurrency()));
  s.input = files[0];
  s.output = files[1];
  return s;
}

}  // namespace resample
