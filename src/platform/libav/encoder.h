// An encoder of libavcodec in the shape of an AudioCodec.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
}

#include "platform/audio_codec.h"

namespace auspool::platform::libav {

struct FreeContext {
  void operator()(AVCodecContext *context) const { avcodec_free_context(&context); }
};
struct FreeFrame {
  void operator()(AVFrame *frame) const { av_frame_free(&frame); }
};
struct FreePacket {
  void operator()(AVPacket *packet) const { av_packet_free(&packet); }
};
using ContextPtr = std::unique_ptr<AVCodecContext, FreeContext>;
using FramePtr = std::unique_ptr<AVFrame, FreeFrame>;
using PacketPtr = std::unique_ptr<AVPacket, FreePacket>;

class Encoder final : public AudioCodec {
public:
  Encoder(const AVCodec *codec, std::uint32_t subtype, int profile)
      : codec_(codec), subtype_(subtype), profile_(profile) {}

  bool set_property(std::uint32_t selector, std::uint32_t value) override;
  std::uint32_t property(std::uint32_t selector) const override;
  StreamDescription output_format() const override;
  std::vector<std::uint8_t> magic_cookie() const override;
  std::int32_t initialize(const StreamDescription &input, const StreamDescription &output) override;
  void uninitialize() override { context_.reset(); }
  std::int32_t reset() override;
  bool append_input_data(std::span<const std::uint8_t> samples) override;
  void end_of_stream() override;
  Produced produce_output_packet(std::span<std::uint8_t> to) override;

private:
  std::int32_t check(const StreamDescription &input, const StreamDescription &output) const;
  int open_context();
  void set_up(AVCodecContext &context) const;
  int make_frame();
  void deinterleave(std::span<const std::uint8_t> interleaved, int frames);
  bool fetch();

  const AVCodec *const codec_;
  const std::uint32_t subtype_;
  const int profile_;
  std::uint32_t quality_ = 64, bit_rate_ = 0;
  StreamDescription input_, output_;
  ContextPtr context_;
  FramePtr frame_;
  PacketPtr packet_;
  bool packet_waits_ = false;  // in packet_
  bool drained_ = false;       // the encoder has been told that no more comes
  std::int64_t frames_sent_ = 0;
};

}  // namespace auspool::platform::libav
