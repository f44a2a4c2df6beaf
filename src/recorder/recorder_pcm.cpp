#include "recorder/recorder_pcm.h"

#include <unistd.h>

#include <new>

#include "base/four_cc.h"
#include "platform/samples.h"
#include "recorder/pcm_header.h"

namespace auspool {
namespace {

constexpr float kLowestFileRate = 4000.0f, kHighestFileRate = 192000.0f;
constexpr std::int32_t kBlockFrames = 1024;
constexpr double kHeaderInterval = 10.0;  // seconds of file time

bool is_file_rate(float rate) {
  return rate >= kLowestFileRate && rate <= kHighestFileRate;
}

}  // namespace

void RecorderPCM::fix_pcm_opts(AuRecOptionsPCM *options) {
  if (options->bit_depth >= 2) options->bit_depth = 0;
  if (options->mono_source >= 3) options->mono_source = 0;
  if (!is_file_rate(options->sample_rate)) options->sample_rate = 0.0f;
}

AuRecOutputType RecorderPCM::type() const {
  switch (kind) {
  case kPCMKindAIFF:
    return AuRecOutputTypeAIFF;
  case kPCMKindWAVE:
    return AuRecOutputTypeWAVE;
  }
  return -1;
}

std::uint32_t RecorderPCM::os_type() const {
  switch (kind) {
  case kPCMKindAIFF:
    return four_cc("AIFF");
  case kPCMKindWAVE:
    return four_cc("WAVE");
  }
  return four_cc("????");
}

void RecorderPCM::run_core() {
  rate_out = is_file_rate(options.sample_rate) ? options.sample_rate : float{rate_in};
  file_index = 0;
  std::int32_t kept = 0;
  TagsOfFile tags;
  while (FilePtr file = open_fp(tags)) {
    tag_block = tags.take_block(kind == kPCMKindAIFF ? kTagKindAIFF : kTagKindWAVE);
    if (!make_room(file.get())) {
      file.reset();
      unlink(path);
      end_recording();
      log_error(AuRecErrorPCMHeader, "failed to make room for pcm header, file deleted");
      return;
    }
    last_header_time = 0;
    begin_file(file.get());
    const bool goes_on = core_loop(file.get());
    if (!goes_on) drain(file.get());
    complete_header(file.get());
    close_books();
    file.reset();
    if (keep_or_delete_file()) ++kept;
    if (!goes_on) return end_recording();
    file_open = false;
    file_index = kept;
  }
}

// Zeros where the header will stand.
bool RecorderPCM::make_room(std::FILE *file) {
  const std::size_t fixed = kind == kPCMKindAIFF ? kAiffHeaderBytes : kWaveHeaderBytes;
  try {
    header.assign(fixed + tag_block.size(), 0);
  } catch (const std::bad_alloc &) {
    return false;
  }
  return std::fwrite(header.data(), 1, header.size(), file) == header.size();
}

void RecorderPCM::fill_header() {
  const auto fill = kind == kPCMKindAIFF ? fill_aiff_header : fill_wave_header;
  fill(header.data(), file_frames, rate_out, static_cast<int>(channels()), static_cast<int>(8 * bytes_per_sample()),
       tag_block.data(), static_cast<std::int32_t>(tag_block.size()));
}

// Makes the file valid as it is now, should the process or the power end. The stream's position stays. A failure is
// mended by the next refresh.
void RecorderPCM::refresh_header() {
  // While its first bytes are in its buffer, the stream would write over this. Only at rates of some Hz they still are.
  if (file_size() < static_cast<std::int64_t>(header.size())) return;
  fill_header();
  (void)!pwrite(fd, header.data(), header.size(), 0);
  last_header_time = file_time();
}

void RecorderPCM::complete_header(std::FILE *file) {
  fill_header();
  if (std::fseek(file, 0, SEEK_SET) == 0) (void)!std::fwrite(header.data(), 1, header.size(), file);
}

std::int32_t RecorderPCM::flush_buffer(std::FILE *file, bool pad) {
  float audio[2 * kBlockFrames];
  std::uint8_t data[2 * kBlockFrames * 3];
  const std::int32_t frames = get_audio(audio, kBlockFrames, false, pad);
  if (frames <= 0 || frames > kBlockFrames) return 0;
  if (file_time() >= last_header_time + kHeaderInterval) refresh_header();
  if (options.mono != 0) reduce_to_mono(audio, frames);

  const std::size_t count = static_cast<std::size_t>(frames);
  const auto width = bytes_per_sample() == 3 ? samples::Integer::k24 : samples::Integer::k16;
  const auto order = kind == kPCMKindAIFF ? samples::Order::kBig : samples::Order::kLittle;
  samples::float_to_integer_toward_zero(width, order)(audio, data, count * channels());
  const std::size_t written = std::fwrite(data, frame_bytes(), count, file);
  if (written < count) realign(file, written);
  return static_cast<std::int32_t>(written);
}

// On a full disk the stream drops bytes wherever the room ended. The next frames must not stand askew behind that.
void RecorderPCM::realign(std::FILE *file, std::size_t frames_in_hand) const {
  const std::size_t frames = static_cast<std::size_t>(file_frames) + frames_in_hand;
  (void)std::fseek(file, static_cast<long>(header.size() + frames * frame_bytes()), SEEK_SET);
}

void RecorderPCM::reduce_to_mono(float *frames, std::int32_t count) const {
  for (std::int32_t i = 0; i < count; ++i) {
    const float left = frames[2 * i], right = frames[2 * i + 1];
    frames[i] = options.mono_source == 1 ? left : options.mono_source == 2 ? right : (left + right) * 0.5f;
  }
}

}  // namespace auspool
