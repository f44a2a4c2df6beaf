#include "platform/libav/encoder.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

#include <cstring>

#include "platform/samples.h"

namespace auspool::platform::libav {
namespace {

// libavcodec's AAC refuses a block that holds a NaN or an infinity, and the next one; noise of 1e6 it never finishes.
float harmless(float sample) {
  constexpr float kFarBeyond = 256.0f;  // 48 dB above full scale
  sample = sample < kFarBeyond ? sample : sample == sample ? kFarBeyond : 0.0f;
  return sample > -kFarBeyond ? sample : -kFarBeyond;
}

void make_harmless(std::uint8_t *plane, std::size_t count) {
  auto *const samples = reinterpret_cast<float *>(plane);
  for (std::size_t i = 0; i < count; ++i) samples[i] = harmless(samples[i]);
}

bool is_listed(const int *rates, int rate) {
  if (rates == nullptr) return true;
  while (*rates != 0 && *rates != rate) ++rates;
  return *rates == rate;
}

constexpr int kSilent = 100;  // moves every message beyond what is printed; the level has 8 bits

// Half of the scale and above asks for the search that takes its time.
const char *search_of(std::uint32_t quality) {
  return quality >= 64 ? "twoloop" : "fast";
}

}  // namespace

bool Encoder::set_property(std::uint32_t selector, std::uint32_t value) {
  if (selector != kQuality && selector != kBitRate) return false;
  (selector == kQuality ? quality_ : bit_rate_) = value;
  return true;
}

std::uint32_t Encoder::property(std::uint32_t selector) const {
  switch (selector) {
  case kQuality:
    return quality_;
  case kBitRate:
    return bit_rate_;
  case kPacketFrames:
    return context_ ? static_cast<std::uint32_t>(context_->frame_size) : 0;
  case kPacketBytes: {
    // A packet of AAC has 6144 bits a channel at most (ISO/IEC 14496-3); one of ALAC its samples and a few bytes.
    constexpr std::uint32_t kAacBytes = 768, kOverhead = 64;
    if (!context_) return 0;
    const std::uint32_t alac = property(kPacketFrames) * output_.channels_per_frame * 4;
    return kOverhead + (subtype_ == four_cc("alac") ? alac : 2 * kAacBytes * output_.channels_per_frame);
  }
  default:
    return 0;
  }
}

StreamDescription Encoder::output_format() const {
  if (context_) return output_;
  StreamDescription format;
  format.format_id = subtype_;
  return format;
}

std::vector<std::uint8_t> Encoder::magic_cookie() const {
  if (!context_ || context_->extradata == nullptr) return {};
  std::vector<std::uint8_t> cookie;
  if (subtype_ == four_cc("alac")) cookie = {0, 0, 0, 12, 'f', 'r', 'm', 'a', 'a', 'l', 'a', 'c'};
  cookie.insert(cookie.end(), context_->extradata, context_->extradata + context_->extradata_size);
  return cookie;
}

std::int32_t Encoder::check(const StreamDescription &input, const StreamDescription &output) const {
  const std::uint32_t channels = output.channels_per_frame;
  const bool plain = input.format_id == four_cc("lpcm") && input.channels_per_frame == channels &&
                     input.bytes_per_frame == input.bits_per_channel / 8 * channels;
  const bool kind = subtype_ == four_cc("alac") ? input.bits_per_channel == 16 : input.bits_per_channel == 32;
  const auto rate = static_cast<int>(output.sample_rate);
  const bool known =
      plain && kind && (channels == 1 || channels == 2) && rate > 0 && is_listed(codec_->supported_samplerates, rate);
  return known ? 0 : kUnsupportedFormat;
}

std::int32_t Encoder::initialize(const StreamDescription &input, const StreamDescription &output) {
  if (const std::int32_t error = check(input, output); error != 0) return error;
  input_ = input;
  output_ = output;
  return open_context();
}

int Encoder::open_context() {
  packet_waits_ = drained_ = false;
  frames_sent_ = 0;
  context_.reset(avcodec_alloc_context3(codec_));
  frame_.reset(av_frame_alloc());
  packet_.reset(av_packet_alloc());
  if (!context_ || !frame_ || !packet_) return AVERROR(ENOMEM);
  set_up(*context_);
  int error = avcodec_open2(context_.get(), codec_, nullptr);
  if (error >= 0) error = make_frame();
  if (error < 0) context_.reset();
  return error < 0 ? error : 0;
}

void Encoder::set_up(AVCodecContext &context) const {
  context.sample_rate = static_cast<int>(output_.sample_rate);
  av_channel_layout_default(&context.ch_layout, static_cast<int>(output_.channels_per_frame));
  context.sample_fmt = input_.bits_per_channel == 16 ? AV_SAMPLE_FMT_S16P : AV_SAMPLE_FMT_FLTP;
  context.time_base = {1, context.sample_rate};
  context.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  context.profile = profile_;
  context.thread_count = 1;
  context.log_level_offset = kSilent;
  if (bit_rate_ != 0) context.bit_rate = bit_rate_;
  (void)av_opt_set(context.priv_data, "aac_coder", search_of(quality_), 0);  // an encoder without it has no use for it
}

// One frame serves all packets: the encoder has let go of it when it asks for the next.
int Encoder::make_frame() {
  output_.frames_per_packet = static_cast<std::uint32_t>(context_->frame_size);
  frame_->nb_samples = context_->frame_size;
  frame_->format = context_->sample_fmt;
  frame_->sample_rate = context_->sample_rate;
  const int error = av_channel_layout_copy(&frame_->ch_layout, &context_->ch_layout);
  return error < 0 ? error : av_frame_get_buffer(frame_.get(), 0);
}

// A drained encoder gives nothing more.
std::int32_t Encoder::reset() {
  return context_ ? open_context() : 0;
}

void Encoder::deinterleave(std::span<const std::uint8_t> interleaved, int frames) {
  std::uint8_t *const *const planes = frame_->extended_data;
  const std::size_t bytes = input_.bits_per_channel / 8, channels = output_.channels_per_frame;
  const auto count = static_cast<std::size_t>(frames);
  if (channels == 1)
    std::memcpy(planes[0], interleaved.data(), interleaved.size());
  else
    samples::deinterleave(interleaved.data(), planes[0], planes[1], bytes, count);
  for (std::size_t c = 0; c < channels && bytes == sizeof(float); ++c) make_harmless(planes[c], count);
}

bool Encoder::append_input_data(std::span<const std::uint8_t> samples) {
  if (!context_ || drained_) return false;
  const auto frames = static_cast<int>(samples.size() / input_.bytes_per_frame);
  if (frames > context_->frame_size || av_frame_make_writable(frame_.get()) < 0) return false;
  frame_->nb_samples = frames;
  frame_->pts = frames_sent_;
  deinterleave(samples, frames);
  if (avcodec_send_frame(context_.get(), frame_.get()) < 0) return false;
  frames_sent_ += frames;
  return true;
}

void Encoder::end_of_stream() {
  if (!context_ || drained_) return;
  drained_ = true;
  (void)avcodec_send_frame(context_.get(), nullptr);
}

// Makes the next packet wait, if the encoder has one.
bool Encoder::fetch() {
  if (!packet_waits_) packet_waits_ = context_ && avcodec_receive_packet(context_.get(), packet_.get()) == 0;
  return packet_waits_;
}

AudioCodec::Produced Encoder::produce_output_packet(std::span<std::uint8_t> to) {
  if (!context_) return {Produced::kFailure, 0};
  if (!fetch()) return {drained_ ? Produced::kDone : Produced::kNeedsMoreInput, 0};
  const auto bytes = static_cast<std::size_t>(packet_->size);
  const bool fits = bytes <= to.size();
  if (fits) std::memcpy(to.data(), packet_->data, bytes);
  av_packet_unref(packet_.get());
  packet_waits_ = false;
  if (!fits) return {Produced::kFailure, 0};
  return {fetch() ? Produced::kHasMore : Produced::kDone, bytes};
}

}  // namespace auspool::platform::libav
