#include "record/settings.h"

namespace record {

const char *const kHelp = R"(usage: auspool-record INPUT... [OPTION]...
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

}  // namespace record
