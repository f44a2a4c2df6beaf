// Streams of MP3. Built on LAME; in a build without it none can be made.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>

namespace auspool::platform {

struct Mp3Settings {
  enum class Channels { kStereo, kJointStereo, kMono };
  enum class Bitrate { kConstant, kAverage, kVariable };

  int input_rate;  // Hz
  int file_rate;   // Hz; 0 leaves the choice to the encoder, which takes the input's where that is good
  Channels channels;
  int quality;  // 0 best through 9 fastest
  Bitrate mode;
  int bitrate;      // kilobits a second: always, on average, or at most
  int vbr_quality;  // 0 best through 9
  int low_pass;     // Hz; for a variable bitrate alone
};

struct Mp3State;  // the library's

// Encodes one stream, which can be cut into several that join without a gap.
class Mp3Encoder {
public:
  static bool is_available();
  static const char *version();  // of the library; "" without one

  Mp3Encoder();
  ~Mp3Encoder();
  Mp3Encoder(const Mp3Encoder &) = delete;
  Mp3Encoder &operator=(const Mp3Encoder &) = delete;

  bool make();  // false when there is not enough memory
  void release();

  // Once, before the first audio. False when the encoder refuses the settings. Whatever it has to say is dropped.
  bool configure(const Mp3Settings &settings);

  // Each stores what is ready at `to`, which needs room for 7200 bytes and 1.25 a frame of the file, and returns how
  // many bytes that is, below 0 after a failure.
  int encode(const std::int16_t *left, const std::int16_t *right, int frames, std::span<std::uint8_t> to);
  int end_stream(std::span<std::uint8_t> to);  // pads the last frame
  int cut_stream(std::span<std::uint8_t> to);  // ends with a whole frame; what is beyond begins the next stream

  // Fills in the header of a stream of average or variable bitrate, at its place in the file, which must be readable.
  // Before begin_next_stream.
  void write_vbr_header(std::FILE *file);
  void begin_next_stream();

private:
  Mp3State *lame_ = nullptr;
};

}  // namespace auspool::platform
