#include "recorder/recorder_mp3.h"

#include <new>

#include "base/four_cc.h"
#include "recorder/mp3_settings.h"
#include "recorder/to_16_bits.h"

namespace auspool {
namespace {

constexpr float kLowestRate = 8000.0f;
constexpr std::int32_t kBlockFrames = 1152;  // a frame of MPEG-1

// The work buffer:
//
//   0      9216   floats, a block of interleaved stereo
//   9216   4608   16-bit integers, left and then right
//   13824  32768  MP3
constexpr std::size_t kPcmOffset = 9216, kMp3Offset = 13824, kMp3Bytes = 32768, kWorkBytes = 46592;
static_assert(kPcmOffset == 2 * kBlockFrames * sizeof(float) &&
              kMp3Offset == kPcmOffset + 2 * kBlockFrames * sizeof(std::int16_t) &&
              kWorkBytes == kMp3Offset + kMp3Bytes);

void convert(const float *frames, std::int32_t count, std::int16_t *left, std::int16_t *right) {
  for (std::int32_t i = 0; i < count; ++i) {
    left[i] = static_cast<std::int16_t>(to_16_bits(frames[2 * i] * 32768.0f));
    right[i] = static_cast<std::int16_t>(to_16_bits(frames[2 * i + 1] * 32768.0f));
  }
}

void write_some(std::FILE *file, const std::uint8_t *bytes, int count) {
  if (count > 0) (void)!std::fwrite(bytes, 1, static_cast<std::size_t>(count), file);
}

}  // namespace

void RecorderMP3::fix_opts(AuRecOptionsMP3 *options) {
  fix_mp3_options(options, platform::Mp3Encoder::version());
}

std::uint32_t RecorderMP3::os_type() const {
  return four_cc("Mp3 ");
}

std::uint32_t RecorderMP3::creator() const {
  return four_cc("tnch");
}

void RecorderMP3::run_core() {
  rate_out = float{rate_in};  // where the file has another rate, the encoder converts
  if (const AuRecErrorCode error = set_up()) {
    tear_down();
    started = false;
    log_set_up_error(error);
    return;
  }
  file_index = 0;
  TagsOfFile tags;
  while (FilePtr file = open_fp(tags)) {
    if (!record_file(std::move(file), tags)) {
      end_recording();
      break;
    }
    lame.begin_next_stream();
    file_open = false;
  }
  tear_down();
}

AuRecErrorCode RecorderMP3::set_up() {
  if (rate_out < kLowestRate) return AuRecErrorMP3Rate;
  if (!allocate_work_buffer()) return AuRecErrorMP3Memory;
  if (!lame.make()) return AuRecErrorMP3Init;
  return lame.configure(mp3_settings(options, rate_out)) ? 0 : AuRecErrorMP3Params;
}

void RecorderMP3::log_set_up_error(AuRecErrorCode code) {
  switch (code) {
  case AuRecErrorMP3Rate:
    return log_error(code, "input sample rate is too low");
  case AuRecErrorMP3Memory:
    return log_error(code, "failed to malloc() lame big buf");
  case AuRecErrorMP3Init:
    return log_error(code, "lame_init() failed");
  case AuRecErrorMP3Params:
    return log_error(code, "lame_init_params() failed");
  }
}

void RecorderMP3::tear_down() {
  lame.release();
  work_buffer.reset();
}

bool RecorderMP3::allocate_work_buffer() {
  work_buffer.reset(new (std::nothrow) std::byte[kWorkBytes]);
  if (!work_buffer) return false;
  float_frames = reinterpret_cast<float *>(work_buffer.get());
  pcm = reinterpret_cast<std::int16_t *>(work_buffer.get() + kPcmOffset);
  mp3_out = reinterpret_cast<std::uint8_t *>(work_buffer.get() + kMp3Offset);
  return true;
}

bool RecorderMP3::record_file(FilePtr file, TagsOfFile &tags) {
  begin_file(file.get());
  write_tag(file.get(), tags);
  const bool goes_on = core_loop(file.get());
  if (!goes_on) drain(file.get());
  complete_stream(file.get(), goes_on);
  close_books();
  file.reset();
  if (keep_or_delete_file()) ++file_index;
  return goes_on;
}

// A tag that is not written whole is written over by the audio.
void RecorderMP3::write_tag(std::FILE *file, TagsOfFile &tags) const {
  if (options.podcast != 0 || options.bitrate_mode != 0) {
    audict *const own = tags.make_own();
    if (options.podcast != 0) audict_add_boolean(own, "ID3Podcast", true);
    if (options.bitrate_mode != 0) {
      audict_set_string(own, "EncoderSettings", mp3_settings_text(options, rate_out).data());
    }
  }
  const TagBlock block = tags.take_block(kTagKindMP3);
  if (std::fwrite(block.data(), 1, block.size(), file) < block.size()) std::fseek(file, 0, SEEK_SET);
}

void RecorderMP3::complete_stream(std::FILE *file, bool goes_on) {
  const std::span out(mp3_out, kMp3Bytes);
  write_some(file, mp3_out, goes_on ? lame.cut_stream(out) : lame.end_stream(out));
  if (options.bitrate_mode != 0) lame.write_vbr_header(file);
}

std::int32_t RecorderMP3::flush_buffer(std::FILE *file, bool pad) {
  const std::int32_t frames = get_audio(float_frames, kBlockFrames, false, pad);
  if (frames <= 0 || frames > kBlockFrames) return 0;
  convert(float_frames, frames, pcm, pcm + kBlockFrames);
  write_some(file, mp3_out, lame.encode(pcm, pcm + kBlockFrames, frames, {mp3_out, kMp3Bytes}));
  return frames;
}

}  // namespace auspool
