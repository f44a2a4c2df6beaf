#include <lame.h>

#include <cstdarg>

#include "platform/mp3_encoder.h"

namespace auspool::platform {
namespace {

lame_t state(Mp3State *lame) {
  return reinterpret_cast<lame_t>(lame);
}

// LAME has three channels for messages, and prints what no one takes.
void dummy_msgf(const char *, std::va_list) {}

MPEG_mode mode_of(Mp3Settings::Channels channels) {
  switch (channels) {
  case Mp3Settings::Channels::kMono:
    return MONO;
  case Mp3Settings::Channels::kStereo:
    return STEREO;
  case Mp3Settings::Channels::kJointStereo:
    break;
  }
  return JOINT_STEREO;
}

void set_bitrate(lame_t lame, const Mp3Settings &settings) {
  switch (settings.mode) {
  case Mp3Settings::Bitrate::kAverage:
    lame_set_VBR(lame, vbr_abr);
    lame_set_VBR_mean_bitrate_kbps(lame, settings.bitrate);
    break;
  case Mp3Settings::Bitrate::kVariable:
    lame_set_VBR(lame, vbr_rh);
    lame_set_brate(lame, settings.bitrate);
    lame_set_VBR_max_bitrate_kbps(lame, settings.bitrate);
    lame_set_lowpassfreq(lame, settings.low_pass);
    break;
  case Mp3Settings::Bitrate::kConstant:
    lame_set_VBR(lame, vbr_off);
    lame_set_brate(lame, settings.bitrate);
  }
}

}  // namespace

bool Mp3Encoder::is_available() {
  return *version() != '\0';
}

const char *Mp3Encoder::version() {
  const char *const version = get_lame_version();
  return version != nullptr ? version : "";
}

Mp3Encoder::Mp3Encoder() = default;
Mp3Encoder::~Mp3Encoder() {
  release();
}

bool Mp3Encoder::make() {
  release();
  lame_ = reinterpret_cast<Mp3State *>(lame_init());
  return lame_ != nullptr;
}

void Mp3Encoder::release() {
  if (lame_ != nullptr) lame_close(state(lame_));
  lame_ = nullptr;
}

bool Mp3Encoder::configure(const Mp3Settings &settings) {
  const lame_t lame = state(lame_);
  lame_set_in_samplerate(lame, settings.input_rate);
  // A rate that MP3 does not have is refused here and would be forgotten.
  if (settings.file_rate != 0 && lame_set_out_samplerate(lame, settings.file_rate) != 0) return false;
  lame_set_num_channels(lame, 2);
  lame_set_quality(lame, settings.quality);
  lame_set_mode(lame, mode_of(settings.channels));
  lame_set_errorf(lame, dummy_msgf);
  lame_set_debugf(lame, dummy_msgf);
  lame_set_msgf(lame, dummy_msgf);
  lame_set_VBR_q(lame, settings.vbr_quality);
  set_bitrate(lame, settings);
  lame_set_write_id3tag_automatic(lame, 0);  // tags are ours
  lame_set_bWriteVbrTag(lame, settings.mode != Mp3Settings::Bitrate::kConstant);
  return lame_init_params(lame) >= 0;
}

int Mp3Encoder::encode(const std::int16_t *left, const std::int16_t *right, int frames, std::span<std::uint8_t> to) {
  return lame_encode_buffer(state(lame_), left, right, frames, to.data(), static_cast<int>(to.size()));
}

int Mp3Encoder::end_stream(std::span<std::uint8_t> to) {
  return lame_encode_flush(state(lame_), to.data(), static_cast<int>(to.size()));
}

int Mp3Encoder::cut_stream(std::span<std::uint8_t> to) {
  return lame_encode_flush_nogap(state(lame_), to.data(), static_cast<int>(to.size()));
}

void Mp3Encoder::write_vbr_header(std::FILE *file) {
  lame_mp3_tags_fid(state(lame_), file);
}

void Mp3Encoder::begin_next_stream() {
  lame_init_bitstream(state(lame_));
}

}  // namespace auspool::platform
