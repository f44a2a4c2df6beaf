// Encoders of AAC and ALAC. Built on libavcodec; in a build without it there are none.
//
// An encoder is opened, told its properties, initialised, and then given whole packets of audio, each followed by a
// request for what it has ready. Behind the last one it is told of the end, and asked for what is left.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "base/four_cc.h"

namespace auspool::platform {

// Format of a stream, plain or encoded.
struct StreamDescription {
  static constexpr std::uint32_t kFloat = 1, kSignedInteger = 4, kPacked = 8;  // flags of "lpcm"

  double sample_rate = 0;       // Hz
  std::uint32_t format_id = 0;  // a four-character code
  std::uint32_t format_flags = 0;
  std::uint32_t bytes_per_packet = 0;
  std::uint32_t frames_per_packet = 0;
  std::uint32_t bytes_per_frame = 0;
  std::uint32_t channels_per_frame = 0;
  std::uint32_t bits_per_channel = 0;
  std::uint32_t reserved = 0;
};

class AudioCodec {
public:
  static constexpr std::uint32_t kQuality = four_cc("srcq");  // 0 fastest to 127 best
  static constexpr std::uint32_t kBitRate = four_cc("brat");  // bits a second
  static constexpr std::uint32_t kPacketFrames = four_cc("pakf"), kPacketBytes = four_cc("pakb");  // frames; at most
  static constexpr std::int32_t kUnsupportedFormat = 0x21646174;                                   // "!dat"

  // Whether there is an encoder for a format: "aac ", "aach" and "aacp" (the two of high efficiency), "alac".
  static bool is_available(std::uint32_t subtype);
  // Null where there is none, or memory is out.
  static std::unique_ptr<AudioCodec> open(std::uint32_t subtype);

  virtual ~AudioCodec() = default;

  // Whether the encoder knows the property. Takes effect with initialize.
  virtual bool set_property(std::uint32_t selector, std::uint32_t value) = 0;
  virtual std::uint32_t property(std::uint32_t selector) const = 0;  // 0 for one that it does not know
  virtual StreamDescription output_format() const = 0;               // "ofmt"
  virtual std::vector<std::uint8_t> magic_cookie() const = 0;        // "kuki": what a decoder must know; may be empty

  // 0, kUnsupportedFormat, or another error.
  virtual std::int32_t initialize(const StreamDescription &input, const StreamDescription &output) = 0;
  virtual void uninitialize() = 0;
  // As after initialize: no audio of before shows in what follows. 0, or the error for which the encoder could not be
  // made anew; it takes no more audio then.
  virtual std::int32_t reset() = 0;

  // Interleaved samples of one packet. False when they are lost; what follows is taken all the same.
  virtual bool append_input_data(std::span<const std::uint8_t> samples) = 0;
  // No more audio comes before a reset: what is left becomes packets.
  virtual void end_of_stream() = 0;

  // One packet, if one is ready and fits.
  struct Produced {
    enum Status : std::uint32_t { kFailure = 1, kDone = 2, kHasMore = 3, kNeedsMoreInput = 4 };
    Status status;
    std::size_t bytes;
  };
  virtual Produced produce_output_packet(std::span<std::uint8_t> to) = 0;

protected:
  AudioCodec() = default;
  AudioCodec(const AudioCodec &) = delete;
  AudioCodec &operator=(const AudioCodec &) = delete;
};

}  // namespace auspool::platform
