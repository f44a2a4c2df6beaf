#include <FLAC/stream_encoder.h>

#include "platform/flac_encoder.h"

namespace auspool::platform {
namespace {

FLAC__StreamEncoder *stream(void *encoder) {
  return static_cast<FLAC__StreamEncoder *>(encoder);
}

}  // namespace

bool FlacEncoder::is_available() {
  return true;
}

bool FlacEncoder::make() {
  release();
  encoder_ = FLAC__stream_encoder_new();
  return encoder_ != nullptr;
}

void FlacEncoder::release() {
  if (encoder_ != nullptr) FLAC__stream_encoder_delete(stream(encoder_));
  encoder_ = nullptr;
}

// A finished encoder has its defaults again, so that each stream needs all settings.
bool FlacEncoder::begin(std::FILE *file, const FlacFormat &format, std::span<void *> metadata) {
  FLAC__StreamEncoder *const encoder = stream(encoder_);
  FLAC__stream_encoder_set_channels(encoder, format.channels);
  FLAC__stream_encoder_set_bits_per_sample(encoder, format.bits);
  FLAC__stream_encoder_set_sample_rate(encoder, format.rate);
  if (!metadata.empty()) {
    FLAC__stream_encoder_set_metadata(encoder, reinterpret_cast<FLAC__StreamMetadata **>(metadata.data()),
                                      static_cast<std::uint32_t>(metadata.size()));
  }
  return FLAC__stream_encoder_init_FILE(encoder, file, nullptr, nullptr) == FLAC__STREAM_ENCODER_INIT_STATUS_OK;
}

bool FlacEncoder::encode(const std::int32_t *interleaved, std::uint32_t frames) {
  return FLAC__stream_encoder_process_interleaved(stream(encoder_), interleaved, frames) != 0;
}

void FlacEncoder::finish() {
  FLAC__stream_encoder_finish(stream(encoder_));
}

}  // namespace auspool::platform
