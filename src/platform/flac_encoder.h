// Streams of FLAC. Built on libFLAC; in a build without it none can be made.
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>

namespace auspool::platform {

struct FlacFormat {
  std::uint32_t channels;
  std::uint32_t bits;  // a sample
  std::uint32_t rate;  // Hz
};

// Encodes one stream after the other, each into a file of its own.
class FlacEncoder {
public:
  static bool is_available();

  FlacEncoder() = default;
  ~FlacEncoder() { release(); }
  FlacEncoder(const FlacEncoder &) = delete;
  FlacEncoder &operator=(const FlacEncoder &) = delete;

  bool make();     // false when there is not enough memory
  void release();  // a stream that was begun is finished first

  // Begins a stream in a file that can be written at any place, and takes that over: also when this fails, it is closed
  // by finish or release. `metadata` are blocks of platform/flac_metadata.h, which must last until the stream is
  // finished. False when the format is none of FLAC's, or the file cannot be written.
  bool begin(std::FILE *file, const FlacFormat &format, std::span<void *> metadata);

  // `frames` times as many samples as there are channels, each within the format's bits. Once it has failed, it does
  // until the next stream.
  bool encode(const std::int32_t *interleaved, std::uint32_t frames);

  // Writes what is left and the stream's length and checksum, and closes the file.
  void finish();

private:
  void *encoder_ = nullptr;
};

}  // namespace auspool::platform
