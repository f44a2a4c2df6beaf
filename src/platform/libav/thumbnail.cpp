#include "platform/thumbnail.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>

#include "platform/libav/scale.h"

namespace auspool::platform {
namespace {

template <auto kFree>
struct FreePointer {
  template <typename T>
  void operator()(T *pointer) const {
    kFree(&pointer);
  }
};
using FormatPtr = std::unique_ptr<AVFormatContext, FreePointer<avformat_close_input>>;
using CodecPtr = std::unique_ptr<AVCodecContext, FreePointer<avcodec_free_context>>;
using FramePtr = std::unique_ptr<AVFrame, FreePointer<av_frame_free>>;
using PacketPtr = std::unique_ptr<AVPacket, FreePointer<av_packet_free>>;

// The libraries print what they think of a file, and have one setting for the process: the first who wants it quiet
// keeps what it was, and the last puts that back.
class Quiet {
public:
  Quiet() {
    const std::lock_guard lock(mutex_);
    if (users_++ > 0) return;
    level_ = av_log_get_level();
    av_log_set_level(AV_LOG_QUIET);
  }
  ~Quiet() {
    const std::lock_guard lock(mutex_);
    if (--users_ == 0) av_log_set_level(level_);
  }
  Quiet(const Quiet &) = delete;
  Quiet &operator=(const Quiet &) = delete;

private:
  static inline std::mutex mutex_;
  static inline int users_ = 0, level_ = 0;
};

// Decoders run here already: none for a picture that is too large.
int find_stream_info(AVFormatContext &format) {
  std::vector<AVDictionary *> options(format.nb_streams);
  for (AVDictionary *&of_stream : options) av_dict_set_int(&of_stream, "max_pixels", kMaxImagePixels, 0);
  const int result = avformat_find_stream_info(&format, options.data());
  for (AVDictionary *&of_stream : options) av_dict_free(&of_stream);
  return result;
}

// By its path alone, whatever that looks like, and with no way from there to a network.
FormatPtr open(const char *path) {
  AVFormatContext *format = nullptr;
  AVDictionary *options = nullptr;
  av_dict_set(&options, "protocol_whitelist", "file", 0);
  const int error = avformat_open_input(&format, (std::string("file:") + path).c_str(), nullptr, &options);
  av_dict_free(&options);
  if (error < 0) return nullptr;
  FormatPtr opened(format);
  return find_stream_info(*format) >= 0 ? std::move(opened) : nullptr;
}

CodecPtr open_decoder(const AVStream &stream) {
  const AVCodec *const codec = avcodec_find_decoder(stream.codecpar->codec_id);
  if (codec == nullptr) return nullptr;
  CodecPtr decoder(avcodec_alloc_context3(codec));
  if (!decoder || avcodec_parameters_to_context(decoder.get(), stream.codecpar) < 0) return nullptr;
  decoder->max_pixels = kMaxImagePixels;
  return avcodec_open2(decoder.get(), codec, nullptr) >= 0 ? std::move(decoder) : nullptr;
}

// The first frame that decodes, within so many packets of the file.
FramePtr first_frame(AVFormatContext &format, AVCodecContext &decoder, int stream) {
  constexpr int kPatience = 500;
  FramePtr frame(av_frame_alloc());
  const PacketPtr packet(av_packet_alloc());
  if (!frame || !packet) return nullptr;
  for (int tries = 0; tries < kPatience; ++tries) {
    const bool more = av_read_frame(&format, packet.get()) >= 0;
    if (!more || packet->stream_index == stream) (void)avcodec_send_packet(&decoder, more ? packet.get() : nullptr);
    if (more) av_packet_unref(packet.get());
    if (avcodec_receive_frame(&decoder, frame.get()) == 0) return frame;
    if (!more) return nullptr;
  }
  return nullptr;
}

Bitmap scaled_to_fit(const AVFrame &frame, std::uint32_t side) {
  const auto longer = static_cast<std::uint32_t>(std::max(frame.width, frame.height));
  const double factor = longer > side ? static_cast<double>(side) / longer : 1.0;
  const auto scaled = [factor](int length) { return std::max(1, static_cast<int>(length * factor + 0.5)); };
  const int width = scaled(frame.width), height = scaled(frame.height);
  return scale({static_cast<AVPixelFormat>(frame.format), frame.width, frame.height, frame.data, frame.linesize}, width,
               height)
      .value_or(Bitmap());
}

}  // namespace

std::optional<std::vector<std::uint8_t>> video_thumbnail(const char *path, std::uint32_t side) {
  const Quiet quiet;
  const FormatPtr format = open(path);
  if (!format) return std::nullopt;
  const int stream = av_find_best_stream(format.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (stream < 0) return std::nullopt;
  const CodecPtr decoder = open_decoder(*format->streams[stream]);
  if (!decoder) return std::nullopt;
  const FramePtr frame = first_frame(*format, *decoder, stream);
  if (!frame || frame->width <= 0 || frame->height <= 0) return std::nullopt;
  return encode_jpeg(scaled_to_fit(*frame, side));
}

}  // namespace auspool::platform
