#include "recorder/recorder_flac.h"

#include "base/four_cc.h"
#include "base/truncate.h"
#include "recorder/to_16_bits.h"

namespace auspool {
namespace {

constexpr std::int32_t kBlockFrames = 1024;
constexpr std::uint32_t kBits = 16;

void convert_stereo(const float *frames, std::int32_t count, std::int32_t *to) {
  for (std::int32_t i = 0; i < 2 * count; ++i) to[i] = to_16_bits(frames[i] * 32768.0f);
}

void convert_to_mono(const float *frames, std::int32_t count, std::int32_t *to) {
  for (std::int32_t i = 0; i < count; ++i) to[i] = to_16_bits((frames[2 * i] + frames[2 * i + 1]) * 16384.0f);
}

}  // namespace

void RecorderFLAC::fix_opts(AuRecOptionsFLAC *options) {
  if (options->mono >= 2) options->mono = 0;
}

std::uint32_t RecorderFLAC::os_type() const {
  return four_cc("FLAC");
}

void RecorderFLAC::run_core() {
  rate_out = float{rate_in};
  if (!encoder.make()) {
    started = false;
    log_error(AuRecErrorFLACNew, "FLAC__stream_encoder_new() failed");
    return;
  }
  file_index = 0;
  Next next = Next::kFile;
  TagsOfFile tags;
  while (next == Next::kFile) {
    FilePtr file = open_fp(tags);
    next = file ? record_file(std::move(file), tags) : Next::kRefused;
  }
  encoder.release();
  if (next == Next::kEnd) end_recording();
}

RecorderFLAC::Next RecorderFLAC::record_file(FilePtr file, TagsOfFile &tags) {
  const TagData blocks = tags.take_data(kTagKindFLAC);  // the encoder reads them until it has finished
  const auto rate = static_cast<std::uint32_t>(truncate_to_int32(rate_out));
  std::FILE *const stream = file.release();  // the encoder closes it
  if (!encoder.begin(stream, {channels(), kBits, rate}, pointers_of(blocks))) {
    recording.store(false, std::memory_order_relaxed);
    encoder.release();
    log_error(AuRecErrorFLACInit, "FLAC__stream_encoder_init_FILE() failed");
    return Next::kRefused;
  }
  begin_file(stream);
  const bool goes_on = core_loop(stream);
  if (!goes_on) drain(stream);
  close_books();
  encoder.finish();
  if (keep_or_delete_file()) ++file_index;
  if (!goes_on) return Next::kEnd;
  file_open = false;
  return Next::kFile;
}

// The encoder holds the file.
std::int32_t RecorderFLAC::flush_buffer(std::FILE *, bool pad) {
  float audio[2 * kBlockFrames];
  std::int32_t samples[2 * kBlockFrames];
  const std::int32_t frames = get_audio(audio, kBlockFrames, false, pad);
  if (frames <= 0 || frames > kBlockFrames) return 0;
  (options.mono == 0 ? convert_stereo : convert_to_mono)(audio, frames, samples);
  return encoder.encode(samples, static_cast<std::uint32_t>(frames)) ? frames : 0;
}

}  // namespace auspool
