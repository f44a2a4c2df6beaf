#include "record/settings.h"

namespace record {

const char *const kHelp = R"(usage: auspool-record INPUT... [OPTION]...
Records audio files, whatever libsndfile reads, one after another as one live source. Mono feeds both channels; of more
than two channels the first two are taken. The files appear as recording-001.aiff and so on; none is overwritten.

  --out DIR             the folder of the recordings, made if need be (the current one)
  --type aiff|wave|mp3|flac|aac|alac   (aiff); the last two into MPEG-4 files, recording-001.m4a
  --bits 16|24          of AIFF and WAVE (16)
  --mono mix|left|right records one channel; of the others the mix
  --rate HZ             sample rate of the recordings, 4000 to 192000, for MP3 one of its own (that of the first input)
  --bitrate KBPS        of MP3, 8 to 320: constant, on average, or at most; of AAC, on average (128)
  --bitrate-mode constant|average|variable   of MP3 (constant)
  --quality N           of MP3 and AAC, 0 best to 9 fastest (5)
  --vbr-quality N       of MP3 of variable bitrate, 0 best to 9 (5)
  --podcast             marks MP3 files as a podcast
  --fragmented          writes MPEG-4 files in pieces, so that they play without having been finished
  --audiobook           marks MPEG-4 files as an audio book
  --tag KEY=VALUE       a tag of the files, as often as there are some; auspool-tags --help lists the keys
  --cover IMAGE         their cover, a JPEG or PNG file
  --limit 90s|5MiB      goes on in a new file at this length or size: s, min, h, KiB, MiB, GiB; from 60s or 1MiB
  --silence skip|split|stop   leaves silence out, begins a new file after it, or ends the recording
  --silence-db DB       what is below this level is silence (-50)
  --silence-seconds S   how long it must last (2)
  --block FRAMES        frames in a block, 1 to 65536 (512)
  --realtime            goes by the clock, as a sound card does, and waits for nothing
  --json                prints a line of JSON for each finished file: path, frames, seconds, bytes, index; at the end
                        one with files, frames_pushed, frames_dropped (in blocks that did not fit whole), errors

Exit status: 0 if nothing was dropped and nothing failed, 1 if something did, 2 for a wrong command line.)";

namespace {

using example::UsageError;

const std::vector<std::pair<std::string, int>> kTypes = {{"aiff", AuRecOutputTypeAIFF}, {"wave", AuRecOutputTypeWAVE},
                                                         {"mp3", AuRecOutputTypeMP3},   {"flac", AuRecOutputTypeFLAC},
                                                         {"aac", AuRecOutputTypeAAC},   {"alac", AuRecOutputTypeALAC}};

bool is_mpeg4(AuRecOutputType type) {
  return type == AuRecOutputTypeAAC || type == AuRecOutputTypeALAC;
}

void check_bitrate(AuRecOutputType type, uint32_t bitrate) {
  const bool is_aac = type == AuRecOutputTypeAAC;
  for (const uint32_t *known = is_aac ? aac_bitrate_table_legacy : mp3_bitrate_table_legacy; *known != 0; ++known) {
    if (*known == bitrate) return;
  }
  throw UsageError("--bitrate " + std::to_string(bitrate) + ": " + (is_aac ? "AAC" : "MP3") + " has no such bitrate");
}

// What one option means for each format.
struct Shared {
  int mono = 0, quality = 5;
  uint32_t bitrate = 128;
  float rate = 0;
  bool podcast = false, fragmented = false, audiobook = false;
};

void share_out(Settings &s, const Shared &shared) {
  const bool is_pcm = s.type == AuRecOutputTypeAIFF || s.type == AuRecOutputTypeWAVE;
  if (!is_pcm && shared.mono > 1) throw UsageError("--mono: this format mixes both channels");
  if (!is_pcm && s.pcm.bit_depth != 0) throw UsageError("--bits 24: this format has 16");
  if (!is_pcm && s.type != AuRecOutputTypeMP3 && shared.rate > 0)
    throw UsageError("--rate: files of this format have the rate of their input");
  if (!is_mpeg4(s.type) && (shared.fragmented || shared.audiobook))
    throw UsageError("--fragmented and --audiobook are for MPEG-4 files");
  const bool mono = shared.mono != 0;
  s.pcm.mono = s.flac.mono = s.mp3.channel_mode = s.aac.mono = s.alac.mono = mono;
  s.pcm.mono_source = mono ? static_cast<uint32_t>(shared.mono - 1) : 0;
  s.pcm.sample_rate = s.mp3.sample_rate = shared.rate;
  s.mp3.bitrate = s.aac.bitrate = shared.bitrate;
  s.mp3.quality = shared.quality;
  s.aac.quality = static_cast<uint32_t>(shared.quality);
  s.mp3.podcast = shared.podcast;
  s.aac.audiobook = s.alac.audiobook = shared.audiobook;
  s.aac.fast_start = s.alac.fast_start = !shared.fragmented;
}

void make_tag(Settings &s) {
  if (s.changes.settings.empty() && s.changes.cover.empty()) return;
  s.tag.reset(audict_create());
  s.changes.apply(s.tag.get());
}

}  // namespace

std::string extension(AuRecOutputType type) {
  if (is_mpeg4(type)) return "m4a";
  for (const auto &[name, number] : kTypes) {
    if (number == type) return type == AuRecOutputTypeWAVE ? "wav" : name;
  }
  return "";
}

Settings settings_from(int argc, char **argv) {
  Settings s;
  Shared shared;
  s.inputs = example::parse(
      argc, argv,
      {example::flag("help", s.help),
       example::text_option("out", s.folder),
       example::choice_option("type", s.type, kTypes),
       example::choice_option("bits", s.pcm.bit_depth, {{"16", 0}, {"24", 1}}),
       example::choice_option("mono", shared.mono, {{"mix", 1}, {"left", 2}, {"right", 3}}),
       example::number_option("rate", shared.rate, 4000, 192000),
       example::number_option("bitrate", shared.bitrate, 8, 320),
       example::choice_option("bitrate-mode", s.mp3.bitrate_mode, {{"constant", 0}, {"average", 1}, {"variable", 2}}),
       example::number_option("quality", shared.quality, 0, 9),
       example::number_option("vbr-quality", s.mp3.vbr_quality, 0, 9),
       example::flag("podcast", shared.podcast),
       example::flag("fragmented", shared.fragmented),
       example::flag("audiobook", shared.audiobook),
       {"tag", true, [&s](const std::string &setting) { s.changes.settings.push_back(setting); }},
       example::text_option("cover", s.changes.cover),
       example::limit_option("limit", s.limit),
       example::choice_option("silence", s.silence_mode, {{"skip", 1}, {"split", 2}, {"stop", 3}}),
       example::number_option("silence-db", s.silence_db, -200, 0),
       example::number_option("silence-seconds", s.silence_seconds, 0, 86400),
       example::number_option("block", s.block, 1, 65536),
       example::flag("realtime", s.realtime),
       example::flag("json", s.json)});
  if (s.help) return s;
  if (s.inputs.empty()) throw UsageError("no input");
  if (!aurec_can_output_type(s.type)) throw UsageError("this build cannot write " + extension(s.type) + " files");
  check_bitrate(s.type, shared.bitrate);
  share_out(s, shared);
  make_tag(s);
  return s;
}

}  // namespace record
