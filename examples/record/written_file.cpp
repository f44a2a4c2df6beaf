#include "record/written_file.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <memory>
#include <stdexcept>

#include "common/audio_input.h"

namespace record {
namespace {

struct Close {
  void operator()(AVFormatContext *format) const { avformat_close_input(&format); }
};
struct Free {
  void operator()(AVPacket *packet) const { av_packet_free(&packet); }
};

// MPEG-4 audio: up to the end of its last packet.
WrittenFile packets_of(const std::string &path) {
  AVFormatContext *opened = nullptr;
  if (avformat_open_input(&opened, path.c_str(), nullptr, nullptr) < 0)
    throw std::runtime_error(path + ": libavformat cannot read it");
  const std::unique_ptr<AVFormatContext, Close> format(opened);
  const std::unique_ptr<AVPacket, Free> packet(av_packet_alloc());
  if (!packet || format->nb_streams != 1) throw std::runtime_error(path + ": has no audio");
  const AVStream &stream = *format->streams[0];
  std::int64_t duration = 0, previous = 0;  // of fragments libavformat does not say how long a packet lasts
  for (; av_read_frame(format.get(), packet.get()) >= 0; av_packet_unref(packet.get())) {
    duration = packet->pts + (packet->duration > 0 ? packet->duration : packet->pts - previous);
    previous = packet->pts;
  }
  const double seconds = static_cast<double>(duration) * av_q2d(stream.time_base);
  return {std::llround(seconds * stream.codecpar->sample_rate), seconds};
}

WrittenFile samples_of(const std::string &path) {
  const example::AudioInput file(path);
  if (file.frames() == INT64_MAX) throw std::runtime_error(path + ": was not completed");  // FLAC's header
  return {file.frames(), file.seconds()};
}

}  // namespace

WrittenFile look_at(const std::string &path) {
  return path.ends_with(".m4a") ? packets_of(path) : samples_of(path);
}

}  // namespace record
