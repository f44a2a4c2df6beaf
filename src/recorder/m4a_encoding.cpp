// A recording's encoder: how it is set up, and a block's way through it.
#include <cerrno>
#include <cstdio>

#include "base/four_cc.h"
#include "platform/samples.h"
#include "recorder/recorder_m4a.h"

namespace auspool {

using platform::AudioCodec;
using platform::StreamDescription;

std::mutex RecorderM4A::sAudioCodecThreadFixMutex;

void RecorderM4A::describe(std::uint32_t format_flags, std::uint32_t bytes_per_sample, const AudioCodec &of,
                           StreamDescription &input, StreamDescription &output) const {
  input.sample_rate = rate_out;
  input.format_id = four_cc("lpcm");
  input.format_flags = format_flags | StreamDescription::kPacked;
  input.channels_per_frame = channels();
  input.bytes_per_frame = input.bytes_per_packet = bytes_per_sample * channels();
  input.frames_per_packet = 1;
  input.bits_per_channel = 8 * bytes_per_sample;
  output = of.output_format();
  output.channels_per_frame = channels();
  output.sample_rate = rate_out;
}

bool RecorderM4A::open_codec() {
  codec = AudioCodec::open(component_subtype());
  if (!codec) {
    end_without_codec(AuRecErrorCodecOpen, "Failed to open an Audio Codec component");
    return false;
  }
  const std::int32_t error = initialize_codec();
  if (error != 0) {
    codec.reset();
    refuse_codec(error);
  }
  return error == 0;
}

void RecorderM4A::end_without_codec(AuRecErrorCode code, const char *text) {
  recording.store(false, std::memory_order_relaxed);
  started = false;
  file_token = nullptr;  // of a file that is the host's again
  log_error(code, text, nullptr);
}

void RecorderM4A::refuse_codec(std::int32_t error) {
  end_without_codec(AuRecErrorCodecInit, codec_error_text(error).data());
}

std::array<char, 64> codec_error_text(std::int32_t error) {
  std::array<char, 64> text;
  std::snprintf(text.data(), text.size(),
                error == AudioCodec::kUnsupportedFormat ? "Unsupported Recording Format. Error: %d"
                                                        : "AudioCodecInitialize error: %d",
                error);
  return text;
}

std::int32_t RecorderM4A::initialize_codec() try {
  StreamDescription input, output;
  {
    const std::lock_guard lock(sAudioCodecThreadFixMutex);
    prepare_codec(*codec, input, output);
  }
  if (const std::int32_t error = codec->initialize(input, output); error != 0) return error;
  rate_out = static_cast<float>(codec->output_format().sample_rate);
  packet_frames = codec->property(AudioCodec::kPacketFrames);
  max_packet_bytes = codec->property(AudioCodec::kPacketBytes);
  const auto frames = static_cast<std::size_t>(packet_frames);
  audio.resize(2 * frames);
  samples.resize(wants_shorts() ? 2 * channels() * frames : 0);
  packet.resize(static_cast<std::size_t>(max_packet_bytes));
  return 0;
} catch (const std::bad_alloc &) {
  return ENOMEM;
}

void RecorderM4A::close_codec() {
  codec->uninitialize();
  codec.reset();
}

// Audio goes to the encoder in whole packets alone.
std::int32_t RecorderM4A::flush_buffer(std::FILE *, bool pad) {
  const std::int32_t frames = get_audio(audio.data(), static_cast<std::int32_t>(packet_frames), true, pad);
  if (frames <= 0 || frames > packet_frames) return 0;
  codec->append_input_data(encoder_input(frames));
  produce();
  return frames;
}

std::span<const std::uint8_t> RecorderM4A::encoder_input(std::int32_t frames) {
  const std::size_t count = static_cast<std::size_t>(frames) * channels();
  if (force_mono()) {
    for (std::size_t i = 0; i < count; ++i) audio[i] = (audio[2 * i] + audio[2 * i + 1]) * 0.5f;
  }
  if (!wants_shorts()) return {reinterpret_cast<const std::uint8_t *>(audio.data()), 4 * count};
  constexpr auto kNative = std::endian::native == std::endian::big ? samples::Order::kBig : samples::Order::kLittle;
  samples::float_to_integer_toward_zero(samples::Integer::k16, kNative)(audio.data(), samples.data(), count);
  return {samples.data(), 2 * count};
}

// Writes one packet, and tells whether more wait.
bool RecorderM4A::produce() {
  const AudioCodec::Produced produced = codec->produce_output_packet(packet);
  const auto bytes = static_cast<std::int32_t>(produced.bytes);
  if (bytes > 0) (fragmented ? m4a_write_sample_fragmented : m4a_write_sample)(m4a, packet.data(), bytes);
  return produced.status == AudioCodec::Produced::kHasMore;
}

void RecorderM4A::drain_codec() {
  codec->end_of_stream();
  while (produce()) {
  }
  post_encode_hack(*codec, m4a);
}

}  // namespace auspool
